// Axis-aligned boxes.
#pragma once

#include "quelplatform/prim_geom/QmVec3.h"

/// A minimum and a maximum corner. A new one is the origin alone.
class QmBBox {
 public:
  constexpr QmBBox() = default;
  constexpr QmBBox(const QmVec3& minimum, const QmVec3& maximum) : minimum_(minimum), maximum_(maximum) {}

  constexpr const QmVec3& minimum() const { return minimum_; }
  constexpr const QmVec3& maximum() const { return maximum_; }

  /// Grows the box to hold `point`. A bound is replaced only when the point lies strictly outside it, so that a
  /// coordinate that is no number changes nothing.
  constexpr void extend(const QmVec3& point) {
    for (int axis = 0; axis < 3; ++axis) {
      if (point.v[axis] < minimum_.v[axis]) minimum_.v[axis] = point.v[axis];
      if (point.v[axis] > maximum_.v[axis]) maximum_.v[axis] = point.v[axis];
    }
  }

  /// Corner `i`, 0 to 7: bit 0 chooses x, bit 1 y, bit 2 z, and a set bit the maximum. Further bits are ignored.
  constexpr QmVec3 corner(int i) const {
    return {(i & 1) ? maximum_.v[0] : minimum_.v[0], (i & 2) ? maximum_.v[1] : minimum_.v[1],
            (i & 4) ? maximum_.v[2] : minimum_.v[2]};
  }

  friend constexpr bool operator==(const QmBBox&, const QmBBox&) = default;

 private:
  QmVec3 minimum_;
  QmVec3 maximum_;
};

static_assert(sizeof(QmBBox) == 6 * sizeof(double) && std::is_trivially_copyable_v<QmBBox>);

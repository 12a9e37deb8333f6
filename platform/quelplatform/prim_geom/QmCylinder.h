// Cylinders in space.
#pragma once

#include "quelplatform/prim_geom/QmVec3.h"

/// A cylinder by its axis, centre, half-length along the axis and radius; lengths in the unit of the points.
class QmCylinder {
 public:
  constexpr QmCylinder() = default;
  constexpr QmCylinder(const QmVec3& axis, const QmVec3& centre, double halfLength, double radius)
      : axis_(axis), centre_(centre), halfLength_(halfLength), radius_(radius) {}

  /// Direction of the axis, a unit vector.
  constexpr const QmVec3& axis() const { return axis_; }
  /// The point of the axis halfway between the ends.
  constexpr const QmVec3& centre() const { return centre_; }
  constexpr double halfLength() const { return halfLength_; }
  constexpr double radius() const { return radius_; }

 private:
  QmVec3 axis_;
  QmVec3 centre_;
  double halfLength_ = 0.0;
  double radius_ = 0.0;
};

static_assert(sizeof(QmCylinder) == 8 * sizeof(double) && std::is_trivially_copyable_v<QmCylinder>);

// A box that grows point by point, for loops over many points.
#pragma once

#include "quelplatform/prim_geom/QmBBox.h"

namespace quelcore {

/// The box of points that come one after the other. As `QmBBox::extend` has it, the first of equals stays and what is
/// no number changes nothing. x and y are compared side by side.
class GrowingBox {
 public:
  GrowingBox() = default;
  explicit GrowingBox(const QmVec3& point) : low_(pairOf(point)), high_(low_), lowZ_(point.v[2]), highZ_(lowZ_) {}

  void extend(const QmVec3& point) {
    const Pair pair = pairOf(point);
    const double z = point.v[2];
    low_ = pair < low_ ? pair : low_;
    high_ = pair > high_ ? pair : high_;
    lowZ_ = z < lowZ_ ? z : lowZ_;
    highZ_ = z > highZ_ ? z : highZ_;
  }

  QmBBox box() const { return {QmVec3(low_[0], low_[1], lowZ_), QmVec3(high_[0], high_[1], highZ_)}; }

 private:
  using Pair = double __attribute__((vector_size(16)));
  static Pair pairOf(const QmVec3& point) { return Pair{point.v[0], point.v[1]}; }

  Pair low_ = {}, high_ = {};
  double lowZ_ = 0.0, highZ_ = 0.0;
};

}  // namespace quelcore

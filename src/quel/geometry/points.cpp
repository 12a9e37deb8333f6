#include "quel/geometry/points.h"

#include <cmath>
#include <string>

#include "quel/base/Arrays.h"

namespace quel {

Result<void> refuseNotFinite(std::span<const Vec3> points) {
  for (std::size_t n = 0; n < points.size(); ++n) {
    const Vec3& p = points[n];
    if (std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2])) continue;
    return Error{"point " + std::to_string(n) + " has a coordinate that is no finite number"};
  }
  return {};
}

// From the axis that the direction has least of, so that nothing cancels.
Across acrossOf(const QmVec3& direction) {
  int least = 0;
  for (int axis = 1; axis < 3; ++axis) {
    if (std::abs(direction[axis]) < std::abs(direction[least])) least = axis;
  }
  QmVec3 axis;
  axis[least] = 1.0;
  const QmVec3 a = unit(cross(direction, axis));
  return {a, cross(direction, a)};
}

Moments momentsOf(std::span<const Vec3> points, const QmVec3& centre, const Across& axes) {
  Moments sums{};
  for (const Vec3& point : points) {
    const QmVec3 from = vectorOf(point) - centre;
    const double a = dot(axes.a, from);
    const double b = dot(axes.b, from);
    sums.aa += a * a;
    sums.ab += a * b;
    sums.bb += b * b;
  }
  return sums;
}

Mat3 alike(double variance) { return {{{variance, 0, 0}, {0, variance, 0}, {0, 0, variance}}}; }

Mat3 unknown() { return {kNoPoint, kNoPoint, kNoPoint}; }

}  // namespace quel

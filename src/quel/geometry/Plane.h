// Planes through points in space, how far the points are off, and how well the plane is known.
//
// Points are N triples in any frame and unit, in which the results are as well; none may hold what is no finite number.
#pragma once

#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/geometry/Residuals.h"

namespace quel {

#pragma GCC visibility push(default)

struct Plane {
  Vec3 centre{};        ///< Of `fit`, the centroid of the points; of `through`, its foot on the plane.
  Vec3 normal{};        ///< Length 1; its component of largest magnitude, the first of equals, is positive after `fit`.
  Residuals residuals;  ///< N distances, positive on the side of the normal.

  /// To first order, where the errors of the points are independent, alike along all axes and as large as the residuals
  /// tell (with N - 3 degrees of freedom): of the centre, and of the normal, which does not move along itself. All NaN
  /// where three points leave no residual, and after `through`, which fits nothing.
  Mat3 centreCovariance{};
  Mat3 normalCovariance{};

  /// The plane of the least sum of squared distances. Fails when a point is not finite, and when there are fewer than
  /// three that do not lie on one line.
  static Result<Plane> fit(std::span<const Vec3> points);

  /// The points against a given plane, normal . x + offset = 0, whose normal may have any finite length but 0. Fails
  /// when a point or the plane is not finite, the normal is 0, or there is no point.
  static Result<Plane> through(std::span<const Vec3> points, const Vec3& normal, double offset);

  /// How far a point lies from the plane, positive on the side of the normal.
  double distanceOf(const Vec3& point) const;
};

/// The convex outline of N points seen along the normal of `plane`, its corners projected onto the plane:
/// counter-clockwise about the normal, beginning at the smallest first coordinate, which runs along the world axis of
/// smallest absolute normal component. Points on one line give its two ends. Fails when a point is not finite, the
/// normal is 0, or there are more than 2^31 - 1 points.
Result<std::vector<Vec3>> convexOutline(std::span<const Vec3> points, const Plane& plane);

#pragma GCC visibility pop

}  // namespace quel

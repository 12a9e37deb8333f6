// Lines through points in space, how far the points are off, and how well the line is known.
//
// Points are N triples in any frame and unit, in which the results are as well; none may hold what is no finite number.
#pragma once

#include <array>
#include <span>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"
#include "quel/geometry/Residuals.h"

namespace quel {

#pragma GCC visibility push(default)

struct Line {
  Vec3 centre{};               ///< The centroid of the points.
  Vec3 direction{};            ///< Length 1; its component of largest magnitude, the first of equals, is positive.
  std::array<Vec3, 2> ends{};  ///< The feet of the outermost points, in the order of the direction.
  double length = 0.0;         ///< Between the ends.
  Residuals residuals;         ///< N distances, from 0 on.

  /// To first order, where the errors of the points are independent, alike along all axes and as large as the residuals
  /// tell (with 2 N - 4 degrees of freedom): of the centre, and of the direction, which does not move along itself. All
  /// NaN where two points leave no residual.
  Mat3 centreCovariance{};
  Mat3 directionCovariance{};

  /// The line of the least sum of squared distances. Fails when a point is not finite, and when there are no two that
  /// do not coincide.
  static Result<Line> fit(std::span<const Vec3> points);

  /// How far a point lies from the line, which goes on beyond its ends.
  double distanceOf(const Vec3& point) const;
};

#pragma GCC visibility pop

}  // namespace quel

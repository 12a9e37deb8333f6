// How well points will be measured that nobody has measured yet: the covariance of a point by its place.
#pragma once

#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Status.h"
#include "quel/base/Vectors.h"
#include "quel/head/Head.h"
#include "quel/measure/Triangulation.h"

namespace quel {

#pragma GCC visibility push(default)

struct ExpectedCovariance {
  std::vector<Mat3> covariance;  ///< Millimetres squared, as `Triangulated` has it.
  std::vector<Status> status;
};

/// The covariances of N points (world, millimetres) measured by `options`, whose `noise` must be given: each is
/// projected exactly into the cameras used, and triangulated from there. `options.distorted` plays no part: pixels are
/// measured ones. A status is that of the projection where a camera used does not see the point (`Outside`, `Behind`,
/// `Distortion`, `Failed`), else that of the triangulation; where it is not `Ok` or `LinearInstead` the covariance is
/// NaN. Fails as `triangulate` does, and without `noise`.
Result<ExpectedCovariance> expectedCovariance(const Head& head, std::span<const Vec3> points,
                                              const TriangulateOptions& options);

#pragma GCC visibility pop

}  // namespace quel

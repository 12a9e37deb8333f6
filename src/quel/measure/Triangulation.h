// From the pixels of three cameras to points in space, with how far they are off and how uncertain they are.
//
//   quel::TriangulateOptions options;
//   options.fit = quel::Fit::Rays;
//   options.noise = 0.05;                                             // pixels, 1 sigma of each coordinate
//   const auto found = quel::triangulate(*head, {px0, px1, px2}, options);
//   found->points[n], found->residuals[n], found->status[n], found->covariance[n]
//
// Pixels count from the centre of the top-left pixel, points are in the head's world, millimetres. Results are the same
// bits for any number of threads.
#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Status.h"
#include "quel/base/Vectors.h"
#include "quel/head/Head.h"
#include "quel/measure/PointFit.h"

namespace quel {

#pragma GCC visibility push(default)

struct TriangulateOptions {
  Fit fit = Fit::Linear;
  int reference = 0;                               ///< 0, 1 or 2; for `Fit::Rays` it makes no difference.
  std::optional<std::array<int, 2>> targets = {};  ///< The other two; where nothing is said, in order.
  bool distorted = true;                           ///< Pixels as measured; else ideal ones.
  int threads = 1;                                 ///< At most; 0 is one for each processor.
  std::optional<double> noise = {};  ///< Asks for covariances: 1 sigma of each pixel coordinate, all independent.
};

/// Points of N correspondences. Where `hasValue(status[n])` is false all that belongs to n is NaN.
struct Triangulated {
  std::vector<Vec3> points;  ///< Millimetres.
  /// Root of the mean squared distance between where the cameras used see the point and its pixels, in pixels as they
  /// were given: of three cameras, of two with `Fit::Singular`.
  std::vector<double> residuals;
  std::vector<Status> status;
  /// Of each point, millimetres squared, symmetric; empty unless `noise` is given. To first order, through the fit and
  /// the way back from the lens: noise^2 J Jt, J the derivatives of the point after the pixel coordinates. NaN where
  /// these are not to be had, as where a pixel lies at the edge of a LUT.
  std::vector<Mat3> covariance;
};

/// What `Triangulated` holds, in memory of the caller's: each as long as the pixels, `covariance` empty unless `noise`
/// is given.
struct TriangulatedSpans {
  std::span<Vec3> points;
  std::span<double> residuals;
  std::span<Status> status;
  std::span<Mat3> covariance = {};
};

/// Triangulates N correspondences: `pixels[k][n]` is where camera k sees point n. With `Fit::Singular` the camera that
/// plays no part may have no pixels. Measured pixels are undistorted at the LUT's reference depth. A status is
///   - `Ok`;
///   - `LinearInstead`: `Fit::Planar` failed, as it does at a pole that both targets share; the point, its residual and
///     its covariance are those of `Fit::Linear`;
///   - `Behind`: the point lies behind one of the cameras used;
///   - `Distortion`: a pixel cannot be undistorted, or the point has no measured pixel to compare with;
///   - `Failed`: a pixel is not finite, or there is no point.
///
/// Fails, with nothing written, when `reference` and `targets` are not three different cameras (0, 1, 2), the cameras
/// used have different numbers of pixels, a span has another length, `noise` is negative or not finite, or the head
/// holds no projections or, but for `Fit::Rays`, no metric tables.
Result<Triangulated> triangulate(const Head& head, const std::array<std::span<const Vec2>, 3>& pixels,
                                 const TriangulateOptions& options = {});
Result<void> triangulate(const Head& head, const std::array<std::span<const Vec2>, 3>& pixels,
                         const TriangulateOptions& options, const TriangulatedSpans& result);

#pragma GCC visibility pop

}  // namespace quel

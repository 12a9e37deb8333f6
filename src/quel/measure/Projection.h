// From points to pixels and back: projections, rays, and the lens distortion both ways, for many values at once.
//
// Points are in the head's world, millimetres; pixels count from the centre of the top-left pixel, x right, y down;
// cameras are 0, 1, 2. Each function has a form that returns new arrays and one that writes into spans of the caller's,
// which are as long as the input and may not overlap it, except that undistorting and distorting may work in place.
// Results are the bits of the doors for one value (`qmRTProjectPointtoImage`, `quelplatform::undistortOnePt`,
// `qmDistortDistortOnePt`), whatever the number of threads.
//
// A value that has no result is NaN, and its status says why. The functions themselves fail, with nothing written,
// when `camera` is not 0, 1 or 2, a span has another length than the input, or the head holds no projections where they
// are needed. `threads` is how many work at once, at most; 1 is the caller's own, 0 one for each processor.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "quel/base/Result.h"
#include "quel/base/Status.h"
#include "quel/base/Vectors.h"
#include "quel/head/Head.h"

namespace quel {

#pragma GCC visibility push(default)

/// How a projection applies the lens distortion to the pinhole pixel.
enum class Mode : std::int32_t {
  Pinhole = 0,              ///< Not at all.
  Exact = 1,                ///< Exactly, with the point's depth in the LUT.
  Fast = 2,                 ///< Quickly: few steps, the nearest cell of the LUT.
  ExactOrWithoutDepth = 3,  ///< Exactly, and where that fails once more at the LUT's reference depth.
  FastWithoutDepth = 4,     ///< Quickly, at the LUT's reference depth.
};

/// N pixels, and what became of each.
struct Pixels {
  std::vector<Vec2> pixels;
  std::vector<Status> status;
};

/// N rays of one camera.
struct Rays {
  Vec3 origin{};                 ///< Where the camera stands, world.
  std::vector<Vec3> directions;  ///< Unit vectors into the scene.
  std::vector<Status> status;
};

/// Where `camera` sees N points. A status is
///   - `Ok` or `Outside`: the pixel is where the point is seen, be it in the image (0 <= x < width, 0 <= y < height) or
///     not; a head whose image size is unknown has no outside;
///   - `Behind`: the point is not before the camera;
///   - `Distortion`: the lens model has no pixel there;
///   - `Failed`: a coordinate is not finite, or the pixel would not be.
Result<Pixels> project(const Head& head, std::span<const Vec3> points, int camera, Mode mode = Mode::Exact,
                       int threads = 1);
Result<void> project(const Head& head, std::span<const Vec3> points, int camera, Mode mode, int threads,
                     std::span<Vec2> pixels, std::span<Status> status);

/// The same for all cameras, indexed by camera.
Result<std::array<Pixels, 3>> projectAll(const Head& head, std::span<const Vec3> points, Mode mode = Mode::Exact,
                                         int threads = 1);

/// The rays on which the points lie that `camera` sees at N pixels: measured ones, or, unless `distorted`, ideal ones.
/// Distortion is undone at the LUT's reference depth. A status is `Ok`, `Distortion` where the pixel cannot be
/// undistorted, or `Failed` where it is not finite. Fails when the projection has no inverse.
Result<Rays> rays(const Head& head, std::span<const Vec2> pixels, int camera, bool distorted = true, int threads = 1);
Result<Vec3> rays(const Head& head, std::span<const Vec2> pixels, int camera, bool distorted, int threads,
                  std::span<Vec3> directions, std::span<Status> status);  ///< Returns the origin.

/// The ideal pixels of N measured ones. `depth` is Z of the points in the LUT frame, millimetres, rounded to single
/// precision; without it the LUT's layer nearest to depth 0 serves. A head without LUTs does not look at it. A status
/// is `Ok`; `Distortion` where distorting gives that pixel nowhere, as where the model folds over or the LUT ends; or
/// `Failed` where the pixel is not finite.
Result<Pixels> undistort(const Head& head, std::span<const Vec2> pixels, int camera,
                         std::optional<double> depth = std::nullopt, int threads = 1);
Result<void> undistort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                       int threads, std::span<Vec2> ideal, std::span<Status> status);

/// The measured pixels of N ideal ones, exactly; depth and status as for `undistort`.
Result<Pixels> distort(const Head& head, std::span<const Vec2> pixels, int camera,
                       std::optional<double> depth = std::nullopt, int threads = 1);
Result<void> distort(const Head& head, std::span<const Vec2> pixels, int camera, std::optional<double> depth,
                     int threads, std::span<Vec2> distorted, std::span<Status> status);

/// True when `point` does not lie before `camera` (0, 1 or 2) of `head`, by its projection; false where a coordinate is
/// not finite.
bool isBehind(const tag_qmReconsTensorData& head, int camera, const Vec3& point);

#pragma GCC visibility pop

}  // namespace quel

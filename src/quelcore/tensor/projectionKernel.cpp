#include "quelcore/tensor/projectionKernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "quelcore/base/kernelWidth.h"
#include "quelcore/tensor/distortBatch.h"
#include "quelcore/tensor/kernels/copyPixelsAround.h"
#include "quelcore/tensor/kernels/depthsOfPoints.h"
#include "quelcore/tensor/kernels/pinholePixels.h"

namespace quelcore {

Projected distortPixel(const tag_qmDistortParams& params, _ProjectDistortMode mode, float depth, double pixel[2]) {
  // The fast distortion's result is not looked at, so its output starts as the pinhole pixel.
  double distorted[2] = {pixel[0], pixel[1]};
  switch (mode) {
    case PROJECT_EXACT:
      if (qmDistortDistortOnePt(pixel, &params, &depth, distorted) == 0) return Projected::DistortionFailed;
      break;
    case PROJECT_EXACT_OR_WITHOUT_DEPTH:
      if (qmDistortDistortOnePt(pixel, &params, &depth, distorted) == 0 &&
          qmDistortDistortOnePt(pixel, &params, nullptr, distorted) == 0) {
        return Projected::DistortionFailed;
      }
      break;
    case PROJECT_FAST:
      qmDistortDistortOnePtFast(pixel, &params, &depth, distorted);
      break;
    case PROJECT_FAST_WITHOUT_DEPTH:
      qmDistortDistortOnePtFast(pixel, &params, nullptr, distorted);
      break;
    case PROJECT_PINHOLE:
    default:
      return Projected::Yes;
  }
  pixel[0] = distorted[0];
  pixel[1] = distorted[1];
  return Projected::Yes;
}

namespace {

/// Distortion that looks at the result of the fast form.
Projected distortPixelChecked(const tag_qmDistortParams& params, _ProjectDistortMode mode, float depth,
                              double pixel[2]) {
  if (mode != PROJECT_FAST && mode != PROJECT_FAST_WITHOUT_DEPTH) return distortPixel(params, mode, depth, pixel);
  double distorted[2] = {pixel[0], pixel[1]};
  const bool withDepth = mode == PROJECT_FAST && qmDistortDistortOnePtFast(pixel, &params, &depth, distorted) != 0;
  if (!withDepth && qmDistortDistortOnePtFast(pixel, &params, nullptr, distorted) == 0) {
    return Projected::DistortionFailed;
  }
  pixel[0] = distorted[0];
  pixel[1] = distorted[1];
  return Projected::Yes;
}

/// Nearest whole number, halves away from zero, kept in floating point.
double rounded(double value) { return std::trunc(value >= 0.0 ? value + 0.5 : value - 0.5); }

}  // namespace

Projected projectPointAF(const tag_qmReconsTensorData& tensor, const float point[3], std::int32_t camera,
                         _ProjectDistortMode mode, float depth, double pixel[2]) {
  if (tensor.projectionsValid != 1) return Projected::NoProjection;
  const double wide[3] = {static_cast<double>(point[0]), static_cast<double>(point[1]), static_cast<double>(point[2])};
  double uvw[4];
  if (qmMathMat4MultPoint(tensor.projections[camera], wide, uvw) == 0) return Projected::NotFinite;
  if (uvw[2] == 0.0) return Projected::PrincipalPlane;  // exact, no tolerance
  pixel[0] = uvw[0] / uvw[2];
  pixel[1] = uvw[1] / uvw[2];
  return distortPixelChecked(tensor.distortParams[camera], mode, depth, pixel);
}

namespace {

/// From this many points on, their pixels leave the caches before anybody can read them.
constexpr std::int64_t kPointsWorthStoringAround = 1 << 17;

void rowsOf(const qmMathTransform& transform, double rows[3][4]) {
  for (int row = 0; row < 3; ++row) {
    std::copy_n(transform.rotation[row], 3, rows[row]);
    rows[row][3] = transform.translation[row];
  }
}

bool needsDepths(const tag_qmReconsTensorData& tensor, _ProjectDistortMode mode) {
  return needsDepth(tensor, 0, mode) || needsDepth(tensor, 1, mode) || needsDepth(tensor, 2, mode);
}

/// To wake a thread that sleeps takes so long, on a machine that is idle.
constexpr std::int64_t kNanosecondsToWake = 40000;

/// What a point takes in three images, roughly and of the fastest kernels: through a pinhole, with a lens, with a lens
/// that has tables or is inverted (docs/benchmarks.md).
std::int64_t nanosecondsOfPoint(const tag_qmReconsTensorData& tensor, _ProjectDistortMode mode) {
  if (mode == PROJECT_PINHOLE) return 4;
  const auto isSlow = [](const tag_qmDistortParams& p) { return p.luts != nullptr || p.distortOption == 2; };
  return std::any_of(tensor.distortParams, tensor.distortParams + 3, isSlow) ? 40 : 8;
}

/// Points that go through all cameras together, so that they and their pixels stay in the first cache on the way.
constexpr std::int64_t kBlockOfPoints = 256;

/// The arrays of the three images from one point on.
struct Images {
  double (*pixels[3])[2];

  Images from(std::int64_t n) const { return {{pixels[0] + n, pixels[1] + n, pixels[2] + n}}; }
};

/// Bytes of a cache line.
constexpr std::uintptr_t kLine = 64;

std::uintptr_t offsetInLine(const double (*pixels)[2]) { return reinterpret_cast<std::uintptr_t>(pixels) % kLine; }

bool startLines(const Images& images) {
  return offsetInLine(images.pixels[0]) + offsetInLine(images.pixels[1]) + offsetInLine(images.pixels[2]) == 0;
}

/// The way of a cloud through a tensor, block by block.
class CloudProjection {
 public:
  CloudProjection(const qmMathTransform& transform, const tag_qmReconsTensorData& tensor, _ProjectDistortMode mode,
                  bool around)
      : transform_(transform),
        tensor_(tensor),
        mode_(mode),
        around_(around),
        needsDepths_(needsDepths(tensor, mode)),
        lutFromWorld_(lutFrameFromWorld(tensor)) {
    rowsOf(transform, view_.motion);
    for (int camera = 0; camera < 3; ++camera) view_.projections[camera] = tensor.projections[camera];
    rowsOf(lutFromWorld_, lutRows_);
  }

  /// Returns how many outcomes leave a trace.
  std::int64_t project(const double (*points)[3], std::int64_t count, const Images& images) {
    if (mode_ == PROJECT_PINHOLE && (!around_ || startLines(images))) {
      return kernel(kPinholePixels)(view_, points, count,
                                    {{images.pixels[0], images.pixels[1], images.pixels[2]}, around_});
    }
    if (kernel(kPinholePixels)(view_, points, count, {{scratch_[0], scratch_[1], scratch_[2]}, false}) != 0) {
      return projectOneByOne(points, count, images);
    }
    if (needsDepths_) kernel(kDepthsOfPoints)(view_.motion, lutRows_[2], points, count, depths_);
    for (int camera = 0; camera < 3; ++camera) {
      distortPixels(tensor_.distortParams[camera], mode_, needsDepths_ ? depths_ : nullptr, count, scratch_[camera]);
      deliver(scratch_[camera], count, images.pixels[camera]);
    }
    return 0;
  }

 private:
  void deliver(const double (*pixels)[2], std::int64_t count, double (*to)[2]) const {
    if (around_) {
      kernel(kCopyPixelsAround)(pixels, count, to);
    } else {
      std::memcpy(to, pixels, static_cast<std::size_t>(count) * sizeof *pixels);
    }
  }

  /// Where a point lies on the principal plane its pixel stays as it was, and nothing distorts it.
  std::int64_t projectOneByOne(const double (*points)[3], std::int64_t count, const Images& images) const {
    std::int64_t traces = 0;
    for (std::int64_t n = 0; n < count; ++n) {
      double moved[3];
      qmMathTransformVec3(&transform_, points[n], moved);
      const float depth = needsDepths_ ? depthInLutFrame(lutFromWorld_, moved) : 0.0F;
      for (std::int32_t camera = 0; camera < 3; ++camera) {
        traces += leavesTrace(projectPoint(tensor_, moved, camera, mode_, false, depth, images.pixels[camera][n]));
      }
    }
    return traces;
  }

  const qmMathTransform& transform_;
  const tag_qmReconsTensorData& tensor_;
  _ProjectDistortMode mode_;
  bool around_;
  bool needsDepths_;
  PinholeView view_;
  qmMathTransform lutFromWorld_;
  double lutRows_[3][4];
  alignas(kLine) double scratch_[3][kBlockOfPoints][2];
  float depths_[kBlockOfPoints];
};

/// Points until the pixels of the first camera lie at the start of a cache line, so that blocks fill whole lines.
std::int64_t pointsBeforeLine(const double (*pixels)[2]) {
  const std::uintptr_t beyond = offsetInLine(pixels);
  return beyond == 0 ? 0 : static_cast<std::int64_t>((kLine - beyond) / sizeof *pixels);
}

}  // namespace

std::int64_t projectRange(const qmMathTransform& transform, const tag_qmReconsTensorData& tensor,
                          const double (*points)[3], IndexRange range, _ProjectDistortMode mode,
                          double (*const pixels[3])[2]) {
  const std::int64_t count = range.last - range.first;
  if (tensor.projectionsValid != 1) return 3 * count;
  const bool around = count >= kPointsWorthStoringAround;
  const Images images = {{pixels[0], pixels[1], pixels[2]}};
  CloudProjection cloud(transform, tensor, mode, around);
  std::int64_t traces = 0;
  std::int64_t n = range.first;
  const auto projectBlock = [&](std::int64_t size) {
    const std::int64_t block = std::min(size, range.last - n);
    traces += cloud.project(points + n, block, images.from(n));
    n += block;
  };
  if (around) projectBlock(pointsBeforeLine(pixels[0] + n));
  while (n < range.last) projectBlock(kBlockOfPoints);
  return traces;
}

std::int32_t threadsWorthStarting(const tag_qmReconsTensorData& tensor, _ProjectDistortMode mode, std::int64_t count,
                                  std::int32_t threads) {
  const std::int64_t worthwhile = count / (kNanosecondsToWake / nanosecondsOfPoint(tensor, mode));
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(worthwhile, 1, threads));
}

Compacted projectAndCompact(const tag_qmReconsTensorData& tensor, double (*points)[3], std::int32_t count,
                            _ProjectDistortMode mode, double (*pixels)[2]) {
  const bool withDepth = needsDepth(tensor, 0, mode);
  const qmMathTransform lutFromWorld = lutFrameFromWorld(tensor);
  Compacted result = {0, 0};
  for (std::int32_t n = 0; n < count; ++n) {
    double pixel[2];
    const float depth = withDepth ? depthInLutFrame(lutFromWorld, points[n]) : 0.0F;
    const Projected outcome = projectPoint(tensor, points[n], 0, mode, false, depth, pixel);
    if (leavesTrace(outcome)) ++result.traces;
    if (outcome != Projected::Yes) continue;
    if (result.kept != n) qmMathCopyVec3ToVec3(points[n], points[result.kept]);
    pixels[result.kept][0] = rounded(pixel[0]);
    pixels[result.kept][1] = rounded(pixel[1]);
    ++result.kept;
  }
  return result;
}

IndexRange shareOfThread(IndexRange range, std::int32_t threads, std::int32_t n) {
  const auto chunk = static_cast<std::int64_t>(static_cast<double>(range.last - range.first) / threads);
  const std::int64_t first = range.first + n * chunk;
  return {first, n == threads - 1 ? range.last : first + chunk};
}

}  // namespace quelcore

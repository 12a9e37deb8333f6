#include "quelcore/tensor/projectionKernel.h"

#include <cmath>

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

std::int64_t projectRange(const qmMathTransform& transform, const tag_qmReconsTensorData& tensor,
                          const double (*points)[3], IndexRange range, _ProjectDistortMode mode,
                          double (*const pixels[3])[2]) {
  const qmMathTransform lutFromWorld = lutFrameFromWorld(tensor);
  std::int64_t traces = 0;
  for (std::int64_t n = range.first; n < range.last; ++n) {
    double moved[3];
    qmMathTransformVec3(&transform, points[n], moved);
    const float depth = usesDepth(mode) ? depthInLutFrame(lutFromWorld, moved) : 0.0F;
    for (std::int32_t camera = 0; camera < 3; ++camera) {
      if (leavesTrace(projectPoint(tensor, moved, camera, mode, false, depth, pixels[camera][n]))) ++traces;
    }
  }
  return traces;
}

Compacted projectAndCompact(const tag_qmReconsTensorData& tensor, double (*points)[3], std::int32_t count,
                            _ProjectDistortMode mode, double (*pixels)[2]) {
  const qmMathTransform lutFromWorld = lutFrameFromWorld(tensor);
  Compacted result = {0, 0};
  for (std::int32_t n = 0; n < count; ++n) {
    double pixel[2];
    const float depth = usesDepth(mode) ? depthInLutFrame(lutFromWorld, points[n]) : 0.0F;
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

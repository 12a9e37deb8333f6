// Doors of the projection: what turns a point into pixels. The arithmetic is in projectionKernel.
#include "quelcore/tensor/qmReconsTensorCore.h"

#include <algorithm>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/tensor/projectionKernel.h"

using quelcore::Projected;

namespace {

constexpr quelcore::ModuleLog kLog{"qmReconsTensorCore"};

constexpr std::uint32_t kErrorNoMetricTables = 0xc43d0003;
constexpr std::int32_t kMostThreads = 16;

/// 1 or 0 for the caller, with the trace that the outcome leaves.
std::int32_t reported(Projected outcome) {
  if (leavesTrace(outcome)) kLog.trace();
  return outcome == Projected::Yes ? 1 : 0;
}

/// X -> (X - worldCentre) / worldScale.
void makeWorldNormaliser(const tag_qmReconsTensorData& tensor, double N[4][4]) {
  const double s = tensor.worldScale;
  const double* c = tensor.worldCentre;
  const double normaliser[4][4] = {{1.0 / s, 0.0, 0.0, -(c[0] / s)},
                                   {0.0, 1.0 / s, 0.0, -(c[1] / s)},
                                   {0.0, 0.0, 1.0 / s, -(c[2] / s)},
                                   {0.0, 0.0, 0.0, 1.0}};
  qmMathCopyMat4ToMat4(normaliser, N);
}

/// Normalised image coordinates -> pixels. Row 3 is zero, as it is in a projection.
void makeImageDenormaliser(const tag_qmReconsTensorData& tensor, std::int32_t camera, double D[4][4]) {
  const double g = tensor.imageScale[camera];
  const double* centre = tensor.imageCentre[camera];
  const double denormaliser[4][4] = {
      {g, 0.0, centre[0], 0.0}, {0.0, g, centre[1], 0.0}, {0.0, 0.0, 1.0, 0.0}, {0.0, 0.0, 0.0, 0.0}};
  qmMathCopyMat4ToMat4(denormaliser, D);
}

/// Whether all arrays are there into which, and from which, a cloud is projected.
bool isComplete(const qmMathTransform* transform, const double (*points)[3], double (*const pixels[3])[2]) {
  return transform != nullptr && points != nullptr && pixels != nullptr &&
         std::all_of(pixels, pixels + 3, [](const auto* image) { return image != nullptr; });
}

/// As many traces as points failed in a way that leaves one.
void trace(std::int64_t count) {
  for (; count > 0; --count) kLog.trace();
}

}  // namespace

std::int32_t qmRTComputeProjections(const tag_qmReconsTensorData* tensor, double out[3][4][4]) {
  if (tensor == nullptr || out == nullptr) return kLog.tracedFailure();
  if (tensor->reconsFlag != 1 || tensor->worldScale == 0.0) {
    kLog.message(quelcore::kLogError, kErrorNoMetricTables, "txt");
    return 0;
  }
  double N[4][4];
  makeWorldNormaliser(*tensor, N);
  for (std::int32_t i = 0; i < tensor->numCameras; ++i) {
    const std::int32_t j = (i + 1) % tensor->numCameras;
    if (!quelcore::isCamera(i) || !quelcore::isCamera(j)) return kLog.tracedFailure();
    double D[4][4];
    double normalisedFromPair[4][4];
    double pixelsFromNormalised[4][4];
    makeImageDenormaliser(*tensor, i, D);
    if (qmMathMat4Inv(tensor->pairReconstruction[i][j], normalisedFromPair) == 0) return kLog.tracedFailure();
    qmMathMat4MultMat4(D, normalisedFromPair, pixelsFromNormalised);
    qmMathMat4MultMat4(pixelsFromNormalised, N, out[i]);
  }
  return 1;
}

std::int32_t qmRTProjectPointtoImage(const tag_qmReconsTensorData* tensor, const double point[3], std::int32_t camera,
                                     _ProjectDistortMode mode, double pixel[2]) {
  return qmRTProjectPointtoImageEnableTestPointInImage(tensor, point, camera, mode, 0, pixel);
}

std::int32_t qmRTProjectPointtoImageEnableTestPointInImage(const tag_qmReconsTensorData* tensor, const double point[3],
                                                           std::int32_t camera, _ProjectDistortMode mode,
                                                           std::int32_t testInImage, double pixel[2]) {
  if (tensor == nullptr) return 0;
  if (point == nullptr || pixel == nullptr || !quelcore::isCamera(camera)) return kLog.tracedFailure();
  const float depth = quelcore::needsDepth(*tensor, camera, mode)
                          ? quelcore::depthInLutFrame(quelcore::lutFrameFromWorld(*tensor), point)
                          : 0.0F;
  return reported(quelcore::projectPoint(*tensor, point, camera, mode, testInImage == 1, depth, pixel));
}

std::int32_t qmRTProjectPointAFtoImage(const tag_qmReconsTensorData* tensor, const float point[3], std::int32_t camera,
                                       _ProjectDistortMode mode, double pixel[2]) {
  if (tensor == nullptr) return 0;
  if (point == nullptr || pixel == nullptr || !quelcore::isCamera(camera)) return kLog.tracedFailure();
  const float depth = quelcore::needsDepth(*tensor, camera, mode)
                          ? quelcore::depthInLutFrameAF(quelcore::lutFrameFromWorld(*tensor), point)
                          : 0.0F;
  return reported(quelcore::projectPointAF(*tensor, point, camera, mode, depth, pixel));
}

std::int32_t qmRTUnifyProjectPoints2Image(const tag_qmReconsTensorData* tensor, double (*points)[3], std::int32_t count,
                                          std::int32_t /*unused*/, _ProjectDistortMode mode, double (*pixels)[2]) {
  if (tensor == nullptr || count < 1) return 0;
  if (points == nullptr || pixels == nullptr) return kLog.tracedFailure();
  const quelcore::Compacted result = quelcore::projectAndCompact(*tensor, points, count, mode, pixels);
  trace(result.traces);
  return result.kept;
}

std::int32_t qmTransAndProjPoint2Image(const qmMathTransform* transform, const tag_qmReconsTensorData* tensor,
                                       std::int32_t camera, _ProjectDistortMode mode, const double point[3],
                                       double pixel[2]) {
  if (transform == nullptr || point == nullptr) return kLog.tracedFailure();
  double moved[3];
  if (qmMathTransformVec3(transform, point, moved) == 0) return kLog.tracedFailure();
  if (qmRTProjectPointtoImage(tensor, moved, camera, mode, pixel) == 0) return kLog.tracedFailure();
  return 1;
}

std::int32_t qmTransAndProjPoints2Images(const qmMathTransform* transform, const tag_qmReconsTensorData* tensor,
                                         const double (*points)[3], std::int64_t start, std::int64_t end,
                                         _ProjectDistortMode mode, double (*const pixels[3])[2]) {
  if (start >= end) return 1;
  if (!isComplete(transform, points, pixels)) return kLog.tracedFailure();
  if (tensor == nullptr) return 1;  // every single point fails, silently
  trace(quelcore::projectRange(*transform, *tensor, points, {start, end}, mode, pixels));
  return 1;
}

std::int32_t qmTransAndProjPoints2ImagesMT(const qmMathTransform* transform, const tag_qmReconsTensorData* tensor,
                                           const double (*points)[3], std::int64_t start, std::int64_t end,
                                           _ProjectDistortMode mode, std::int32_t numThreads,
                                           double (*const pixels[3])[2]) {
  if (end < start) return 0;
  const std::int32_t threads = std::clamp(numThreads, 1, kMostThreads);
  if (threads > 1 && start < end && !isComplete(transform, points, pixels)) {
    trace(end - start < threads ? 1 : threads);  // one for each of the threads' shares that has points
    return 0;
  }
  const std::int32_t team = tensor == nullptr ? 1 : quelcore::threadsWorthStarting(*tensor, mode, end - start, threads);
  if (team == 1) return qmTransAndProjPoints2Images(transform, tensor, points, start, end, mode, pixels);
  std::int64_t traces = 0;
#pragma omp parallel for schedule(static, 1) num_threads(team) reduction(+ : traces)
  for (std::int32_t n = 0; n < team; ++n) {
    const quelcore::IndexRange share = quelcore::shareOfThread({start, end}, team, n);
    traces += quelcore::projectRange(*transform, *tensor, points, share, mode, pixels);
  }
  trace(traces);
  return 1;
}

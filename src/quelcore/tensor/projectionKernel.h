// From a point to a pixel, without logging: what the projection functions have in common.
#pragma once

#include <cstdint>

#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmMath/qmMath.h"

namespace quelcore {

/// How a projection ended. Only the first is a success; the last three leave a trace at the door.
enum class Projected { Yes, OutsideImage, DistortionFailed, NoProjection, PrincipalPlane, NotFinite };

inline bool leavesTrace(Projected outcome) { return outcome >= Projected::NoProjection; }

inline bool isCamera(std::int32_t camera) { return camera >= 0 && camera <= 2; }

/// The transform from world coordinates to the LUT frame. It is the same for all points of a tensor, so loops form it
/// once; the bits are those of forming it for each point.
inline qmMathTransform lutFrameFromWorld(const tag_qmReconsTensorData& tensor) {
  qmMathTransform worldFromLut;
  qmMathTransform lutFromWorld;
  qmMathTransformFromMat4(tensor.lutFrameTransform, &worldFromLut);
  qmMathTransformInv(&worldFromLut, &lutFromWorld);
  return lutFromWorld;
}

/// Depth of a world point for the distortion: its Z in the LUT frame, rounded to single precision.
inline float depthInLutFrame(const qmMathTransform& lutFromWorld, const double point[3]) {
  double inLutFrame[3];
  qmMathTransformVec3(&lutFromWorld, point, inLutFrame);
  return static_cast<float>(inLutFrame[2]);
}

/// The same for a point in single precision.
inline float depthInLutFrameAF(const qmMathTransform& lutFromWorld, const float point[3]) {
  double inLutFrame[3];
  qmMathTransformVecAF(&lutFromWorld, point, inLutFrame);
  return static_cast<float>(inLutFrame[2]);
}

inline bool usesDepth(_ProjectDistortMode mode) {
  return mode == PROJECT_EXACT || mode == PROJECT_FAST || mode == PROJECT_EXACT_OR_WITHOUT_DEPTH;
}

/// True when the distortion of `camera` asks for the depth of a point: only LUTs do, and only in some modes.
inline bool needsDepth(const tag_qmReconsTensorData& tensor, std::int32_t camera, _ProjectDistortMode mode) {
  return usesDepth(mode) && tensor.distortParams[camera].luts != nullptr;
}

/// One row of a projection applied to (point, 1).
inline double rowTimesPoint(const double row[4], const double point[3]) {
  return ((row[0] * point[0] + row[1] * point[1]) + row[2] * point[2]) + row[3];
}

/// pixel = (u / w, v / w) with (u, v, w) = P (point, 1); `pixel` is untouched where w is exactly 0.
inline Projected pinholePixel(const double P[4][4], const double point[3], double pixel[2]) {
  const double w = rowTimesPoint(P[2], point);
  if (w == 0.0) return Projected::PrincipalPlane;  // exact, no tolerance
  const double u = rowTimesPoint(P[0], point);
  const double v = rowTimesPoint(P[1], point);
  pixel[0] = u / w;
  pixel[1] = v / w;
  return Projected::Yes;
}

inline bool isInImage(const tag_qmReconsTensorData& tensor, const double pixel[2]) {
  return !(pixel[0] < 0.0 || pixel[0] >= tensor.imageWidth || pixel[1] < 0.0 || pixel[1] >= tensor.imageHeight);
}

/// Distorts `pixel` in place as `mode` says. `depth` is read in the modes that use it only. On failure `pixel` stays.
Projected distortPixel(const tag_qmDistortParams& params, _ProjectDistortMode mode, float depth, double pixel[2]);

/// One point into one camera. `depth` is read in the modes that use it only.
inline Projected projectPoint(const tag_qmReconsTensorData& tensor, const double point[3], std::int32_t camera,
                              _ProjectDistortMode mode, bool testInImage, float depth, double pixel[2]) {
  if (tensor.projectionsValid != 1) return Projected::NoProjection;
  const Projected outcome = pinholePixel(tensor.projections[camera], point, pixel);
  if (outcome != Projected::Yes) return outcome;
  if (testInImage && !isInImage(tensor, pixel)) return Projected::OutsideImage;
  return distortPixel(tensor.distortParams[camera], mode, depth, pixel);
}

/// One point in single precision into one camera. Unlike the double form it looks at the result of the fast distortion,
/// tries it without depth where it fails, and fails on a product that is not finite. On failure of the distortion
/// `pixel` keeps the pinhole position.
Projected projectPointAF(const tag_qmReconsTensorData& tensor, const float point[3], std::int32_t camera,
                         _ProjectDistortMode mode, float depth, double pixel[2]);

/// Points `first` to `last` - 1 of a range that is dealt to threads.
struct IndexRange {
  std::int64_t first;
  std::int64_t last;
};

/// Moves the points of `range` and projects them into all cameras. Returns how many outcomes leave a trace at the door.
std::int64_t projectRange(const qmMathTransform& transform, const tag_qmReconsTensorData& tensor,
                          const double (*points)[3], IndexRange range, _ProjectDistortMode mode,
                          double (*const pixels[3])[2]);

/// What is left of points that were projected into camera 0, and how many outcomes leave a trace at the door.
struct Compacted {
  std::int32_t kept;
  std::int64_t traces;
};

/// Moves the points that project to the front, in their order, each with its pixel rounded to whole numbers, halves
/// away from zero.
Compacted projectAndCompact(const tag_qmReconsTensorData& tensor, double (*points)[3], std::int32_t count,
                            _ProjectDistortMode mode, double (*pixels)[2]);

/// How many of `threads` to start for `count` points: as many as get more work than it costs to wake them. Short ranges
/// are for the calling thread alone.
std::int32_t threadsWorthStarting(const tag_qmReconsTensorData& tensor, _ProjectDistortMode mode, std::int64_t count,
                                  std::int32_t threads);

/// The share of thread `n` of `threads` in `range`: equal chunks, with the remainder on the last thread.
IndexRange shareOfThread(IndexRange range, std::int32_t threads, std::int32_t n);

}  // namespace quelcore

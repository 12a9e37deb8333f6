// The three closed-form fits of a correspondence, each led back to a point in space.
#pragma once

#include <array>
#include <optional>

#include "files/Values.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

enum class FitMethod { Linear, Planar, Singular };

inline constexpr std::array<FitMethod, 3> kFitMethods = {FitMethod::Linear, FitMethod::Planar, FitMethod::Singular};

const char* nameOf(FitMethod method);

/// Which cameras play which part; the singular fit looks at the reference and the first target alone.
struct FitCameras {
  int reference;
  int firstTarget;
  int secondTarget;
};

/// Every choice there is.
inline constexpr std::array<FitCameras, 6> kFitChoices = {
    {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}};

struct FittedPoint {
  Vec3 point;      ///< World, millimetres.
  double errorPx;  ///< Root of what the fit leaves, pixels of the first target.
};

/// Fits `corres` (undistorted pixels) to `head` and leads the result back to the world through `pairReconstruction` of
/// the reference and the first target. Nothing where the fit fails or gives no finite point.
std::optional<FittedPoint> fitPoint(FitMethod method, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras);

/// The correspondence of three distorted pixels. Nothing where one of them has no undistorted position.
std::optional<tag_qmRTCorres> undistorted(const tag_qmReconsTensorData& head, const std::array<Vec2, 3>& pixels);

/// The correspondence of three undistorted pixels.
tag_qmRTCorres correspondenceOf(const std::array<Vec2, 3>& pixels);

}  // namespace queltool

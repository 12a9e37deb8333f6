// From one correspondence to a point in space: the three closed-form fits, each led back through the tables of the
// head, and the meeting of three rays. quel/measure/Triangulation.h does it for many, as measured and with residuals.
#pragma once

#include <array>
#include <optional>

#include "quel/base/Vectors.h"
#include "quelcore/records/qmRTCorres.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

#pragma GCC visibility push(default)

/// How the pixels of a point lead to it.
enum class Fit {
  Linear,    ///< Three cameras share the error; closed form, without a pole (qmRTFitCorresToTensorPlanarLinear).
  Planar,    ///< The reference pixel is exact, the others share the error (qmRTFitCorresToTensorPlanar).
  Singular,  ///< The reference pixel is exact; of the others the first target alone (qmRTFitCorresToTensorSingular).
  Rays       ///< The point nearest to three rays, each distance as the angle that its camera sees.
};

/// The closed-form ones.
inline constexpr std::array<Fit, 3> kClosedFits = {Fit::Linear, Fit::Planar, Fit::Singular};

/// "linear", "planar", "singular", "rays".
const char* nameOf(Fit fit);

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

/// Fits `corres` (undistorted pixels) to `head`. The result of a closed-form fit is led back to the world through
/// `pairReconstruction` of the reference and the first target; rays meet where their angles, weighed by the distances
/// at which they meet unweighed, are least. Nothing where the fit fails or gives no finite point, or where all rays are
/// parallel to 1e-6. `cameras` are three different ones.
std::optional<FittedPoint> fitPoint(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras);

/// The correspondence of three distorted pixels. Nothing where one of them has no undistorted position.
std::optional<tag_qmRTCorres> undistorted(const tag_qmReconsTensorData& head, const std::array<Vec2, 3>& pixels);

/// The correspondence of three undistorted pixels.
tag_qmRTCorres correspondenceOf(const std::array<Vec2, 3>& pixels);

#pragma GCC visibility pop

}  // namespace quel

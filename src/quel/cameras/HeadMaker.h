// Makes the record of a three-camera head from its cameras: both forms of it, consistent to rounding. Hidden in the
// library: quel/head/Head.h is its door.
//
// What is chosen here, where the cameras leave it open:
//   - image normalisation: about the principal point, by the focal length sqrt(fx fy); so normalised positions are
//     nearly (X/Z, Y/Z);
//   - world normalisation: about the scene's centre, by the mean distance of the cameras from it;
//   - scene's centre: the point nearest to the three optical axes; where these are parallel, the point that lies
//     `workingDistance` before the middle of the cameras;
//   - reference plane (planar parallax 0): through the scene's centre, normal to the mean of the optical axes, which is
//     parallel to the common image plane where there is one. Planar parallax is the distance behind this plane divided
//     by the depth before camera a;
//   - singular reference plane of a pair: normal to the line from the scene's centre to the middle of the two
//     cameras, 1/16 of that line before the scene's centre;
//   - units of parallax: one unit of depth moves the image of the scene's centre in camera b by one pixel.
//
// Tables that nothing reads (coefficients, view matrices, auxiliary transfers) stay 0, results that are unknown -1.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>

#include "quel/base/Result.h"
#include "quel/cameras/Camera.h"
#include "quel/cameras/HeadOptions.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

/// The reference that keeps one LUT set alive.
struct LutRelease {
  void operator()(const tag_qmDistortLuts* luts) const;
};
using LutReference = std::unique_ptr<const tag_qmDistortLuts, LutRelease>;

struct MadeHead {
  tag_qmReconsTensorData tensor;  ///< File version -17; `distortTables` null; `luts` as long as this head lives.
  std::array<DistortionFit, 3> distortion;
  std::array<LutReference, 3> luts;
};

/// The head of `cameras`, in their order. Fails, and says why and what to do, when
///   - an intrinsic is not finite or a focal length not positive, or a rotation is none;
///   - the cameras' image sizes differ, or no camera type has their size;
///   - two cameras stand in one place, or see the scene's centre along one line;
///   - the scene's centre lies behind a camera;
///   - an option is out of its range, or a LUT set cannot be made;
///   - a lens folds over within the image, or has rays more than 55 degrees off the axis;
///   - a lens that only LUTs hold (one that is none of the head's, and that the fit misses by more than 0.005 px) bends
///     too sharply.
Result<MadeHead> makeHead(const std::array<Camera, 3>& cameras, const HeadOptions& options = {});

}  // namespace quel

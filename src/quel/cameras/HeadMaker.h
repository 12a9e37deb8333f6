// Makes the record of a three-camera head from its cameras: both forms of it, consistent to rounding.
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
#include <string>

#include "quel/base/Result.h"
#include "quel/cameras/Camera.h"
#include "quel/cameras/Distortion.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

/// How much of the distortion goes into LUTs: the polynomial keeps k1 alone, the LUTs (type 0) hold the rest.
struct LutOptions {
  double pitch = 8.0;           ///< Pixels between cells.
  std::int32_t layers = 5;      ///< Depth layers, evenly spaced over the box and half its size beyond, along Z.
  std::int32_t lutVersion = 2;  ///< Of the sets.
};

struct HeadOptions {
  std::string machineId = "QUEL0001";  ///< 1 to 8 letters, digits or '_'.
  std::int32_t blockNumber = 1;        ///< From 1 on.
  std::int32_t calibWord0 = 0;
  std::int32_t imageTag = 0;
  std::int32_t calibWord2 = 0;
  std::int32_t calibrationTimeStamp = 0;
  Vec3 temperature = {20.0, 20.0, 20.0};  ///< Degrees Celsius.
  double workingDistance = 1240.0;        ///< Used where the optical axes are parallel.
  double lensType = 50.0;
  double ccdPixelSize = 0.009;
  double headParam4 = 70.0;
  std::optional<Vec3> sceneCentre;
  /// Half sizes of the reconstruction box about the scene's centre. Else in X and Y what the narrowest view sees at
  /// the scene's centre, and 0.4 of it in Z, which is 45 mm for the common head.
  std::optional<Vec3> boxHalfSize;
  Mat4 lutFrameTransform = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};  ///< Rigid.
  std::optional<LutOptions> luts;
};

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
///   - a lens that only LUTs hold (one that is none of the head's, and that the fit misses by more than 0.005 px) folds
///     over within the image, has rays more than 55 degrees off the axis, or bends too sharply.
Result<MadeHead> makeHead(const std::array<Camera, 3>& cameras, const HeadOptions& options = {});

/// The camera type whose images have this size, the default type first; nothing when there is none.
std::optional<std::int32_t> cameraTypeOfSize(std::int32_t width, std::int32_t height);

}  // namespace quel

// What can be chosen where a head is made of three cameras, and how well its lens model stands for theirs.
//
// Lengths are millimetres of the cameras' world, temperatures degrees Celsius.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quel/base/Vectors.h"

namespace quel {

#pragma GCC visibility push(default)

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

/// How well the pixel model stands for the camera's own, over all pixels of the image.
struct DistortionFit {
  bool exact = true;   ///< The models are the same function: fx = fy and no skew. The residuals are then 0.
  double rmsPx = 0.0;  ///< Root of the mean squared distance between the two distorted pixels.
  double maxPx = 0.0;
  double lutPitch = 0.0;  ///< Pixels between the cells of LUTs that hold the whole lens; 0 where there are none. The
                          ///< residuals are then those of the LUTs, over 100,000 random pixels of the image.
};

#pragma GCC visibility pop

}  // namespace quel

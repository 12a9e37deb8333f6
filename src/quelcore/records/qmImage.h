// The image record of one camera.
#pragma once

#include <cstdint>

#include "quelcore/records/qmIdentity.h"
#include "quelplatform/qmEnv/qmCamera.h"

/// One camera image, with what was known of the head when it was taken. Images of one acquisition lie in a contiguous
/// array, one per camera.
struct tag_qmImage {
  tag_qmImageID imageId;
  std::int32_t width;    ///< Pixels.
  std::int32_t height;   ///< Pixels.
  float temperature[3];  ///< Degrees Celsius; the last is the reference of tensor compensation.
  OH_CAMERA_TYPE ohType;
  double pixel2WorldRatio;  ///< Head parameter 0.
  double workingDistance;   ///< Head parameter 1.
  double lensType;          ///< Head parameter 2.
  double ccdPixelSize;      ///< Head parameter 3.
  double headParam4;        ///< Head parameter 4.
};

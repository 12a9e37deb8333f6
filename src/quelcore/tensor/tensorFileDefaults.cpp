#include "quelcore/tensor/tensorFileDefaults.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "quelcore/base/problems.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace quelcore {

namespace {

constexpr std::int32_t kStatusCameraOrder = 8;  // of qmRTfillLocsAndCalibDist
constexpr double kUnknownTemperature = -273.0;
constexpr double kUnknownResult = -1.0;
constexpr double kNoBoxLimit = -1.0;

void fill(double (&values)[3], double value) { std::fill(std::begin(values), std::end(values), value); }

}  // namespace

bool setUnknownTemperatures(tag_qmReconsTensorData& tensor, bool) {
  fill(tensor.temperature, kUnknownTemperature);
  return true;
}

bool setFirstHead(tag_qmReconsTensorData& tensor, bool) {
  tensor.ohType = OH_CAMERA_QUELHEAD_100;
  tensor.pixel2WorldRatio = 4.545;
  return true;
}

bool setFirstLens(tag_qmReconsTensorData& tensor, bool) {
  tensor.workingDistance = 1240.0;
  tensor.lensType = 50.0;
  tensor.ccdPixelSize = 0.009;
  tensor.headParam4 = 70.0;
  return true;
}

bool setNoDistortion(tag_qmReconsTensorData& tensor, bool takeOldDefaults) {
  if (!takeOldDefaults) {
    refuse({.offset = 0}, "version",
           ProblemText::printed("%d, which lacks the distortion of the lenses", tensor.version), "-5 or below");
    kTensorFileLog.write(kLogNote,
                         "NOTE: use qmRTeditTensorDataTool to update the tensor's distortion params from the images\n");
    return false;
  }
  for (tag_qmDistortParams& params : tensor.distortParams) {
    params.xp = 767.5;
    params.yp = 511.5;
  }
  fill(tensor.resultAvg, kUnknownResult);
  fill(tensor.resultStd, kUnknownResult);
  fill(tensor.resultMax, kUnknownResult);
  tensor.resultValue0 = kUnknownResult;
  tensor.resultValue1 = kUnknownResult;
  tensor.resultValue2 = kUnknownResult;
  tensor.resultInt = -1;
  return true;
}

bool setBoxDepth(tag_qmReconsTensorData& tensor, bool) {
  tensor.reconstBoxCenterZ = 0.0;
  tensor.reconstBoxHalfSizeZ = tensor.lensType == 50.0 ? 45.0 : 60.0;
  return true;
}

bool deriveCameraLocations(tag_qmReconsTensorData& tensor, bool) {
  std::int32_t status = 0;
  if (qmRTfillLocsAndCalibDist(&tensor, &status) != 0) return true;
  return refuse({}, "projections",
                status == kStatusCameraOrder ? "camera 0 is not the uppermost" : "a camera has no inverse projection");
}

bool spreadTemperature(tag_qmReconsTensorData& tensor, bool) {
  tensor.temperature[1] = tensor.temperature[0];
  tensor.temperature[2] = tensor.temperature[0];
  return true;
}

bool setNoBoxLimits(tag_qmReconsTensorData& tensor, bool) {
  tensor.reconstBoxHalfSizeX = kNoBoxLimit;
  tensor.reconstBoxHalfSizeY = kNoBoxLimit;
  return true;
}

bool setLutFrameToWorld(tag_qmReconsTensorData& tensor, bool) {
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  qmMathTransform2Mat4(&identity, tensor.lutFrameTransform);
  // Projections that are still to be derived are zero here, and stay so in the LUT frame.
  for (int camera = 0; camera < 3; ++camera) {
    qmMathCopyMat4ToMat4(tensor.projections[camera], tensor.projectionsInLutFrame[camera]);
  }
  return true;
}

bool setFirstDistortOption(tag_qmReconsTensorData& tensor, bool) {
  tensor.distortParams[0].distortOption = 1;
  return true;
}

void settleCameraType(tag_qmReconsTensorData& tensor) {
  auto type = static_cast<OH_CAMERA_TYPE>(tensor.ohType);
  if (type == OH_CAMERA_INVALID) {
    const OH_CAMERA_TYPE standard = OH_CAMERA_DEFAULT;
    kTensorFileLog.write(kLogError, "Wrong ohType = %s (%i) - use default ohType was set = %s (%i)",
                         getOHCameraName(type), static_cast<std::int32_t>(type), getOHCameraName(standard),
                         static_cast<std::int32_t>(standard));
    tensor.ohType = standard;
    type = standard;
  }
  CameraInfo info;
  if (!getCameraInfo(type, info)) return;
  tensor.imageWidth = info.width;
  tensor.imageHeight = info.height;
}

void copyModelsToSecondLuts(tag_qmReconsTensorData& tensor) {
  constexpr std::size_t kModelSize = offsetof(tag_qmDistortParams, luts);
  for (int i = 0; i < 3; ++i) std::memcpy(&tensor.distortParams2[i], &tensor.distortParams[i], kModelSize);
}

void spreadDistortOption(tag_qmReconsTensorData& tensor) {
  for (int i = 0; i < 3; ++i) {
    tensor.distortParams[i].distortOption = tensor.distortParams[0].distortOption;
    tensor.distortParams2[i].distortOption = tensor.distortParams[0].distortOption;
  }
}

}  // namespace quelcore

#include "quelcore/patches/QmPatchBlockInfo.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "quelcore/patches/lutsParams.h"

namespace {

constexpr unsigned kCameras = 3;

// The five head parameters stand one behind the other in image and tensor, and are copied bit for bit.
static_assert(offsetof(tag_qmImage, headParam4) == offsetof(tag_qmImage, pixel2WorldRatio) + 4 * sizeof(double));
static_assert(offsetof(tag_qmReconsTensorData, headParam4) ==
              offsetof(tag_qmReconsTensorData, pixel2WorldRatio) + 4 * sizeof(double));

void takeSize(QmPatchBlockInfo& info, unsigned camera, const tag_qmImage& image) {
  info.imageWidths[camera] = image.width;
  info.imageHeights[camera] = image.height;
}

}  // namespace

QmPatchBlockInfo::QmPatchBlockInfo() { qmEnvMachineID(machineId, kMachineIdSize); }

void QmPatchBlockInfo::initialize(const tag_qmImage* image) {
  if (image == nullptr) return;
  std::copy(std::begin(image->temperature), std::end(image->temperature), temperatures);
  ohType = image->ohType == OH_CAMERA_INVALID ? getDefCameraType() : image->ohType;
  std::memcpy(headParams, reinterpret_cast<const char*>(image) + offsetof(tag_qmImage, pixel2WorldRatio),
              sizeof(headParams));
  for (unsigned camera = 0; camera < kCameras; ++camera) takeSize(*this, camera, *image);
  imageTag = image->imageId.imageTag;
}

void QmPatchBlockInfo::initialize(const tag_qmImage* images, unsigned cameras) {
  if (images == nullptr) return;
  initialize(images);
  for (unsigned camera = 1; camera < std::min(cameras, kCameras); ++camera) takeSize(*this, camera, images[camera]);
}

void QmPatchBlockInfo::initialize(const qmPatchImage* images) {
  if (images == nullptr) return;
  initialize(images->images[0]);
  for (unsigned camera = 1; camera < kCameras; ++camera) {
    if (images->images[camera] != nullptr) takeSize(*this, camera, *images->images[camera]);
  }
}

void QmPatchBlockInfo::updateTensor(tag_qmReconsTensorData* tensor) const {
  if (tensor == nullptr) return;
  std::memcpy(tensor->temperature, temperatures, sizeof(temperatures));
  tensor->ohType = ohType;
  std::memcpy(reinterpret_cast<char*>(tensor) + offsetof(tag_qmReconsTensorData, pixel2WorldRatio), headParams,
              sizeof(headParams));
  std::memcpy(tensor->machineId, machineId, sizeof(machineId));
  tensor->calibWord0 = calibWord0;
  tensor->imageTag = imageTag;
  tensor->calibWord2 = calibWord2;
  CameraInfo info{};
  if (!getCameraInfo(ohType, info)) return;
  tensor->imageWidth = info.width;
  tensor->imageHeight = info.height;
}

bool QmPatchBlockInfo::getUseDistortLut(OH_CAMERA_TYPE type) {
  if (!quelcore::readLutsParams(type)) return false;
  const quelcore::LutsParams& params = quelcore::lutsParams();
  return params.bUseDistortLutCopBased_ || params.bUseDistortLutTrgBased_;
}

bool QmPatchBlockInfo::getUseDistortLutCop(OH_CAMERA_TYPE type) {
  return quelcore::readLutsParams(type) && quelcore::lutsParams().bUseDistortLutCopBased_;
}

bool QmPatchBlockInfo::getUseDistortLutTrg(OH_CAMERA_TYPE type) {
  return quelcore::readLutsParams(type) && quelcore::lutsParams().bUseDistortLutTrgBased_;
}

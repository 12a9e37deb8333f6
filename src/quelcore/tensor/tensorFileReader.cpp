#include "quelcore/tensor/tensorFileReader.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/tensorFileFormat.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace quelcore {

namespace {

constexpr double kUnknownTemperature = -273.0;
constexpr double kUnknownResult = -1.0;
constexpr double kNoBoxLimit = -1.0;
constexpr std::int32_t kLongestSkipped = 0x7FFF;  // bytes of an identifier; a length is signed 16-bit

void fill(double (&values)[3], double value) { std::fill(std::begin(values), std::end(values), value); }

/// The second LUT type has the lens model of the first; only its LUTs differ.
void copyModel(const tag_qmDistortParams& from, tag_qmDistortParams& to) {
  constexpr std::size_t kModelSize = offsetof(tag_qmDistortParams, luts);
  std::memcpy(&to, &from, kModelSize);
}

}  // namespace

bool TensorFileReader::readBytes(void* target, std::size_t size) {
  errno = 0;
  if (std::fread(target, size, 1, file_) == 1) return true;
  error_ = errno;
  return false;
}

template <typename Fields>
bool TensorFileReader::readFields(const Fields& fields) {
  for (const FileField& field : fields) {
    unsigned char pad[kPadSize];
    unsigned char* target = isPad(field) ? pad : fieldOf(tensor_, field);
    if (!readBytes(target, field.size)) {
      kTensorFileLog.trace();
      return false;
    }
  }
  return true;
}

bool TensorFileReader::read() { return readVersion() && readGroups(); }

bool TensorFileReader::readVersion() {
  std::int32_t word = 0;
  if (!readBytes(&word, sizeof(word)) || word < kNewestVersion) {
    kTensorFileLog.trace();
    return false;
  }
  const std::span<const FileField> fields(kFieldsOfAllVersions);
  if (word < 1) {
    tensor_.version = word;
    return readFields(fields);
  }
  tensor_.numCameras = word;  // a legacy file begins with the number of cameras
  return readFields(fields.subspan(1));
}

bool TensorFileReader::readGroups() {
  for (const VersionGroup& group : kVersionGroups) {
    if (tensor_.version > group.version) {
      if (!setDefaults(group.version)) {
        kTensorFileLog.trace();
        return false;
      }
    } else if (group.lutType >= 0) {
      readLutIds(group.lutType);  // an unreadable identifier fails at the next fixed field, if there is one
    } else {
      const std::span<const FileField> fields(group.fields, group.count);
      if (!readFields(fields)) return false;
      for (const FileField& field : fields) {
        if (group.version >= -3) qmEnvFlip(fieldOf(tensor_, field), field.flipCount, field.flipSize);
      }
    }
    completeGroup(group.version);
  }
  return true;
}

bool TensorFileReader::setDefaults(std::int32_t version) {
  switch (version) {
    case -1:
      fill(tensor_.temperature, kUnknownTemperature);
      return true;
    case -2:
      tensor_.ohType = OH_CAMERA_QUELHEAD_100;
      tensor_.pixel2WorldRatio = 4.545;
      return true;
    case -3:
      tensor_.workingDistance = 1240.0;
      tensor_.lensType = 50.0;
      tensor_.ccdPixelSize = 0.009;
      tensor_.headParam4 = 70.0;
      return true;
    case -5:
      return setDistortionDefaults();
    case -7:
      tensor_.reconstBoxCenterZ = 0.0;
      tensor_.reconstBoxHalfSizeZ = tensor_.lensType == 50.0 ? 45.0 : 60.0;
      return true;
    case -9:
      return qmRTfillLocsAndCalibDist(&tensor_, nullptr) != 0;
    case -10:
      tensor_.temperature[1] = tensor_.temperature[0];
      tensor_.temperature[2] = tensor_.temperature[0];
      return true;
    case -11:
      tensor_.reconstBoxHalfSizeX = kNoBoxLimit;
      tensor_.reconstBoxHalfSizeY = kNoBoxLimit;
      return true;
    case -16:
      return setLutFrameDefaults();
    case -17:
      tensor_.distortParams[0].distortOption = 1;
      return true;
    default:  // -4, -6, -8, -12 to -15: zero, as the record was cleared
      return true;
  }
}

bool TensorFileReader::setDistortionDefaults() {
  if (!takeOldDefaults_) {
    kTensorFileLog.write(kLogNote,
                         "NOTE: use qmRTeditTensorDataTool to update the tensor's distortion params from the images\n");
    return false;
  }
  for (tag_qmDistortParams& params : tensor_.distortParams) {
    params.xp = 767.5;
    params.yp = 511.5;
  }
  fill(tensor_.resultAvg, kUnknownResult);
  fill(tensor_.resultStd, kUnknownResult);
  fill(tensor_.resultMax, kUnknownResult);
  tensor_.resultValue0 = kUnknownResult;
  tensor_.resultValue1 = kUnknownResult;
  tensor_.resultValue2 = kUnknownResult;
  tensor_.resultInt = -1;
  return true;
}

bool TensorFileReader::setLutFrameDefaults() {
  qmMathTransform identity;
  qmMathIdTransformCreate(&identity);
  qmMathTransform2Mat4(&identity, tensor_.lutFrameTransform);
  // Projections that are still to be derived are zero here, and stay so in the LUT frame.
  for (int camera = 0; camera < 3; ++camera) {
    qmMathCopyMat4ToMat4(tensor_.projections[camera], tensor_.projectionsInLutFrame[camera]);
  }
  return true;
}

void TensorFileReader::completeGroup(std::int32_t version) {
  switch (version) {
    case -2:
      settleCameraType();
      break;
    case -14:
      for (int i = 0; i < 3; ++i) copyModel(tensor_.distortParams[i], tensor_.distortParams2[i]);
      break;
    case -17:
      for (int i = 0; i < 3; ++i) {
        tensor_.distortParams[i].distortOption = tensor_.distortParams[0].distortOption;
        tensor_.distortParams2[i].distortOption = tensor_.distortParams[0].distortOption;
      }
      break;
    default:
      break;
  }
}

void TensorFileReader::settleCameraType() {
  auto type = static_cast<OH_CAMERA_TYPE>(tensor_.ohType);
  if (type == OH_CAMERA_INVALID) {
    const OH_CAMERA_TYPE standard = OH_CAMERA_DEFAULT;
    kTensorFileLog.write(kLogError, "Wrong ohType = %s (%i) - use default ohType was set = %s (%i)",
                         getOHCameraName(type), static_cast<std::int32_t>(type), getOHCameraName(standard),
                         static_cast<std::int32_t>(standard));
    tensor_.ohType = standard;
    type = standard;
  }
  CameraInfo info;
  if (!getCameraInfo(type, info)) return;
  tensor_.imageWidth = info.width;
  tensor_.imageHeight = info.height;
}

bool TensorFileReader::readLutIds(std::int32_t lutType) {
  for (std::int32_t camera = 0; camera < 3; ++camera) {
    tag_qmDistortLutsInfo& info = lutInfosOf(tensor_, lutType)[camera];
    if (readLutId(lutType, camera, info) == LutIdRead::Stop) return false;
  }
  return true;
}

TensorFileReader::LutIdRead TensorFileReader::readLutId(std::int32_t lutType, std::int32_t camera,
                                                        tag_qmDistortLutsInfo& info) {
  std::uint16_t length = 0;
  info.useLut = 0;
  if (!readBytes(&length, sizeof(length))) {
    kTensorFileLog.write(kLogError, "cannot read valUseLut for camera %d lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  if (length == 0) return LutIdRead::GoOn;
  if (length > LUT_ID_SIZE && length <= kLongestSkipped) return skipLutId(lutType, camera, length);
  // A length above 0x7FFF cannot be that of an identifier, nor is it skipped: it ends the identifiers like a failed
  // read.
  if (length > LUT_ID_SIZE || !readBytes(info.lutId, length)) {
    kTensorFileLog.write(kLogError, "cannot read lutId for camera %d lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  info.lutId[LUT_ID_SIZE - 1] = '\0';  // whatever the file says
  info.useLut = 1;
  return LutIdRead::GoOn;
}

TensorFileReader::LutIdRead TensorFileReader::skipLutId(std::int32_t lutType, std::int32_t camera,
                                                        std::int32_t length) {
  char discarded[kLongestSkipped];
  if (!readBytes(discarded, static_cast<std::size_t>(length))) {
    kTensorFileLog.write(kLogError, "cannot read lutId for camera %d = lutType %d", camera, lutType);
    return LutIdRead::Stop;
  }
  kTensorFileLog.write(kLogError,
                       "cannot read lutId for camera %d : skipped valUseLut = %i LUT_ID_SIZE = %i lutType = %d\n",
                       camera, length, LUT_ID_SIZE, lutType);
  return LutIdRead::GoOn;
}

}  // namespace quelcore

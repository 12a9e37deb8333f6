// The tensor as an owning object: life, getters and files. Its LUTs are in QmReconsTensorLuts.cpp.
#include "quelcore/tensor/QmReconsTensor.h"

#include <algorithm>
#include <cstring>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/problems.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelcore/blocks/calibrationOf.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsFilterByZ.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "quelplatform/img_4_qm/img_4_qm.h"
#include "quelplatform/qmEnv/qmCamera.h"

namespace {

constexpr quelcore::ModuleLog kLog{"QmReconsTensor"};

constexpr double kCurrentVersion = -17.0;

static_assert(sizeof(QmReconsTensor) == sizeof(tag_qmReconsTensorData), "the object is the record and nothing more");

/// A copy of a distortion image of known size; null for null, and where memory is exhausted.
float** copyOfTable(float** source, std::int32_t columns, std::int32_t rows) {
  if (source == nullptr) return nullptr;
  auto* copy = static_cast<float**>(alloc_image(columns, rows, sizeof(float), Image_border));
  if (copy != nullptr) fcopy_img({source, columns, rows}, {copy, columns, rows});
  return copy;
}

double greatest(const double (&values)[3]) { return std::max({values[0], values[1], values[2]}); }

}  // namespace

// --- Life ----------------------------------------------------------------------------------------------------------

QmReconsTensor::QmReconsTensor() { qmTensorInit(this); }

QmReconsTensor::QmReconsTensor(const tag_qmReconsTensorData& tensor) { copyFrom(tensor); }

QmReconsTensor::QmReconsTensor(const QmReconsTensor& other) : tag_qmReconsTensorData() { copyFrom(other); }

QmReconsTensor::QmReconsTensor(const tag_qmReconsTensorData* tensor) {
  if (tensor == nullptr) {
    qmTensorInit(this);
  } else {
    copyFrom(*tensor);
  }
}

QmReconsTensor& QmReconsTensor::operator=(const tag_qmReconsTensorData& tensor) {
  if (&tensor == this) return *this;
  QmReconsTensor copy(tensor);  // takes its references before ours are dropped: LUTs in common stay
  takeContentOf(copy);
  return *this;
}

QmReconsTensor& QmReconsTensor::operator=(const QmReconsTensor& other) {
  return *this = static_cast<const tag_qmReconsTensorData&>(other);
}

QmReconsTensor::~QmReconsTensor() { clear(); }

void QmReconsTensor::copyFrom(const tag_qmReconsTensorData& tensor) {
  static_cast<tag_qmReconsTensorData&>(*this) = tensor;
  copyDistortTable(tensor);
  addLutsRef();
}

void QmReconsTensor::takeContentOf(QmReconsTensor& other) {
  clear();
  static_cast<tag_qmReconsTensorData&>(*this) = other;
  qmTensorInit(&other);  // its images and references are ours now
}

void QmReconsTensor::clear() {
  clearTensorLuts();
  qmTensorDestruct(this);
}

void QmReconsTensor::copyDistortTable(const tag_qmReconsTensorData& tensor) {
  for (int camera = 0; camera < 3; ++camera) {
    const qmDistortTableSet& from = tensor.distortTables[camera];
    distortTables[camera].xTable = copyOfTable(from.xTable, from.xCols, from.xRows);
    distortTables[camera].yTable = copyOfTable(from.yTable, from.yCols, from.yRows);
  }
}

// --- Getters -------------------------------------------------------------------------------------------------------

double QmReconsTensor::GetVersion() const { return kCurrentVersion; }

bool QmReconsTensor::IsVersion(double v) const { return static_cast<double>(version) == v; }

bool QmReconsTensor::GetCCDPixelSize(double& size) const {
  size = ccdPixelSize;
  return true;
}

bool QmReconsTensor::GetLensType(double& lens) const {
  lens = lensType;
  return true;
}

bool QmReconsTensor::GetPixel2WorldRatio(double& ratio) const {
  ratio = pixel2WorldRatio;
  return true;
}

bool QmReconsTensor::GetWorkingDistance(double& distance) const {
  distance = workingDistance;
  return true;
}

bool QmReconsTensor::GetTemperature(TemperatureSource source, double& value) const {
  const auto index = static_cast<std::int32_t>(source);
  if (index < 0 || index > 2) return false;
  value = temperature[index];
  return true;
}

bool QmReconsTensor::GetReconstBoxCenterAndHalfSize(double& centerX, double& halfSizeX, double& centerY,
                                                    double& halfSizeY, double& centerZ, double& halfSizeZ) const {
  centerX = reconstBoxCenterX;
  halfSizeX = reconstBoxHalfSizeX;
  centerY = reconstBoxCenterY;
  halfSizeY = reconstBoxHalfSizeY;
  centerZ = reconstBoxCenterZ;
  halfSizeZ = reconstBoxHalfSizeZ;
  return true;
}

bool QmReconsTensor::GetResultAvg(double& result) const {
  result = greatest(resultAvg);
  return true;
}

bool QmReconsTensor::GetResultMax(double& result) const {
  if (version > -5) return false;
  result = greatest(resultMax);
  return true;
}

bool QmReconsTensor::GetResultStd(double& result) const {
  if (version > -5) return false;
  result = greatest(resultStd);
  return true;
}

bool QmReconsTensor::GetCalibrationID(int& number) const {
  if (version >= -5) return false;
  number = blockNumber;
  return true;
}

bool QmReconsTensor::GetMappingID(int /*mappingId*/) const { return version < -5; }

bool QmReconsTensor::GetCalibrationInfo(tag_qmCalibrationID& calibration) const {
  if (version > -6) return false;
  calibration = quelcore::calibrationOf(*this);
  return true;
}

bool QmReconsTensor::GetCalibrationTimeStamp(std::int32_t& timeStamp) const {
  if (version >= -7) return false;
  timeStamp = calibrationTimeStamp;
  return true;
}

bool QmReconsTensor::GetFileName(qmWString& name) const {
  if (version >= -5) return false;
  return GetBlockFileName(quelcore::calibrationOf(*this), name);
}

bool QmReconsTensor::GetMachineID(unsigned char* buffer, int size) const {
  if (version > -6 || buffer == nullptr || size < kMachineIdSize) return false;
  std::memcpy(buffer, machineId, kMachineIdSize);
  return true;
}

bool QmReconsTensor::IsCompatibleToImage(const tag_qmImageID& image) const {
  return IsBlockCompatibleToImage(image, static_cast<const tag_qmReconsTensorData*>(this));
}

// --- Files ---------------------------------------------------------------------------------------------------------

bool QmReconsTensor::LoadFromFile(const qmWChar* tensorFile, const qmWChar* lutsSource) {
  clear();
  if (tensorFile == nullptr) {
    quelcore::beginReading(nullptr);
    quelcore::refuse({}, "", "no file is named");
    kLog.write(quelcore::kLogError, "Failed to load block. Invalid file name");
    return false;
  }
  if (qmTensorDataLoad(tensorFile, this) != 1) {
    kLog.write(quelcore::kLogError, "Failed to load block from '%s'", tensorFile);
    return false;
  }
  const qmWChar* besideLuts = lutsSource == nullptr ? tensorFile : lutsSource;
  if (!quelcore::unlessOutOfMemory(false, [&] { return loadDistortLuts(besideLuts); })) {
    quelcore::refuseForMemory();  // unless another cause was met
    kLog.write(quelcore::kLogError, "Failed to load luts files from block '%s'", tensorFile);
    return false;
  }
  double close = 0.0;
  double far = 0.0;
  qmReconsGetFilterByZRatios(this, close, far, true);
  qmReconsGetFilterByZRatiosForRE(this, close, far);
  return true;
}

bool QmReconsTensor::StoreToFile(const qmWChar* fileName) {
  const bool lutsStay = fileName == nullptr || isQuelHead200(static_cast<OH_CAMERA_TYPE>(ohType));
  const bool lutsStored = lutsStay || quelcore::unlessOutOfMemory(false, [&] { return storeLuts(fileName); });
  const bool tensorStored = qmTensorDataStore(fileName, this) == 1;
  return lutsStored && tensorStored;
}

bool GetLutsFileName(const QmReconsTensor* tensor, qmWString& name) {
  return tensor != nullptr && GetLutsFileName(tensor->machineId, tensor->blockNumber, name);
}

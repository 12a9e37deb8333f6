#include "quelcore/tensor/qmReconsFilterByZ.h"

#include <cstdio>
#include <limits>

#include "quelcore/tensor/filterByZCaches.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmParam.h"

namespace {

constexpr double kStandardRatio = 1.0;
constexpr double kCalibrationRatio = 2.0;
constexpr double kStandardHalfHeight = 130.0;

/// The values of the last lens that was asked for. Lens number 0 at the start stands for the defaults.
struct Ratios {
  std::int32_t lens = 0;
  double close = kStandardRatio;
  double far = kStandardRatio;
};

struct HalfHeight {
  std::int32_t lens = 0;
  double value = kStandardHalfHeight;
};

struct Caches {
  Ratios ratios;
  Ratios ratiosForRE;
  HalfHeight halfHeight;
};

Caches caches;

/// `lensType` truncated toward zero; the nearest number that an integer can hold, and 0 for what is no number.
std::int32_t lensNumber(const tag_qmReconsTensorData& tensor) {
  constexpr double kLeast = std::numeric_limits<std::int32_t>::min();
  constexpr double kMost = std::numeric_limits<std::int32_t>::max();
  if (tensor.lensType >= kMost) return std::numeric_limits<std::int32_t>::max();
  if (tensor.lensType <= kLeast) return std::numeric_limits<std::int32_t>::min();
  return tensor.lensType == tensor.lensType ? static_cast<std::int32_t>(tensor.lensType) : 0;
}

/// The parameter `name`.`lens`.
double readForLens(const char* name, std::int32_t lens, double byDefault) {
  char key[128];
  std::snprintf(key, sizeof(key), "%s.%d", name, lens);
  double value = byDefault;
  qmEnvGetParam2double(key, byDefault, &value);
  return value;
}

void readCached(Ratios& cache, std::int32_t lens, const char* closeName, const char* farName, double& close,
                double& far) {
  if (lens != cache.lens) {
    cache = {lens, readForLens(closeName, lens, kStandardRatio), readForLens(farName, lens, kStandardRatio)};
  }
  close = cache.close;
  far = cache.far;
}

bool hasCompleteLut(const tag_qmDistortParams& params) {
  return params.luts != nullptr && params.luts->tables[0] != nullptr && params.luts->tables[1] != nullptr;
}

}  // namespace

void quelcore::resetFilterByZCaches() { caches = Caches(); }

void qmReconsGetFilterByZRatios(const tag_qmReconsTensorData* tensor, double& close, double& far, bool forCalib) {
  if (tensor == nullptr) return;
  const std::int32_t lens = lensNumber(*tensor);
  const auto type = static_cast<OH_CAMERA_TYPE>(tensor->ohType);
  if (!isQuelHead200(type) && forCalib && !hasCompleteLut(tensor->distortParams[0])) {
    close = readForLens("qmPatchReconsFilterByZRatioCloseForCalib", lens, kCalibrationRatio);
    far = readForLens("qmPatchReconsFilterByZRatioFarForCalib", lens, kCalibrationRatio);
    return;
  }
  readCached(caches.ratios, lens, "qmPatchReconsFilterByZRatioClose", "qmPatchReconsFilterByZRatioFar", close, far);
}

void qmReconsGetFilterByZRatiosForRE(const tag_qmReconsTensorData* tensor, double& close, double& far) {
  if (tensor == nullptr) return;
  readCached(caches.ratiosForRE, lensNumber(*tensor), "qmReconsLS_FilterByZRatioClose", "qmReconsLS_FilterByZRatioFar",
             close, far);
}

void qmReconsGetFilterByZHalfHeightForCOP(const tag_qmReconsTensorData* tensor, double& halfHeight) {
  if (tensor == nullptr) return;
  const std::int32_t lens = lensNumber(*tensor);
  HalfHeight& cache = caches.halfHeight;
  if (lens != cache.lens) {
    cache = {lens, readForLens("qmPatchLUTCalibZHalfHeightForCOP", lens, kStandardHalfHeight)};
  }
  halfHeight = cache.value;
}

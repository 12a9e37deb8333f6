#include "quelcore/tensor/DistortLuts.h"

#include "quelcore/base/ModuleLog.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"

namespace {

constexpr quelcore::ModuleLog kLog{"DistortLuts"};

/// False, logged, for a null identifier; `*luts` is then null.
bool hasId(const char* id, const tag_qmDistortLuts** luts,
           quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  if (id != nullptr) return true;
  kLog.write(place, "NULL luId pointer");
  if (luts != nullptr) *luts = nullptr;
  return false;
}

}  // namespace

std::int32_t addDistortLuts(const char* id, const tag_qmDistortLuts** luts) {
  return hasId(id, luts) && DistortLutsManager::getManager().addDistortLuts(id, luts) ? 1 : 0;
}

std::int32_t getExistDistortLuts(const char* id, const tag_qmDistortLuts** luts) {
  return hasId(id, luts) && DistortLutsManager::getManager().getExistDistortLuts(id, luts, true) ? 1 : 0;
}

void distortLutsAddRef(const tag_qmDistortLuts* luts) { DistortLutsManager::getManager().distortLutsAddRef(luts); }

void distortLutsReleaseRef(const tag_qmDistortLuts* luts) {
  DistortLutsManager::getManager().distortLutsReleaseRef(luts);
}

void removeDistortLuts(const char* id) { DistortLutsManager::getManager().removeDistortLuts(id); }

void releaseAllDistortLuts() { DistortLutsManager::getManager().releaseAllDistortLuts(); }

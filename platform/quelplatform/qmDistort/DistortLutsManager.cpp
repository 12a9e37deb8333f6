#include "quelplatform/qmDistort/DistortLutsManager.h"

#include <new>
#include <string_view>

#include "quelplatform/qmDistort/LutFile.h"
#include "quelplatform/qmDistort/LutTable.h"
#include "quelplatform/qmEnv/platformLog.h"

using namespace quelplatform;

namespace {

constexpr std::int32_t kLogError = 5;

// The empty identifier, which names no set, for null.
std::string_view textOf(const char* id) { return id == nullptr ? std::string_view() : std::string_view(id); }

bool report(const qmWChar* path, const LutFileProblem& problem, LogPlace place) {
  tell(place, "DistortLutsManager", "LUT file %s: %s", path, problem.text);
  return false;
}

}  // namespace

DistortLutsManager& DistortLutsManager::getManager() {
  static DistortLutsManager manager;
  return manager;
}

bool DistortLutsManager::loadLutsFile(LutMap& luts, const qmWChar* path) {
  LutFileProblem problem;
  try {
    const auto file = LutFile::read(path, problem);
    if (!file) return report(path, problem, kLogError);
    if (lutTable().deliver(*file, luts)) return true;
  } catch (const std::bad_alloc&) {
  }
  problem.sayMemoryExhausted();
  return report(path, problem, kLogError);
}

bool DistortLutsManager::storeLutsFile(const LutList& luts, const qmWChar* path, bool) {
  LutFileProblem problem;
  return writeLutFile(luts, path, problem) || report(path, problem, kLogError);
}

bool DistortLutsManager::addDistortLuts(const char* id, const tag_qmDistortLuts** out) try {
  if (out == nullptr) return false;
  *out = nullptr;
  if (!isLutId(textOf(id))) return false;
  *out = lutTable().addReferenceOrCreate(id);
  return *out != nullptr;
} catch (const std::bad_alloc&) {
  return false;
}

bool DistortLutsManager::addDistortLuts(const char* newId, const char* oldId) try {
  return isLutId(textOf(newId)) && lutTable().addName(newId, textOf(oldId));
} catch (const std::bad_alloc&) {
  return false;
}

bool DistortLutsManager::getExistDistortLuts(const char* id, const tag_qmDistortLuts** out, bool addReference) {
  if (out == nullptr) return false;
  *out = lutTable().find(textOf(id), addReference);
  return *out != nullptr;
}

void DistortLutsManager::distortLutsAddRef(const char* id) { lutTable().addReference(textOf(id)); }

void DistortLutsManager::distortLutsAddRef(const tag_qmDistortLuts* luts) { lutTable().addReference(luts); }

void DistortLutsManager::distortLutsReleaseRef(const tag_qmDistortLuts* luts) { lutTable().dropReference(luts); }

void DistortLutsManager::removeDistortLuts(const char* id) { lutTable().dropReference(textOf(id)); }

std::int32_t DistortLutsManager::removeUnusedDistortLuts() { return lutTable().removeUnused(); }

void DistortLutsManager::releaseAllDistortLuts() { lutTable().removeAll(); }

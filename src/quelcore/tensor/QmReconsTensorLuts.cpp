// The distortion look-up tables of a tensor: attaching, renaming, storing and dropping them.
//
// Every used LUT (a camera and LUT type with `useLut`) holds one reference of its set in `DistortLutsManager`. The set
// is what `luts` points to: `lutId` is a name, and names move when blocks are renumbered or loaded anew. So references
// are taken and dropped by the pointer alone.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include "quelcore/base/ModuleLog.h"
#include "quelcore/base/copyCut.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/problems.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace {

constexpr quelcore::ModuleLog kLog{"QmReconsTensor"};

constexpr float kCellWithoutValue = 0x1.fffffep+127F;  // largest float

using LutMap = DistortLutsManager::LutMap;

void writeLutId(const std::string& id, tag_qmDistortLutsInfo& info) {
  std::memset(info.lutId, 0, sizeof(info.lutId));
  id.copy(info.lutId, sizeof(info.lutId) - 1);
}

/// Up to version 1, a cell without value may be NaN; from then on the largest float says so. The tables are shared, so
/// only cells that are NaN are ever written.
void replaceNaNCells(const tag_qmDistortLuts& luts) {
  for (const qmImageRecord* images : luts.tables) {
    if (images == nullptr) continue;
    for (std::int32_t layer = 0; layer < luts.tableCount; ++layer) {
      const qmImageRecord& image = images[layer];
      if (image.rows == nullptr) continue;
      for (std::int32_t row = 0; row < image.height; ++row) {
        std::for_each_n(image.rows[row], std::max(image.width, 0), [](float& cell) {
          if (std::isnan(cell)) cell = kCellWithoutValue;
        });
      }
    }
  }
}

/// The set gets the new name with a reference for it, and the reference under the old one is returned. Nothing is done
/// where the old name means no set or that of others. False, with nothing changed, where memory for the name is
/// exhausted.
bool renameSet(const std::string& oldId, const std::string& newId, const tag_qmDistortLuts* luts) {
  DistortLutsManager& manager = DistortLutsManager::getManager();
  const tag_qmDistortLuts* named = nullptr;
  if (!manager.getExistDistortLuts(oldId.c_str(), &named, false) || named != luts) return true;
  if (!manager.addDistortLuts(newId.c_str(), oldId.c_str())) return false;
  manager.distortLutsReleaseRef(luts);
  return true;
}

void dropLuts(tag_qmDistortParams& params) {
  DistortLutsManager::getManager().distortLutsReleaseRef(params.luts);
  params.luts = nullptr;
}

/// What is wrong inside the file the platform tells in its log.
void refuseLutsFile(const qmWChar* lutsFile) {
  quelcore::goOnReading(lutsFile);
  if (lutsFile[0] == u'\0') {
    quelcore::refuse({}, "", "the LUT file that belongs to the block has no name, or one that is too long");
  } else if (!QmFileExist(lutsFile)) {
    quelcore::refuseUnreadable(ENOENT);
  } else {
    quelcore::refuse({}, "", "it is damaged or cannot be read; the log says where");
  }
}

/// Whether the LUT file has a name that opens one: the tensor's machine is part of it, which is whatever its file says.
bool isLutsFileName(const qmWChar* path, const QmReconsTensor& tensor) {
  qmWString name;
  if (!GetLutsFileName(&tensor, name)) return false;
  if (quelcore::isFileName(name)) return true;
  quelcore::goOnReading(path);
  return quelcore::refuse({}, "name of the LUT file", quelcore::ProblemText::quoted(name),
                          "the name of a file beside the tensor");
}

bool needsSeparator(std::u16string_view directory) {
  return !directory.empty() && directory.back() != u'\\' && directory.back() != u'/';
}

bool namesDirectory(const qmWChar* path) {
  return path != nullptr && qmWString(path).find_first_of(u"\\/") != qmWString::npos;
}

}  // namespace

QmReconsTensor::LutType QmReconsTensor::lutType(int type) {
  return type == 0 ? LutType{distortParams, distortLutsInfo} : LutType{distortParams2, distortLutsInfo2};
}

void QmReconsTensor::clearTensorLuts() {
  for (int camera = 0; camera < 3; ++camera) {
    clearCameraLuts(distortParams[camera], distortLutsInfo[camera]);
    clearCameraLuts(distortParams2[camera], distortLutsInfo2[camera]);
  }
  DistortLutsManager::getManager().removeUnusedDistortLuts();
}

void QmReconsTensor::clearCameraLuts(tag_qmDistortParams& params, tag_qmDistortLutsInfo& info) {
  if (info.useLut != 1) return;
  dropLuts(params);
  info.useLut = 0;
  info.lutId[0] = '\0';
}

bool QmReconsTensor::clearLUTs(tag_qmDistortParams* params, tag_qmDistortLutsInfo* infos) {
  if (params == nullptr || infos == nullptr) return false;
  for (int camera = 0; camera < 3; ++camera) {
    dropLuts(params[camera]);
    infos[camera].useLut = 0;
    infos[camera].lutId[0] = '\0';
  }
  return true;
}

void QmReconsTensor::addLutsRef() {
  for (int camera = 0; camera < 3; ++camera) {
    for (int type = 0; type < 2; ++type) {
      const LutType entry = lutType(type);
      if (entry.infos[camera].useLut != 0) {
        DistortLutsManager::getManager().distortLutsAddRef(entry.params[camera].luts);
      }
    }
  }
}

void QmReconsTensor::getTensorLutIds(std::set<std::string>& ids) const {
  for (const auto& infos : {distortLutsInfo, distortLutsInfo2}) {
    for (int camera = 0; camera < 3; ++camera) {
      if (infos[camera].useLut == 1 && infos[camera].lutId[0] != '\0') ids.insert(infos[camera].lutId);
    }
  }
}

bool QmReconsTensor::getLutsFileByTensorFile(const qmWChar* path, qmWChar* buffer, int size) const {
  qmWChar directory[quelcore::kLongPathSize] = {};
  GetFullPath(path, directory, quelcore::kLongPathSize - 1);
  // A directory too long for the buffer comes back empty; the LUTs must not then come from the current one.
  if (directory[0] == u'\0' && namesDirectory(path)) return false;
  qmWString name;
  if (!GetLutsFileName(this, name)) return false;
  const qmWString file = needsSeparator(directory) ? quelcore::joined(directory, name) : directory + name;
  return quelcore::copyCut(file, buffer, size) < size;
}

bool QmReconsTensor::loadDistortLuts(const qmWChar* tensorFile) {
  std::set<std::string> ids;
  getTensorLutIds(ids);
  if (ids.empty()) {
    kLog.write(quelcore::kLogInformation, "empty tensor lutIds set");
    return true;
  }
  LutMap luts;
  for (const std::string& id : ids) luts[id] = nullptr;
  qmWChar lutsFile[quelcore::kLongPathSize] = {};
  if (!getLutsFileByTensorFile(tensorFile, lutsFile, quelcore::kLongPathSize) || !isLutsFileName(lutsFile, *this) ||
      !DistortLutsManager::getManager().loadLutsFile(luts, lutsFile)) {
    refuseLutsFile(lutsFile);
    kLog.write(quelcore::kLogError, "failed to load tensor's luts from file %s", lutsFile);
    return false;
  }
  kLog.write(quelcore::kLogInformation, "loaded luts file %s", lutsFile);
  return attachLuts(luts, lutsFile);
}

bool QmReconsTensor::attachLuts(const LutMap& luts, const qmWChar* lutsFile) {
  bool complete = true;
  std::array<const char*, 6> attached;
  auto attachedEnd = attached.begin();
  for (int camera = 0; camera < 3; ++camera) {
    for (int type = 0; type < 2; ++type) {
      const LutType entry = lutType(type);
      const tag_qmDistortLutsInfo& info = entry.infos[camera];
      if (info.useLut == 0) continue;
      // No text is made for the search: what the file delivered has references, and an exception would lose them.
      const auto hasId = [&](const auto& set) { return set.first == info.lutId; };
      const auto found = std::find_if(luts.begin(), luts.end(), hasId);
      if (found == luts.end() || found->second == nullptr) {
        quelcore::goOnReading(lutsFile);
        quelcore::refuse({}, quelcore::ProblemText::printed("LUTs of camera %d", camera), "none of that name",
                         quelcore::ProblemText::printed("\"%s\"", info.lutId));
        kLog.write(quelcore::kLogError, "cannot get luts for id \"%s\" file %s", info.lutId, lutsFile);
        complete = false;
        continue;
      }
      if (found->second->lutVersion < 2) replaceNaNCells(*found->second);
      // The file gave one reference for each identifier; every further user of it takes its own.
      const auto sameId = [&](const char* id) { return std::strcmp(id, info.lutId) == 0; };
      if (std::any_of(attached.begin(), attachedEnd, sameId)) {
        DistortLutsManager::getManager().distortLutsAddRef(found->second);
      }
      *attachedEnd++ = info.lutId;
      dropLuts(entry.params[camera]);
      entry.params[camera].luts = found->second;
    }
  }
  return complete;
}

bool QmReconsTensor::ownLutId(int type, int camera, std::string& id) const {
  char machine[kMachineIdSize];
  std::memcpy(machine, machineId, kMachineIdSize);
  if (machine[0] == '\0') qmEnvMachineID(machine, kMachineIdSize);
  return GetLutsId(machine, blockNumber, type, camera, id);
}

bool QmReconsTensor::storeLuts(const qmWChar* fileName) {
  std::string ownIds[2][3];  // all made before anything changes, so that no entry is left without its name
  DistortLutsManager::LutList list;
  for (int type = 0; type < 2; ++type) {
    for (int camera = 0; camera < 3; ++camera) {
      const tag_qmDistortLutsInfo& info = lutType(type).infos[camera];
      if (info.useLut != 1) continue;
      if (!ownLutId(type, camera, ownIds[type][camera])) return false;
      if (info.lutId[0] != '\0') list.emplace_back(ownIds[type][camera], lutType(type).params[camera].luts);
    }
  }
  if (list.empty()) return true;
  qmWChar lutsFile[quelcore::kLongPathSize] = {};
  if (!getLutsFileByTensorFile(fileName, lutsFile, quelcore::kLongPathSize)) return false;
  if (!isLutsFileName(lutsFile, *this)) {
    kLog.write(quelcore::kLogError, "failed to store tensor's luts to file %s", lutsFile);
    return false;
  }
  if (!DistortLutsManager::storeLutsFile(list, lutsFile, true)) return false;

  // The sets that the tensor has stay with it until others are attached, so that it goes on projecting as before if the
  // file cannot be read back.
  for (int type = 0; type < 2; ++type) {
    for (int camera = 0; camera < 3; ++camera) {
      tag_qmDistortLutsInfo& info = lutType(type).infos[camera];
      if (info.useLut == 1) writeLutId(ownIds[type][camera], info);
    }
  }
  quelcore::beginReading(fileName);
  return loadDistortLuts(fileName);
}

bool QmReconsTensor::updateLutsId(const char* machine, int oldNumber, int newNumber) {
  if (oldNumber == newNumber) return true;
  return quelcore::unlessOutOfMemory(false, [&] { return renameLuts(machine, oldNumber, newNumber); });
}

bool QmReconsTensor::renameLuts(const char* machine, int oldNumber, int newNumber) {
  std::string oldPrefix;
  std::string newPrefix;
  if (!GetLutsIdPrefix(machine, oldNumber, oldPrefix) || !GetLutsIdPrefix(machine, newNumber, newPrefix)) return false;
  for (int camera = 0; camera < 3; ++camera) {
    for (int type = 0; type < 2; ++type) {
      tag_qmDistortLutsInfo& info = lutType(type).infos[camera];
      if (info.useLut == 0) continue;
      const std::string oldId = info.lutId;
      std::string newId = oldId;
      newId.replace(0, oldPrefix.size(), newPrefix);
      newId.resize(std::min(newId.size(), sizeof(info.lutId) - 1));
      if (newId != oldId) kLog.write(quelcore::kLogInformation, "old lutId = %s replaced by lutId = %s", oldId, newId);
      if (!renameSet(oldId, newId, lutType(type).params[camera].luts)) return false;
      writeLutId(newId, info);
      kLog.write(quelcore::kLogInformation, "lutsId = %s replaced by = %s", oldId, newId);
    }
  }
  return true;
}

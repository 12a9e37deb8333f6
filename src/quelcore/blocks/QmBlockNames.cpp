#include "quelcore/blocks/QmBlockNames.h"

#include <cstdio>
#include <cstring>

#include "quelcore/base/copyCut.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/blocks/calibrationOf.h"
#include "quelplatform/qmEnv/qmText.h"

using quelcore::copyCut;

namespace {

constexpr std::size_t kNameBuffer = 256;

/// `machineId` up to its NUL, 8 characters at most. Empty for null.
std::string machineText(const char* machineId) {
  return machineId == nullptr ? std::string() : std::string(machineId, strnlen(machineId, kMachineIdSize));
}

qmWString blockName(const char* machineId, std::int32_t blockNumber, std::int32_t tile) {
  const std::string machine = machineText(machineId);
  char name[kNameBuffer] = {};
  if (blockNumber <= 0) {
    std::snprintf(name, sizeof(name), "%s", "block");
  } else if (machine.empty()) {
    std::snprintf(name, sizeof(name), "%d", blockNumber);
  } else if (tile == 0) {
    std::snprintf(name, sizeof(name), "%s-%d", machine.c_str(), blockNumber);
  } else {
    std::snprintf(name, sizeof(name), "%s-%d_%d", machine.c_str(), blockNumber, tile);
  }
  return toWide(name);
}

qmWString blockFileName(const char* machineId, std::int32_t blockNumber, std::int32_t tile) {
  return blockName(machineId, blockNumber, tile) + u".tns";
}

qmWString lutsFileName(const char* machineId, std::int32_t blockNumber) {
  return blockName(machineId, blockNumber, 0) + u".lut";
}

std::string lutsIdPrefix(const char* machineId, std::int32_t blockNumber) {
  const std::string machine = machineText(machineId);
  char number[16];
  std::snprintf(number, sizeof(number), "%.10d", blockNumber);
  return std::string(kMachineIdSize - machine.size(), '0') + machine + number;
}

std::string lutsId(const char* machineId, std::int32_t blockNumber, std::int32_t lutType, std::int32_t camera) {
  char tail[32];
  std::snprintf(tail, sizeof(tail), "%.1d%.2d", lutType, camera);
  return lutsIdPrefix(machineId, blockNumber) + tail;
}

/// The size protocol of LUT identifiers: for a null buffer the room that the text needs, otherwise its length.
std::int32_t handOut(const std::string& text, char* buffer, std::int32_t size) {
  return copyCut(text, buffer, size) + (buffer == nullptr ? 1 : 0);
}

template <typename Text, typename Make>
bool assign(Text& target, Make make) {
  return quelcore::unlessOutOfMemory(false, [&] {
    target = make();
    return true;
  });
}

bool sameMachine(const char (&a)[kMachineIdSize], const char (&b)[kMachineIdSize]) {
  return std::memcmp(a, b, kMachineIdSize) == 0;
}

bool hasNoIdentity(const tag_qmReconsTensorData& tensor) { return tensor.version <= -1 && tensor.version >= -5; }

bool isEmpty(const tag_qmReconsTensorData* tensor) { return tensor == nullptr || tensor->version == 0; }

}  // namespace

std::int32_t GetBlockName(const char* machineId, std::int32_t blockNumber, std::int32_t tile, qmWChar* buffer,
                          std::int32_t size) {
  return quelcore::unlessOutOfMemory(0, [&] {
    const qmWString name = blockName(machineId, blockNumber, tile);
    const auto count = static_cast<std::int32_t>(name.size());
    if (buffer == nullptr) return count + 1;
    return count >= size ? 0 : copyCut(name, buffer, size);
  });
}

std::int32_t GetBlockFileName(const char* machineId, std::int32_t blockNumber, std::int32_t tile, qmWChar* buffer,
                              std::int32_t size) {
  return quelcore::unlessOutOfMemory(0, [&] {
    const qmWString name = blockFileName(machineId, blockNumber, tile);
    const auto count = static_cast<std::int32_t>(name.size());
    if (buffer == nullptr) return count;
    return count >= size ? 0 : copyCut(name, buffer, size);
  });
}

std::int32_t GetBlockFileName(const qmFtrID& id, std::int32_t tile, qmWChar* buffer, std::int32_t size) {
  return GetBlockFileName(id.machineId, id.blockNumber, tile, buffer, size);
}

std::int32_t GetBlockFileName(const tag_qmCalibrationID& id, qmWChar* buffer, std::int32_t size) {
  return GetBlockFileName(id.machineId, id.blockNumber, 0, buffer, size);
}

std::int32_t GetBlockFileName(const tag_qmImageID& id, qmWChar* buffer, std::int32_t size) {
  return GetBlockFileName(id.machineId, id.blockNumber, 0, buffer, size);
}

bool GetBlockFileName(const char* machineId, std::int32_t blockNumber, std::int32_t tile, qmWString& name) {
  return assign(name, [&] { return blockFileName(machineId, blockNumber, tile); });
}

bool GetBlockFileName(const qmFtrID& id, std::int32_t tile, qmWString& name) {
  return GetBlockFileName(id.machineId, id.blockNumber, tile, name);
}

bool GetBlockFileName(const tag_qmCalibrationID& id, qmWString& name) {
  return GetBlockFileName(id.machineId, id.blockNumber, 0, name);
}

bool GetBlockFileName(const tag_qmImageID& id, qmWString& name) {
  return GetBlockFileName(id.machineId, id.blockNumber, 0, name);
}

std::int32_t GetLutsFileName(const char* machineId, std::int32_t blockNumber, qmWChar* buffer, std::int32_t size) {
  return quelcore::unlessOutOfMemory(0, [&] { return copyCut(lutsFileName(machineId, blockNumber), buffer, size); });
}

bool GetLutsFileName(const char* machineId, std::int32_t blockNumber, qmWString& name) {
  return assign(name, [&] { return lutsFileName(machineId, blockNumber); });
}

std::int32_t GetLutsId(const char* machineId, std::int32_t blockNumber, std::int32_t lutType, std::int32_t camera,
                       char* buffer, std::int32_t size) {
  return quelcore::unlessOutOfMemory(
      0, [&] { return handOut(lutsId(machineId, blockNumber, lutType, camera), buffer, size); });
}

std::int32_t GetLutsId(const tag_qmCalibrationID& id, std::int32_t lutType, std::int32_t camera, char* buffer,
                       std::int32_t size) {
  return GetLutsId(id.machineId, id.blockNumber, lutType, camera, buffer, size);
}

bool GetLutsId(const char* machineId, std::int32_t blockNumber, std::int32_t lutType, std::int32_t camera,
               std::string& id) {
  return assign(id, [&] { return lutsId(machineId, blockNumber, lutType, camera); });
}

bool GetLutsId(const tag_qmCalibrationID& calibration, std::int32_t lutType, std::int32_t camera, std::string& id) {
  return GetLutsId(calibration.machineId, calibration.blockNumber, lutType, camera, id);
}

std::int32_t GetLutsIdPrefix(const char* machineId, std::int32_t blockNumber, char* buffer, std::int32_t size) {
  return quelcore::unlessOutOfMemory(0, [&] { return handOut(lutsIdPrefix(machineId, blockNumber), buffer, size); });
}

std::int32_t GetLutsIdPrefix(const tag_qmCalibrationID& id, char* buffer, std::int32_t size) {
  return GetLutsIdPrefix(id.machineId, id.blockNumber, buffer, size);
}

bool GetLutsIdPrefix(const char* machineId, std::int32_t blockNumber, std::string& prefix) {
  return assign(prefix, [&] { return lutsIdPrefix(machineId, blockNumber); });
}

bool IsBlockCompatibleToImage(const tag_qmImageID& image, const tag_qmCalibrationID& calibration) {
  if (image.blockNumber != calibration.blockNumber) return false;
  if (image.calibrationTimeStamp != 0 && image.calibrationTimeStamp != calibration.calibrationTimeStamp) return false;
  return sameMachine(image.machineId, calibration.machineId);
}

bool IsBlockCompatibleToImage(const tag_qmImageID& image, const tag_qmReconsTensorData* tensor) {
  if (isEmpty(tensor)) return false;
  if (hasNoIdentity(*tensor)) return true;
  return IsBlockCompatibleToImage(image, quelcore::calibrationOf(*tensor));
}

bool IsBlockTileCompatibleToImage(const tag_qmImageID& image, const tag_qmReconsTensorData* tensor) {
  if (isEmpty(tensor)) return false;
  if (hasNoIdentity(*tensor)) return true;
  return image.blockNumber == tensor->blockNumber && sameMachine(image.machineId, tensor->machineId);
}

#include "quel/store/BlockNames.h"

#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmEnv/qmText.h"

namespace quel {

namespace {

constexpr std::size_t kLongestMachine = 8;

std::string nameOfBlock(const char* machine, std::int32_t number, std::int32_t tile) {
  std::u16string name(static_cast<std::size_t>(GetBlockName(machine, number, tile, nullptr, 0)), u'\0');
  name.resize(static_cast<std::size_t>(
      GetBlockName(machine, number, tile, name.data(), static_cast<std::int32_t>(name.size()))));
  return toNarrow(name);
}

}  // namespace

Result<BlockNames> blockNames(std::string_view machineId, std::int32_t number, std::int32_t tile) {
  if (machineId.empty() || machineId.size() > kLongestMachine || machineId.find('\0') != machineId.npos) {
    return Error{"the identifier of a machine has 1 to 8 characters"};
  }
  char machine[kLongestMachine + 1] = {};
  machineId.copy(machine, kLongestMachine);
  qmWString file, luts;
  GetBlockFileName(machine, number, tile, file);
  GetLutsFileName(machine, number, luts);
  BlockNames names{nameOfBlock(machine, number, tile), toNarrow(file), toNarrow(luts), {}};
  GetLutsIdPrefix(machine, number, names.lutPrefix);
  return names;
}

}  // namespace quel

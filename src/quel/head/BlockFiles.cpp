#include "quel/head/BlockFiles.h"

#include <algorithm>

#include "quel/base/Paths.h"
#include "quel/base/Readings.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"

namespace quel {

namespace fs = std::filesystem;

BlockFiles filesOfBlock(const fs::path& folder, const std::string& machineId, std::int32_t number) {
  char machine[8] = {};
  machineId.copy(machine, sizeof machine);
  qmWString tensor, luts;
  GetBlockFileName(machine, number, 0, tensor);
  GetLutsFileName(machine, number, luts);
  return {folder / toNarrow(tensor), folder / toNarrow(luts)};
}

bool usesLuts(const tag_qmReconsTensorData& head) {
  const auto used = [](const tag_qmDistortLutsInfo& info) { return info.useLut != 0; };
  return std::any_of(head.distortLutsInfo, head.distortLutsInfo + 3, used) ||
         std::any_of(head.distortLutsInfo2, head.distortLutsInfo2 + 3, used);
}

fs::path lutsBeside(const fs::path& file, const tag_qmReconsTensorData& head) {
  qmWString name;
  GetLutsFileName(head.machineId, head.blockNumber, name);
  return fs::path(file).replace_filename(toNarrow(name));
}

Result<void> replaceBlock(const BlockFiles& from, const BlockFiles& to) {
  const std::u16string paths[] = {widePath(from.tensor), widePath(from.luts), widePath(to.tensor), widePath(to.luts)};
  const bool hasLuts = !from.luts.empty();
  const Reasons reasons;
  if (quelplatform::replaceCalibration({paths[0].c_str(), hasLuts ? paths[1].c_str() : nullptr},
                                       {paths[2].c_str(), hasLuts ? paths[3].c_str() : nullptr})) {
    return {};
  }
  return Error{"the block cannot be stored" + reasons.text(), to.tensor.string()};
}

}  // namespace quel

#include "models/Block.h"

#include <algorithm>
#include <cstring>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/TemporaryFolder.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
#include "quelplatform/qmDistort/calibrationPairEmbedded.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

void refuseToOverwrite(const fs::path& file) {
  if (!fs::exists(file)) return;
  throw Failure(file.string() +
                ": this block is there already and stays; give another --number or --out, or --force to replace it");
}

bool hasLuts(const quel::MadeHead& head) {
  return std::any_of(head.luts.begin(), head.luts.end(), [](const auto& luts) { return luts != nullptr; });
}

// Heads of the QuelHead 200 family keep their LUT file when a tensor is stored; a new block needs its first one.
bool storeFirstLuts(const quel::MadeHead& head, const fs::path& file) {
  DistortLutsManager::LutList luts;
  for (std::size_t i = 0; i < 3; ++i) {
    if (head.luts[i]) luts.emplace_back(head.tensor.distortLutsInfo[i].lutId, head.luts[i].get());
  }
  return luts.empty() || DistortLutsManager::storeLutsFile(luts, widePath(file).c_str(), true);
}

void store(const quel::MadeHead& head, const fs::path& file, const fs::path& lutsFile) {
  const tag_qmReconsTensorData& tensor = head.tensor;
  const Reasons reasons;
  QmReconsTensor block(tensor);
  const bool stored = (!isQuelHead200(static_cast<OH_CAMERA_TYPE>(tensor.ohType)) || storeFirstLuts(head, lutsFile)) &&
                      block.StoreToFile(widePath(file).c_str());
  if (!stored) throw Failure(file.string() + ": the block cannot be stored" + reasons.text());
}

void refuseForeignLuts(const fs::path& file, const fs::path& lutsFile) {
  const Reasons reasons;
  auto stamp = quelplatform::LutStamp::kNone;
  if (!quelplatform::compareLutStamp(widePath(lutsFile).c_str(), widePath(file).c_str(), stamp)) {
    throw Failure(lutsFile.string() + ": cannot be compared with " + file.string() + reasons.text());
  }
  if (stamp != quelplatform::LutStamp::kForeign) return;
  throw Failure(lutsFile.string() + ": was stored with another tensor file than " + file.string() +
                "; make the block again, or take both files from one copy");
}

}  // namespace

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

void replaceBlock(const fs::path& from, const fs::path& fromLuts, const fs::path& to, const fs::path& toLuts) {
  const std::u16string paths[] = {widePath(from), widePath(fromLuts), widePath(to), widePath(toLuts)};
  const bool hasLuts = !fromLuts.empty();
  const Reasons reasons;
  const Undisturbed storing;
  if (quelplatform::replaceCalibration({paths[0].c_str(), hasLuts ? paths[1].c_str() : nullptr},
                                       {paths[2].c_str(), hasLuts ? paths[3].c_str() : nullptr})) {
    return;
  }
  throw Failure(to.string() + ": the block cannot be stored" + reasons.text());
}

BlockPaths pathsOfBlock(const fs::path& folder, const std::string& machineId, std::int32_t number) {
  char machine[8] = {};
  machineId.copy(machine, sizeof machine);
  qmWString tensor, luts;
  GetBlockFileName(machine, number, 0, tensor);
  GetLutsFileName(machine, number, luts);
  return {folder / toNarrow(tensor), folder / toNarrow(luts)};
}

fs::path storeBlock(const quel::MadeHead& head, const fs::path& folder, bool overwrite) {
  const tag_qmReconsTensorData& tensor = head.tensor;
  const auto [file, lutsFile] =
      pathsOfBlock(folder, {tensor.machineId, strnlen(tensor.machineId, sizeof tensor.machineId)}, tensor.blockNumber);
  makeFolder(folder);
  if (!overwrite) {
    refuseToOverwrite(file);
    if (hasLuts(head)) refuseToOverwrite(lutsFile);
  }
  const TemporaryFolder temporary;
  const fs::path madeFile = temporary.path() / file.filename();
  const fs::path madeLuts = temporary.path() / lutsFile.filename();
  store(head, madeFile, madeLuts);
  replaceBlock(madeFile, hasLuts(head) ? madeLuts : fs::path(), file, lutsFile);
  return file;
}

std::unique_ptr<QmReconsTensor> loadBlock(const fs::path& file) {
  if (fs::exists(file) && !fs::is_regular_file(file)) {
    throw Failure(file.string() + ": is no regular file; give the tensor file of a block, such as QUEL0001-1.tns");
  }
  const Reasons reasons;
  auto block = std::make_unique<QmReconsTensor>();
  if (!block->LoadFromFile(widePath(file).c_str())) {
    throw Failure(std::string(unreadable(file).what()) + reasons.text());
  }
  if (usesLuts(*block)) refuseForeignLuts(file, lutsBeside(file, *block));
  return block;
}

}  // namespace queltool

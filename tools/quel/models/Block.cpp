#include "models/Block.h"

#include "files/Failure.h"
#include "files/Files.h"
#include "models/Problems.h"
#include "models/Reasons.h"
#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmDistort/DistortLutsManager.h"
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

// Heads of the QuelHead 200 family keep their LUT file when a tensor is stored; a new block needs its first one.
bool storeFirstLuts(const headmaker::Head& head, const fs::path& file) {
  DistortLutsManager::LutList luts;
  for (std::size_t i = 0; i < 3; ++i) {
    if (head.luts[i]) luts.emplace_back(head.tensor.distortLutsInfo[i].lutId, head.luts[i].get());
  }
  return luts.empty() || DistortLutsManager::storeLutsFile(luts, widePath(file).c_str(), true);
}

}  // namespace

fs::path storeBlock(const headmaker::Head& head, const fs::path& folder, bool overwrite) {
  const tag_qmReconsTensorData& tensor = head.tensor;
  qmWString tensorName;
  qmWString lutsName;
  GetBlockFileName(tensor.machineId, tensor.blockNumber, 0, tensorName);
  GetLutsFileName(tensor.machineId, tensor.blockNumber, lutsName);
  const fs::path file = folder / toNarrow(tensorName);
  const fs::path lutsFile = folder / toNarrow(lutsName);
  makeFolder(folder);
  if (!overwrite) {
    refuseToOverwrite(file);
    if (head.luts[0]) refuseToOverwrite(lutsFile);
  }
  const Reasons reasons;
  QmReconsTensor block(tensor);
  const bool stored = (!isQuelHead200(static_cast<OH_CAMERA_TYPE>(tensor.ohType)) || storeFirstLuts(head, lutsFile)) &&
                      block.StoreToFile(widePath(file).c_str());
  if (!stored) throw Failure(file.string() + ": the block cannot be stored" + reasons.text());
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
  return block;
}

}  // namespace queltool

#include "quel/store/SetupNumbers.h"

#include "quel/base/Readings.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"

namespace quel {

Result<std::filesystem::path> setupMapFile() {
  qmWChar path[260] = {};
  if (QmWorkPlace::getSetupMapFilePath(path, 260) == 0) {
    return Error{"there is no home directory for SetupMap.txt, or its path is too long; set QUEL_HOME"};
  }
  return std::filesystem::path(toNarrow(path));
}

Result<std::vector<NumberedSetup>> setupNumbers() {
  const auto file = setupMapFile();
  if (!file) return file.error();
  const Reasons reasons;
  QmSetupNumbersManager map;
  std::error_code none;
  if (map.Initialize() != 0 && std::filesystem::exists(*file, none)) return unreadable(*file, reasons);
  std::vector<NumberedSetup> setups;
  for (std::int32_t index = 0; index < map.GetItemCount(); ++index) {
    QmSetupNumCyclePath* item = nullptr;
    map.GetItemByIndex(index, item);
    setups.push_back({item->GetSetupNumber(), item->GetCycleNumber(), toNarrow(item->GetPath())});
  }
  return setups;
}

}  // namespace quel

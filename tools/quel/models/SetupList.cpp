#include "models/SetupList.h"

#include <fmt/core.h>

#include <algorithm>

#include "files/Failure.h"
#include "files/WriteTurn.h"
#include "models/Problems.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestPath = 259;

qmWString wideMapFile() {
  qmWChar path[260] = {};
  if (QmWorkPlace::getSetupMapFilePath(path, 260) == 0) {
    throw Failure("there is no home directory for SetupMap.txt, or its path is too long; set QUEL_HOME");
  }
  return path;
}

qmWString wide(const std::string& text) { return toWide(text.c_str()); }

Failure mapFailure(const std::string& what) { return Failure(setupMapFile().string() + ": " + what); }

/// The map as the file has it now.
QmSetupNumbersManager readMap() {
  QmSetupNumbersManager map;
  const qmWString file = wideMapFile();
  if (map.Initialize() != 0 && (QmFileExist(file.c_str()) || QmDirectoryExist(file.c_str()))) {
    throw unreadable(setupMapFile());
  }
  return map;
}

std::vector<ListedSetup> setupsOf(QmSetupNumbersManager& map) {
  std::vector<ListedSetup> setups;
  for (std::int32_t index = 0; index < map.GetItemCount(); ++index) {
    QmSetupNumCyclePath* item = nullptr;
    map.GetItemByIndex(index, item);
    setups.push_back({item->GetSetupNumber(), item->GetCycleNumber(), toNarrow(item->GetPath())});
  }
  return setups;
}

/// What a saved map holds: items without a number are not saved.
std::vector<ListedSetup> savedOf(std::vector<ListedSetup> setups) {
  setups.erase(std::remove_if(setups.begin(), setups.end(), [](const ListedSetup& each) { return each.number == -1; }),
               setups.end());
  return setups;
}

bool fitsColumn(std::int32_t number) { return std::to_string(number).size() < 10; }

/// Saving writes every line anew, so each must be one that is read back.
void checkLines(const std::vector<ListedSetup>& setups) {
  for (const ListedSetup& each : savedOf(setups)) {
    if (!fitsColumn(each.number) || !fitsColumn(each.cycle)) {
      throw mapFailure(
          fmt::format("the numbers {} and {} of {} have ten digits, so they would not be read back; correct the file",
                      each.number, each.cycle, each.path));
    }
    if (each.path.empty()) throw mapFailure(fmt::format("setup {} has no path; correct the file", each.number));
  }
}

/// The map, for a change. What was read otherwise than it stands there would be saved as it was read.
QmSetupNumbersManager mapToChange() {
  QmSetupNumbersManager map = readMap();
  const std::vector<std::string> remarks = lastRemarks();
  checkLines(setupsOf(map));
  if (!remarks.empty()) throw Failure(remarks.front() + "; correct the file");
  return map;
}

/// Saves and reads back, after which the map has nothing left to save at its end.
void save(QmSetupNumbersManager& map) {
  const std::vector<ListedSetup> wanted = savedOf(setupsOf(map));
  const bool saved = map.SaveSetupList() == 0;
  const bool read = map.Initialize() == 0;
  if (!saved) throw mapFailure("cannot be written");
  if (!read || setupsOf(map) != wanted) throw mapFailure("was changed by another program meanwhile; look at it");
}

/// The first item of that number. Items whose number is -1 have none: they are not saved.
std::int32_t indexOf(const QmSetupNumbersManager& map, std::int32_t number) {
  std::int32_t index = -1;
  if (number == -1 || map.FindItemBySetupNumber(number, index) != 0) {
    throw mapFailure(fmt::format("there is no setup {}", number));
  }
  return index;
}

std::string reasonOf(std::int32_t status, const ListedSetup& setup) {
  switch (status) {
    case SETUPNUM_E_NUMBER_USED:
      return fmt::format("there is a setup {} already", setup.number);
    case SETUPNUM_E_PATH_USED:
      return fmt::format("{} has a number already", setup.path);
    case SETUPNUM_E_RESERVED:
      return fmt::format("{} is a reserved number", setup.number);
    default:
      return fmt::format("the change failed (code {:#x})", static_cast<std::uint32_t>(status));
  }
}

}  // namespace

fs::path setupMapFile() { return toNarrow(wideMapFile()); }

std::vector<ListedSetup> listSetups() {
  QmSetupNumbersManager map = readMap();
  return setupsOf(map);
}

void addSetup(const ListedSetup& setup) {
  const WriteTurn writing(setupMapFile());
  QmSetupNumbersManager map = mapToChange();
  const std::int32_t status = map.AddItem(setup.number, wide(setup.path).c_str(), setup.cycle);
  if (status != 0) throw mapFailure(reasonOf(status, setup));
  save(map);
}

void updateSetup(std::int32_t number, const SetupChange& change) {
  const WriteTurn writing(setupMapFile());
  QmSetupNumbersManager map = mapToChange();
  const std::int32_t index = indexOf(map, number);
  const qmWString path = wide(change.path.value_or(""));
  const std::int32_t status =
      map.UpdateItem(index, change.number ? &*change.number : nullptr, change.cycle ? &*change.cycle : nullptr,
                     change.path ? path.c_str() : nullptr);
  const ListedSetup wanted{change.number.value_or(number), -1, change.path.value_or("")};
  if (status != 0) throw mapFailure(reasonOf(status, wanted));
  save(map);
}

void removeSetup(std::int32_t number) {
  const WriteTurn writing(setupMapFile());
  QmSetupNumbersManager map = mapToChange();
  indexOf(map, number);
  // Not RemoveItem, which no save knows of.
  while (map.CleanSetupNumber(number) == 0) {
  }
  save(map);
}

std::string whyNoSetupPath(const std::string& path) {
  const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= 0x20; };
  if (std::any_of(path.begin(), path.end(), isBlank)) {
    return "must not hold blanks or control characters, for the map would be read back without what follows them";
  }
  const qmWString text = wide(path);
  if (toNarrow(text) != path) return "must be UTF-8";
  if (text.size() > kLongestPath) return fmt::format("must not be longer than {} characters", kLongestPath);
  QmSetupInfo setup;
  if (!QmSetupNumCyclePath(-1, -1, text.c_str()).FillSetupInfo(setup)) {
    return "must have at least four levels: root, project, part and setup";
  }
  if (!setup.IsProjectChosen() || !setup.IsPartChosen() || !setup.IsSetupChosen()) return "must not have empty names";
  return {};
}

}  // namespace queltool

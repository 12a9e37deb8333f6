// All automatically made setups under a root directory.
#include <memory>
#include <utility>

#include "quelcore/base/DirectorySearch.h"
#include "quelcore/base/outOfMemory.h"
#include "quelcore/base/paths.h"
#include "quelcore/base/presence.h"
#include "quelcore/project/QmSetupNumbersManager.h"
#include "quelcore/project/subdirectories.h"

using quelcore::joinedHere;

namespace {

using OwnedSetups = std::vector<std::unique_ptr<QmSetupInfo>>;

// Required: a name that ends in a dot is passed over.
std::vector<qmWString> namesIn(const qmWString& directory) {
  std::vector<qmWString> names;
  for (auto& [name, isLink] : quelcore::subdirectories(quelcore::joined(directory, u"*"))) {
    if (!name.ends_with(u'.')) names.push_back(std::move(name));
  }
  return names;
}

/// Gives the time when the marker in a setup's directory was written last. False when there is no marker.
bool markerTime(const qmWString& directory, FILETIME& time) {
  const qmWString name = QmWorkPlace::getAutoSetupFileTail();
  const qmWString marker = quelcore::joined(directory, name);
  if (quelcore::presenceOrThrow(marker.c_str()) != quelcore::Presence::Present) return false;
  for (quelcore::DirectorySearch search(marker); search.found(); search.goOn()) {
    time = search.entry().ftLastWriteTime;
    if (name == search.entry().cFileName) return true;  // The search takes names in other letters for the same.
  }
  return false;
}

void addSetups(const qmWString& root, const qmWString& project, const qmWString& part, OwnedSetups& found) {
  const qmWString directory = joinedHere(joinedHere(root, project), part);
  for (const qmWString& name : namesIn(directory)) {
    FILETIME time;
    if (!markerTime(joinedHere(directory, name), time)) continue;
    auto setup = std::make_unique<QmSetupInfo>();
    setup->SetRoot(root);
    setup->SetProject(project);
    setup->SetPart(part);
    setup->SetSetup(name);
    setup->SetLastModified(time);
    found.push_back(std::move(setup));
  }
}

OwnedSetups setupsUnder(const qmWString& root, const std::vector<qmWString>& projects) {
  OwnedSetups found;
  for (const qmWString& project : projects) {
    for (const qmWString& part : namesIn(joinedHere(root, project))) addSetups(root, project, part, found);
  }
  return found;
}

}  // namespace

// Required: the list keeps the order in which the setups were found.
bool GetInitialSetupList(const qmWString& root, std::vector<QmSetupInfo*>& list) {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (root.empty()) return false;
    const std::vector<qmWString> projects = namesIn(root);
    if (projects.empty()) return false;
    OwnedSetups found = setupsUnder(root, projects);
    std::vector<QmSetupInfo*> setups;
    setups.reserve(found.size());
    for (auto& setup : found) setups.push_back(setup.release());
    RemoveSetupData(list);
    list.swap(setups);
    return true;
  });
}

void RemoveSetupData(std::vector<QmSetupInfo*>& list) {
  for (const QmSetupInfo* setup : list) delete setup;
  list.clear();
}

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

/// Whether something is not known for a reason that may pass, which no list may keep silent about. What one may not
/// look at counts as not there, and so does what no path leads to: a link to itself, or a name that is too long.
bool isPassing(std::uint32_t error) {
  constexpr std::uint32_t kNameTooLong = 206, kTooManyLinks = 1921;
  return error != quelcore::kErrorAccessDenied && error != kNameTooLong && error != kTooManyLinks;
}

/// The walk through the levels of a root.
class SetupWalk {
 public:
  explicit SetupWalk(const qmWString& root) : root_(root) {}

  /// False where a part of what there is could not be seen.
  bool isComplete() const { return complete_; }

  // Required: a name that ends in a dot is passed over.
  std::vector<qmWString> namesIn(const qmWString& directory) {
    std::vector<qmWString> names;
    std::uint32_t error = 0;
    for (auto& [name, isLink] : quelcore::subdirectories(quelcore::joined(directory, u"*"), &error)) {
      if (!name.ends_with(u'.')) names.push_back(std::move(name));
    }
    if (error != 0 && isPassing(error)) complete_ = false;
    return names;
  }

  OwnedSetups setupsOf(const std::vector<qmWString>& projects) {
    OwnedSetups found;
    for (const qmWString& project : projects) {
      for (const qmWString& part : namesIn(joinedHere(root_, project))) addSetups(project, part, found);
    }
    return found;
  }

 private:
  /// Gives the time when the marker in a setup's directory was written last. False when there is no marker.
  bool markerTime(const qmWString& directory, FILETIME& time) {
    const qmWString name = QmWorkPlace::getAutoSetupFileTail();
    const qmWString marker = quelcore::joined(directory, name);
    const quelcore::Presence presence = quelcore::presenceOf(marker.c_str());
    if (presence == quelcore::Presence::Unknown && isPassing(GetLastError())) complete_ = false;
    if (presence != quelcore::Presence::Present) return false;
    quelcore::DirectorySearch search(marker);
    for (; search.found(); search.goOn()) {
      time = search.entry().ftLastWriteTime;
      if (name == search.entry().cFileName) return true;  // The search takes names in other letters for the same.
    }
    if (!search.isComplete() && isPassing(search.error())) complete_ = false;
    return false;
  }

  void addSetups(const qmWString& project, const qmWString& part, OwnedSetups& found) {
    const qmWString directory = joinedHere(joinedHere(root_, project), part);
    for (const qmWString& name : namesIn(directory)) {
      FILETIME time;
      if (!markerTime(joinedHere(directory, name), time)) continue;
      auto setup = std::make_unique<QmSetupInfo>();
      setup->SetRoot(root_);
      setup->SetProject(project);
      setup->SetPart(part);
      setup->SetSetup(name);
      setup->SetLastModified(time);
      found.push_back(std::move(setup));
    }
  }

  const qmWString& root_;
  bool complete_ = true;
};

}  // namespace

// Required: the list keeps the order in which the setups were found.
bool GetInitialSetupList(const qmWString& root, std::vector<QmSetupInfo*>& list) {
  return quelcore::unlessOutOfMemory(false, [&] {
    if (root.empty()) return false;
    SetupWalk walk(root);
    const std::vector<qmWString> projects = walk.namesIn(root);
    if (projects.empty()) return false;
    OwnedSetups found = walk.setupsOf(projects);
    if (!walk.isComplete()) return false;
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

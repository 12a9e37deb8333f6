#include "quel/store/ProjectTree.h"

#include <unordered_map>
#include <utility>

#include "quel/base/Paths.h"
#include "quel/store/SetupNumbers.h"
#include "quelcore/project/QmSetupInfo.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmFile.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/fileSearch.h"

namespace quel {

namespace {

constexpr std::int64_t kTicksPerSecond = 10'000'000;
constexpr std::int64_t kSecondsFrom1601To1970 = 11'644'473'600;

qmWString below(const qmWString& directory, const qmWString& name) {
  return directory + QmWorkPlace::path_separator + name;
}

std::int64_t secondsOf(const FILETIME& time) {
  const std::uint64_t ticks = (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
  return static_cast<std::int64_t>(ticks) / kTicksPerSecond - kSecondsFrom1601To1970;
}

bool isPart(const qmWString& directory) {
  return QmFileExist(below(directory, QmWorkPlace::getPartFileTail(false)).c_str()) ||
         QmFileExist(below(directory, QmWorkPlace::getPartInfoFileTail()).c_str());
}

class Reader {
 public:
  Reader(qmWString root, SetupKind kind, const std::vector<NumberedSetup>& numbers)
      : root_(std::move(root)), kind_(kind) {
    for (const NumberedSetup& setup : numbers) numbers_.emplace(setup.path, setup);
  }

  ProjectTree read() {
    for (const qmWString& name : directoriesIn(root_)) {
      const qmWString directory = below(root_, name);
      if (isOutside(directory)) continue;
      tree_.projects.push_back({toNarrow(name), partsOf(name)});
    }
    return std::move(tree_);
  }

 private:
  std::vector<qmWString> directoriesIn(const qmWString& directory) {
    std::vector<qmWString> names;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(below(directory, u"*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE) {
      tree_.unreadable.push_back(toNarrow(directory));
      return names;
    }
    do {
      const qmWString name = entry.cFileName;
      const bool isDirectory = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
      if (isDirectory && name != u"." && name != u"..") names.push_back(name);
    } while (FindNextFileW(search, &entry) != 0);
    FindClose(search);
    return names;
  }

  /// Reads the marker of one kind; false when it is not there.
  bool readMarker(const qmWString& directory, SetupKind kind, StoredSetup& setup) const {
    if ((static_cast<int>(kind_) & static_cast<int>(kind)) == 0) return false;
    setup.automatic = kind == SetupKind::Automatic;
    const qmWString marker =
        below(directory, setup.automatic ? QmWorkPlace::getAutoSetupFileTail() : QmWorkPlace::getSetupFileTail());
    if (!QmFileExist(marker.c_str())) return false;
    WIN32_FIND_DATAW entry{};
    const HANDLE search = FindFirstFileW(marker.c_str(), &entry);
    if (search != INVALID_HANDLE_VALUE) FindClose(search);
    setup.modified = secondsOf(entry.ftLastWriteTime);
    return true;
  }

  bool isSetup(const qmWString& directory, StoredSetup& setup) const {
    return readMarker(directory, SetupKind::Manual, setup) || readMarker(directory, SetupKind::Automatic, setup);
  }

  /// True for a setup that does not lie in a part, which is noted.
  bool isOutside(const qmWString& directory) {
    StoredSetup setup{};
    if (!isSetup(directory, setup)) return false;
    tree_.outsideParts.push_back(toNarrow(directory));
    return true;
  }

  std::vector<StoredPart> partsOf(const qmWString& project) {
    std::vector<StoredPart> parts;
    for (const qmWString& name : directoriesIn(below(root_, project))) {
      const qmWString directory = below(below(root_, project), name);
      if (isOutside(directory) || !isPart(directory)) continue;
      parts.push_back({toNarrow(name), setupsOf(project, name)});
    }
    return parts;
  }

  std::vector<StoredSetup> setupsOf(const qmWString& project, const qmWString& part) {
    std::vector<StoredSetup> setups;
    for (const qmWString& name : directoriesIn(below(below(root_, project), part))) {
      const qmWString directory = below(below(below(root_, project), part), name);
      StoredSetup setup{};
      if (!isSetup(directory, setup)) continue;
      setup.name = toNarrow(name);
      setup.path = toNarrow(directory);
      const auto known = numbers_.find(setup.path);
      setup.number = known == numbers_.end() ? -1 : known->second.number;
      setup.cycle = known == numbers_.end() ? -1 : known->second.cycle;
      setups.push_back(std::move(setup));
    }
    return setups;
  }

  qmWString root_;
  SetupKind kind_;
  std::unordered_map<std::string, NumberedSetup> numbers_;
  ProjectTree tree_;
};

}  // namespace

Result<ProjectTree> readProjectTree(const std::filesystem::path& root, SetupKind kind) {
  qmWString directory = widePath(root);
  if (!QmDirectoryExist(directory.c_str())) return Error{"is no directory", root.string()};
  while (directory.size() > 1 && directory.ends_with(QmWorkPlace::path_separator)) directory.pop_back();
  const auto numbers = setupNumbers();
  if (!numbers) return numbers.error();
  return Reader(directory, kind, *numbers).read();
}

}  // namespace quel

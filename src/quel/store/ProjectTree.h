// A root directory with everything that it stores: projects, their parts, and the setups of these.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// Which setups are looked for, by their markers.
enum class SetupKind { Manual = 1, Automatic = 2, Any = 3 };

struct StoredSetup {
  std::string name;
  std::string path;
  bool automatic = false;     ///< It has the marker of automatically made setups alone.
  std::int64_t modified = 0;  ///< When its marker was written last, in seconds since 1970.
  std::int32_t number = -1;   ///< In the map of setups; -1: none.
  std::int32_t cycle = -1;
};

struct StoredPart {
  std::string name;
  std::vector<StoredSetup> setups;
};

struct StoredProject {
  std::string name;
  std::vector<StoredPart> parts;
};

struct ProjectTree {
  std::vector<StoredProject> projects;    ///< Directories of the root that are no setups.
  std::vector<std::string> outsideParts;  ///< Paths of setups that lie in the root or in a project.
  std::vector<std::string> unreadable;    ///< Paths of directories that cannot be listed.
};

/// Reads the tree below `root` in the order of its directories. Fails when `root` is no directory, and when the map of
/// setups cannot be read.
Result<ProjectTree> readProjectTree(const std::filesystem::path& root, SetupKind kind = SetupKind::Any);

#pragma GCC visibility pop

}  // namespace quel

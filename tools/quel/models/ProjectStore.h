// A root directory with everything that it stores: projects, parts and setups.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace queltool {

enum class SetupKind { Manual = 1, Automatic = 2, Any = 3 };

struct StoredSetup {
  std::string name;
  std::string path;
  bool automatic;            ///< It has the marker of automatically made setups alone.
  std::int64_t modified;     ///< When its marker was written last, in seconds since 1970.
  std::int32_t number = -1;  ///< In the setup map; -1: none.
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

struct ProjectStore {
  std::vector<StoredProject> projects;    ///< Directories of the root that are no setups.
  std::vector<std::string> outsideParts;  ///< Paths of setups that lie in the root or in a project.
  std::vector<std::string> unreadable;    ///< Paths of directories that cannot be listed.
};

/// Reads the store in the order of its directories. Throws `Failure` when `root` is no directory.
ProjectStore readProjectStore(const std::filesystem::path& root, SetupKind kind);

}  // namespace queltool

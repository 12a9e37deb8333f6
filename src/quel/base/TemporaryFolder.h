// A folder of its own for files in the making. Hidden in the library.
#pragma once

#include <filesystem>

#include "quel/base/Result.h"

namespace quel {

/// A new folder under the system's temporary one, which nobody else may enter; removed at the end of its life with what
/// is in it.
class TemporaryFolder {
 public:
  TemporaryFolder() = default;
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// Makes the folder; to be called once.
  Result<void> make();

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace quel

// A folder of its own for files in the making.
#pragma once

#include <filesystem>

namespace queltool {

/// A new folder under the system's temporary one, which nobody else may enter; removed at the end of its life with what
/// is in it.
class TemporaryFolder {
 public:
  /// Throws `Failure`.
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace queltool

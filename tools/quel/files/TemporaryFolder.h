// A folder of its own for files in the making.
#pragma once

#include <filesystem>

#include "files/Temporaries.h"

namespace queltool {

/// A new folder under the system's temporary one, which nobody else may enter; removed at the end of its life with what
/// is in it.
class TemporaryFolder {
 public:
  /// Throws `Failure`.
  TemporaryFolder();

  const std::filesystem::path& path() const { return folder_.path(); }

 private:
  Temporary folder_;
};

}  // namespace queltool

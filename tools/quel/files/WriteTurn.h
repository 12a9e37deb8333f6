// A turn at a file that is read, changed and written.
#pragma once

#include <filesystem>
#include <optional>

#include "files/Temporaries.h"
#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"

namespace queltool {

/// While it lives no other process that takes its turn changes what lies in the file's directory. Throws Failure where
/// others do not finish, or the directory cannot be written in. What is there and no regular file, such as a terminal,
/// takes none. A signal that would end the tool waits until the
/// turn is over.
class WriteTurn {
 public:
  explicit WriteTurn(const std::filesystem::path& file);

 private:
  std::optional<quelplatform::FileTurn> turn_;
  std::optional<Undisturbed> undisturbed_;
};

}  // namespace queltool

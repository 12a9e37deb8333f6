// A turn at a file that is read, changed and written.
#pragma once

#include <filesystem>
#include <optional>

#include "files/Temporaries.h"
#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"

namespace queltool {

/// While it lives no other process that takes its turn changes what lies in the file's directory. Throws Failure where
/// others do not finish, or the directory cannot be written in. What is there and no regular file, such as a terminal,
/// takes none. A signal that would end the tool waits until the turn is over, but not for the turn.
class WriteTurn {
 public:
  explicit WriteTurn(const std::filesystem::path& file);

 private:
  bool tryOnce(const qmWChar* path);

  std::optional<Undisturbed> undisturbed_;  // Ends last: no signal may come before the files of the turn are gone.
  std::optional<quelplatform::FileTurn> turn_;
};

}  // namespace queltool

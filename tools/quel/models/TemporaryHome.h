// A home directory of its own, for what the library reads or writes in the home directory alone.
#pragma once

#include <filesystem>

#include "files/TemporaryFolder.h"

namespace queltool {

/// While it lives the home directory is an empty one, which goes with it.
class TemporaryHome {
 public:
  TemporaryHome();
  ~TemporaryHome();
  TemporaryHome(const TemporaryHome&) = delete;
  TemporaryHome& operator=(const TemporaryHome&) = delete;

  const std::filesystem::path& path() const { return folder_.path(); }

 private:
  TemporaryFolder folder_;
};

}  // namespace queltool

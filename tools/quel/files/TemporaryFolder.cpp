#include "files/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include "files/Failure.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

fs::path makeNewFolder() {
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  std::string name = (parent / "quel-XXXXXX").string();
  if (!error && mkdtemp(name.data()) == nullptr) error.assign(errno, std::generic_category());
  if (error) throw Failure("no temporary folder can be made: " + error.message());
  return name;
}

}  // namespace

TemporaryFolder::TemporaryFolder() : folder_(makeNewFolder) {}

}  // namespace queltool

#include "files/TemporaryFolder.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <string>
#include <system_error>

#include "files/Failure.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kChosenLetters = 6;  // that mkdtemp puts in their place

fs::path makeNewFolder() {
  std::error_code error;
  const fs::path parent = fs::temp_directory_path(error);
  std::string name = (parent / "quel-").string() + std::string(kChosenLetters, 'X');
  if (!error && mkdtemp(name.data()) == nullptr) error.assign(errno, std::generic_category());
  if (error) throw Failure("no temporary folder can be made: " + error.message());
  return name;
}

}  // namespace

TemporaryFolder::TemporaryFolder() : folder_(makeNewFolder) {}

}  // namespace queltool

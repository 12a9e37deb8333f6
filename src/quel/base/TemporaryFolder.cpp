#include "quel/base/TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace quel {

namespace {

constexpr std::size_t kChosenLetters = 6;  // that mkdtemp puts in their place

}  // namespace

Result<void> TemporaryFolder::make() {
  std::error_code error;
  const std::filesystem::path parent = std::filesystem::temp_directory_path(error);
  std::string name = (parent / "quel-").string() + std::string(kChosenLetters, 'X');
  if (!error && mkdtemp(name.data()) == nullptr) error.assign(errno, std::generic_category());
  if (error) return Error{"no temporary folder can be made: " + error.message(), parent.string()};
  path_ = name;
  return {};
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  if (!path_.empty()) std::filesystem::remove_all(path_, error);
}

}  // namespace quel

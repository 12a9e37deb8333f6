#include "demo/DataFolder.h"

#include "files/Failure.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr const char* kBoardFile = "board-three-views.json";

}  // namespace

fs::path dataFolder(const std::string& given) {
  if (!given.empty()) {
    if (fs::exists(fs::path(given) / kBoardFile)) return given;
    throw Failure(given + ": holds no " + kBoardFile + "; --data names the folder of the demonstration data");
  }
  std::error_code error;
  const fs::path executable = fs::read_symlink("/proc/self/exe", error);
  const fs::path places[] = {executable.parent_path().parent_path() / QUEL_INSTALL_DATA, QUEL_SOURCE_DATA};
  for (const fs::path& place : places) {
    if (fs::exists(place / kBoardFile, error)) return place;
  }
  throw Failure(std::string("the demonstration data (") + kBoardFile + ") was not found; name its folder with --data");
}

}  // namespace queltool

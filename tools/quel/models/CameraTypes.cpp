#include "models/CameraTypes.h"

#include <fmt/core.h>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/WriteTurn.h"
#include "quel/cameras/CameraTypes.h"
#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr std::uintmax_t kLargestTable = std::uintmax_t{1} << 20;

// A table of two bytes a character, which the platform reads as well, takes no text of one.
bool isWide(const std::string& text) {
  return text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF") || text.find('\0') != std::string::npos;
}

}  // namespace

void addCameraType(std::int32_t width, std::int32_t height) {
  const fs::path file = fs::path(quelplatform::homeDirectory()) / "cameras.ini";
  makeFolder(file.parent_path());
  const WriteTurn writing(file);
  if (quel::cameraTypeOfSize(width, height)) return;
  std::string text = fs::exists(file) ? readWholeFile(file, kLargestTable) : std::string();
  if (isWide(text)) throw Failure(file.string() + ": is 16-bit text; save it as UTF-8");
  if (!text.empty() && text.back() != '\n') text += '\n';
  writeWholeFile(file, text + (text.empty() ? "" : "\n") + quel::newCameraType(width, height) + "\n");
  fmt::print("{}: has a camera type of {} x {} pixels now\n", file.string(), width, height);
}

}  // namespace queltool

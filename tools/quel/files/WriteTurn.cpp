#include "files/WriteTurn.h"

#include <chrono>
#include <thread>

#include "files/Failure.h"
#include "files/Files.h"
#include "quelplatform/qmEnv/qmLog.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

namespace {

constexpr auto kPatience = std::chrono::seconds(20);
constexpr auto kPause = std::chrono::milliseconds(1);
constexpr std::uint32_t kOthersDidNotFinish = 32;

}  // namespace

// False where it is another's turn: between two tries a signal may end the tool.
bool WriteTurn::tryOnce(const qmWChar* path) {
  undisturbed_.emplace();
  turn_.emplace(path, 0);
  if (turn_->isMine() || turn_->error() != kOthersDidNotFinish) return true;
  undisturbed_.reset();
  return false;
}

WriteTurn::WriteTurn(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) return;
  const std::u16string path = widePath(file);
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  while (!tryOnce(path.c_str()) && std::chrono::steady_clock::now() < deadline) std::this_thread::sleep_for(kPause);
  if (turn_->isMine()) return;
  throw Failure(file.string() + ": cannot be written: " + toNarrow(QmFormatMessageW(turn_->error())));
}

}  // namespace queltool

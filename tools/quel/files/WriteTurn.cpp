#include "files/WriteTurn.h"

#include "files/Failure.h"
#include "files/Files.h"
#include "quelplatform/qmEnv/qmLog.h"
#include "quelplatform/qmEnv/qmText.h"

namespace queltool {

namespace fs = std::filesystem;

WriteTurn::WriteTurn(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) return;
  turn_.emplace(widePath(file).c_str());
  if (turn_->isMine()) {
    undisturbed_.emplace();
    return;
  }
  throw Failure(file.string() + ": cannot be written: " + toNarrow(QmFormatMessageW(turn_->error())));
}

}  // namespace queltool

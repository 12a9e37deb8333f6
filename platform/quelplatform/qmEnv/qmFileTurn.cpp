#include <cerrno>
#include <memory>
#include <new>
#include <string>

#include "quelplatform/ground/files/WriterLock.h"
#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/qmFileTurnEmbedded.h"

namespace quelplatform {

struct FileTurn::State {
  WriterTurn turn;
};

namespace {

// Returns 0 or the `errno` of the failure.
int acquire(WriterTurn& turn, std::string& path, std::int32_t patience) {
  if (path.empty()) return ENOENT;
  if (const int error = followLinks(path); error != 0) return error;
  return turn.acquire(directoryOf(path), patience);
}

}  // namespace

FileTurn::FileTurn(const qmWChar* path, std::int32_t patience) noexcept {
  try {
    auto state = std::make_unique<State>();
    std::string native = path == nullptr ? std::string() : nativePath(path);
    const int error = acquire(state->turn, native, patience);
    error_ = error == 0 ? 0 : windowsError(error, native);
    if (error == 0) state_ = state.release();
  } catch (const std::bad_alloc&) {
    error_ = kErrorNotEnoughMemory;
  }
}

FileTurn::~FileTurn() { delete state_; }

}  // namespace quelplatform

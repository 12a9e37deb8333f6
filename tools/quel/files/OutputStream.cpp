#include "files/OutputStream.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/StandardOutput.h"
#include "quelplatform/qmEnv/qmFile.h"

namespace queltool {

namespace {

constexpr std::size_t kBlock = std::size_t{1} << 20;

Failure notWritten(const std::filesystem::path& file, int error) {
  return Failure(file.string() + ": cannot be written: " + std::generic_category().message(error));
}

}  // namespace

OutputStream::OutputStream(const OutputFile& file) {
  block_.reserve(kBlock);
  if (!file.isGiven() || file.isStandardOutput()) return;
  file_ = file.name;
  open();
}

OutputStream::OutputStream(const std::filesystem::path& file) : file_(file) { open(); }

void OutputStream::open() {
  replaces_ = isReplacedWhole(file_);
  if (replaces_) untilItIsThere_.emplace();
  const bool opened = replaces_ ? qmFileOpen(widePath(file_).c_str(), u"wb", &stream_) == 1
                                : (stream_ = std::fopen(file_.c_str(), "wb")) != nullptr;
  if (!opened) throw notWritten(file_, errno);
}

OutputStream::~OutputStream() { discard(); }

// Reading marks a stream that is only written to as one that failed, so that it replaces nothing.
void OutputStream::discard() {
  if (stream_ == nullptr) return;
  if (replaces_) {
    std::fgetc(stream_);
    qmFileClose(widePath(file_).c_str(), &stream_);
  } else {
    std::fclose(stream_);
  }
  stream_ = nullptr;
}

void OutputStream::write(std::string_view content) {
  if (block_.size() + content.size() > kBlock) flush();
  if (content.size() > kBlock) return writeBlock(content);
  block_ += content;
}

void OutputStream::writeBlock(std::string_view block) {
  if (file_.empty()) return writeData(block);
  do {
    const std::string_view part = block.substr(0, kBlock);
    if (std::fwrite(part.data(), 1, part.size(), stream_) != part.size()) throw notWritten(file_, errno);
    if (untilItIsThere_) untilItIsThere_->giveWay([this] { discard(); });
    block.remove_prefix(part.size());
  } while (!block.empty());
}

void OutputStream::flush() {
  writeBlock(block_);
  block_.clear();
}

void OutputStream::finish() {
  flush();
  if (stream_ == nullptr) return;
  std::FILE* stream = std::exchange(stream_, nullptr);
  const bool written = replaces_ ? qmFileClose(widePath(file_).c_str(), &stream) == 1 : std::fclose(stream) == 0;
  if (!written) throw notWritten(file_, errno);
  untilItIsThere_.reset();
}

}  // namespace queltool

#include "quelcore/base/FileStream.h"

#include <algorithm>
#include <cstring>

namespace quelcore {
namespace {

constexpr std::size_t kBlockSize = 1 << 16;

}  // namespace

FileBuf::FileBuf(const qmWChar* path, const qmWChar* mode)
    : block_(kBlockSize), file_(path, mode), writes_(mode[0] != u'r') {
  if (!isOpen()) return;
  if (writes_) {
    setp(block_.data(), block_.data() + block_.size());
  } else {
    setg(block_.data(), block_.data(), block_.data());
  }
}

FileBuf::~FileBuf() { close(); }

bool FileBuf::close() {
  if (!isOpen()) return false;
  const bool flushed = flushBlock();
  const bool closed = file_.close();
  setg(nullptr, nullptr, nullptr);
  setp(nullptr, nullptr);
  return flushed && closed;
}

FileBuf::int_type FileBuf::underflow() {
  if (!isOpen() || writes_) return traits_type::eof();
  if (gptr() == egptr()) {
    const std::size_t count = std::fread(block_.data(), 1, block_.size(), file_.get());
    setg(block_.data(), block_.data(), block_.data() + count);
  }
  return gptr() == egptr() ? traits_type::eof() : traits_type::to_int_type(*gptr());
}

std::streamsize FileBuf::xsgetn(char* to, std::streamsize count) {
  const std::streamsize held = std::clamp<std::streamsize>(egptr() - gptr(), 0, count);
  if (held > 0) {
    std::memcpy(to, gptr(), static_cast<std::size_t>(held));
    setg(eback(), gptr() + held, egptr());
  }
  const std::streamsize rest = count - held;
  if (rest <= 0 || !isOpen() || writes_) return held;
  // What is left of a request larger than a block goes straight to the caller.
  return held + static_cast<std::streamsize>(std::fread(to + held, 1, static_cast<std::size_t>(rest), file_.get()));
}

FileBuf::int_type FileBuf::overflow(int_type unit) {
  if (!isOpen() || !writes_ || !flushBlock()) return traits_type::eof();
  if (!traits_type::eq_int_type(unit, traits_type::eof())) {
    *pptr() = traits_type::to_char_type(unit);
    pbump(1);
  }
  return traits_type::not_eof(unit);
}

std::streamsize FileBuf::xsputn(const char* from, std::streamsize count) {
  if (!isOpen() || !writes_ || count <= 0) return 0;
  if (count <= epptr() - pptr()) {
    std::memcpy(pptr(), from, static_cast<std::size_t>(count));
    pbump(static_cast<int>(count));
    return count;
  }
  if (!flushBlock()) return 0;
  return static_cast<std::streamsize>(std::fwrite(from, 1, static_cast<std::size_t>(count), file_.get()));
}

int FileBuf::sync() {
  if (!isOpen() || !writes_) return 0;
  return flushBlock() && std::fflush(file_.get()) == 0 ? 0 : -1;
}

bool FileBuf::flushBlock() {
  if (!writes_) return true;
  const auto count = static_cast<std::size_t>(pptr() - pbase());
  const bool written = std::fwrite(pbase(), 1, count, file_.get()) == count;
  setp(block_.data(), block_.data() + block_.size());
  return written;
}

}  // namespace quelcore

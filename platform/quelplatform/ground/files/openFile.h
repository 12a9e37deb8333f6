// Opening files of the operating system so that nothing blocks and nothing leaks into child processes.
#pragma once

#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string>

namespace quelplatform {

/// An open file descriptor, closed at the end of its life.
class Descriptor {
 public:
  explicit Descriptor(int value = -1) : value_(value) {}
  ~Descriptor() { reset(); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return value_; }
  bool isOpen() const { return value_ >= 0; }

  /// Closes it and takes over `value`. Returns 0 or the `errno` of the failure to close.
  int reset(int value = -1) noexcept;

  /// Hands the open descriptor over to the caller.
  int release() noexcept;

 private:
  int value_;
};

/// Opens `path` with the `flags` of open(2), close-on-exec. Returns the descriptor; or -1 with `errno` set, which is
/// EISDIR for a directory and EINVAL for a pipe or a socket. With O_CREAT the home directory is made when `path` lies
/// in it and it is not there yet.
int openFile(const std::string& path, int flags);

/// Hands what is left of an open file to `take` in parts, each a `std::span<const std::byte>`, until there is nothing
/// more or `take` returns the `errno` of a failure. Returns that one, or that of a failure to read, or 0.
template <typename Take>
int readParts(int descriptor, const Take& take);

/// Puts the content of the file at `path` behind `bytes`. Returns 0 or the `errno` of the failure: EFBIG for one of
/// more than `limit` bytes. Throws std::bad_alloc.
int readWholeFile(const std::string& path, std::size_t limit, std::string& bytes);

template <typename Take>
int readParts(int descriptor, const Take& take) {
  std::array<std::byte, 65536> part;
  for (;;) {
    const ssize_t count = read(descriptor, part.data(), part.size());
    if (count == 0) return 0;
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return errno;
    const std::span<const std::byte> content(part.data(), static_cast<std::size_t>(count));
    if (const int error = take(content); error != 0) return error;
  }
}

}  // namespace quelplatform

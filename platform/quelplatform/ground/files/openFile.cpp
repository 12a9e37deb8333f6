#include "quelplatform/ground/files/openFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemCalls.h"

namespace quelplatform {

namespace {

int refusalOf(mode_t mode) {
  if (S_ISDIR(mode)) return EISDIR;
  return S_ISFIFO(mode) || S_ISSOCK(mode) ? EINVAL : 0;
}

int openHere(const std::string& path, int flags) {
  const auto open = [&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0666); };
  const int descriptor = uninterrupted(open);
  if (descriptor >= 0 || errno != ENOENT || (flags & O_CREAT) == 0) return descriptor;
  if (!makeHomeOf(path)) {
    errno = ENOENT;
    return -1;
  }
  return uninterrupted(open);
}

// Room for what the file says to hold, so that one of common size is not moved while it grows. It may grow, say
// nothing, or say more than there is memory for: one that is mostly holes.
constexpr std::size_t kMostRoomAhead = std::size_t{1} << 28;

void makeRoom(int descriptor, std::size_t limit, std::string& bytes) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || status.st_size <= 0) return;
  bytes.reserve(bytes.size() + std::min({static_cast<std::size_t>(status.st_size), limit, kMostRoomAhead}));
}

}  // namespace

int Descriptor::reset(int value) noexcept {
  const int old = std::exchange(value_, value);
  return old >= 0 && close(old) != 0 && errno != EINTR ? errno : 0;  // Interrupted, it is closed all the same.
}

int Descriptor::release() noexcept { return std::exchange(value_, -1); }

int openFile(const std::string& path, int flags) {
  // Asked before opening too, because opening a pipe wakes who waits at its other end.
  struct stat status {};
  if (statusOf(path, status) == 0 && refusalOf(status.st_mode) != 0) {
    errno = refusalOf(status.st_mode);
    return -1;
  }
  Descriptor descriptor(openHere(path, flags));
  if (!descriptor.isOpen()) return -1;
  int error = fstat(descriptor.get(), &status) != 0 ? errno : refusalOf(status.st_mode);
  if (error == 0 && fcntl(descriptor.get(), F_SETFL, flags & O_APPEND) != 0) error = errno;
  if (error != 0) {
    descriptor.reset();
    errno = error;
    return -1;
  }
  return descriptor.release();
}

int readWholeFile(const std::string& path, std::size_t limit, std::string& bytes) {
  const Descriptor descriptor(openFile(path, O_RDONLY));
  if (!descriptor.isOpen()) return errno;
  makeRoom(descriptor.get(), limit, bytes);
  std::size_t total = 0;
  return readParts(descriptor.get(), [&](std::span<const std::byte> part) {
    total += part.size();
    if (total > limit) return EFBIG;
    bytes.append(reinterpret_cast<const char*>(part.data()), part.size());
    return 0;
  });
}

}  // namespace quelplatform

// Calls of the operating system that a signal may interrupt.
#pragma once

#include <sys/stat.h>

#include <cerrno>
#include <string>

namespace quelplatform {

/// What `call` returns, which is negative with `errno` set for a failure; called again as long as that is EINTR.
template <typename Call>
auto uninterrupted(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

/// Looks at what `path` leads to. Returns 0 or the `errno` of the failure.
inline int statusOf(const std::string& path, struct stat& status) noexcept {
  return uninterrupted([&] { return stat(path.c_str(), &status); }) == 0 ? 0 : errno;
}

/// As above, but a link at the end of `path` stands for itself.
inline int linkStatusOf(const std::string& path, struct stat& status) noexcept {
  return uninterrupted([&] { return lstat(path.c_str(), &status); }) == 0 ? 0 : errno;
}

}  // namespace quelplatform

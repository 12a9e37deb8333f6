// Does something just before this program locks a file by flock(2), gives it rights by fchmod(2) or flushes it by
// fsync(2), to try what may happen to a file between two calls. For one source file of a program, since it defines
// them.
#pragma once

#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <functional>
#include <utility>

namespace quel::testing {

/// Called with the descriptor before the next such call of this thread, and then forgotten.
inline thread_local std::function<void(int)> beforeLocking;
inline thread_local std::function<void(int)> beforeGivingRights;
inline thread_local std::function<void(int)> beforeFlushing;

inline void callOnce(std::function<void(int)>& action, int descriptor) {
  if (action) std::exchange(action, nullptr)(descriptor);
}

}  // namespace quel::testing

extern "C" {

[[gnu::visibility("default")]] int flock(int descriptor, int operation) noexcept {
  if ((operation & LOCK_EX) != 0) quel::testing::callOnce(quel::testing::beforeLocking, descriptor);
  return static_cast<int>(syscall(SYS_flock, descriptor, operation));
}

[[gnu::visibility("default")]] int fchmod(int descriptor, mode_t mode) noexcept {
  quel::testing::callOnce(quel::testing::beforeGivingRights, descriptor);
  return static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
}

[[gnu::visibility("default")]] int fsync(int descriptor) {
  quel::testing::callOnce(quel::testing::beforeFlushing, descriptor);
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

}  // extern "C"

// Makes allocations of the C library fail, whoever asks for them: the language's `new`, ICU, the C library itself.
//
// Replaces malloc and its relatives, so that one source file of a test program includes it and no other. Only the
// thread that arms it meets failures. Sanitizers have allocators of their own: nothing fails under them.
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "testing/Sanitized.h"

namespace quel::testing {

/// Allocations that succeed before those that fail; negative: all succeed.
inline thread_local std::int64_t mallocSuccesses = -1;
/// Whether all that follow the first failure fail too.
inline thread_local bool mallocFailsOn = false;
inline thread_local std::int64_t mallocFailures = 0;
/// What was left of the successes when the operation was done.
inline thread_local std::int64_t mallocSuccessesLeft = 0;

/// Planted: an allocation that is to fail ends the process, as it would in a program that does not look.
inline bool mallocCrashes = false;

/// Whether this allocation fails, and counts it.
inline bool mallocFails() noexcept {
  if (mallocSuccesses < 0) return false;
  if (mallocSuccesses > 0) {
    --mallocSuccesses;
    return false;
  }
  if (mallocCrashes) __builtin_trap();
  ++mallocFailures;
  if (!mallocFailsOn) mallocSuccesses = -1;
  errno = ENOMEM;
  return true;
}

/// From now on `successes` allocations of this thread succeed and the next one fails, or all that follow.
inline void failMalloc(std::int64_t successes, bool allThatFollow) {
  mallocFailures = 0;
  mallocFailsOn = allThatFollow;
  mallocSuccesses = kSanitized ? -1 : successes;
}

/// Allocations succeed again. Returns how many failed since.
inline std::int64_t stopFailingMalloc() {
  mallocSuccessesLeft = mallocSuccesses;
  mallocSuccesses = -1;
  return mallocFailures;
}

/// `operation` with the allocations from number `n` on failing, or that one alone. Returns what it returned.
template <typename Operation>
auto withFailingMalloc(std::int64_t n, bool allThatFollow, Operation operation) {
  failMalloc(n, allThatFollow);
  const auto result = operation();
  stopFailingMalloc();
  return result;
}

}  // namespace quel::testing

#ifndef QUEL_SANITIZED

extern "C" {

void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
  return quel::testing::mallocFails() ? nullptr : __libc_malloc(size);
}

[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
  return quel::testing::mallocFails() ? nullptr : __libc_calloc(count, size);
}

[[gnu::visibility("default")]] void* realloc(void* memory, std::size_t size) noexcept {
  return quel::testing::mallocFails() ? nullptr : __libc_realloc(memory, size);
}

[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return quel::testing::mallocFails() ? nullptr : __libc_memalign(alignment, size);
}

[[gnu::visibility("default")]] int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  void* const block = aligned_alloc(alignment, size);
  if (block == nullptr) return ENOMEM;
  *memory = block;
  return 0;
}
}

#endif

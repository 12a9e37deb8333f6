// Makes each allocation of the language's `new` fail in turn, where a container grows or a text is made.
//
// Replaces the global operators, so that one source file of a test program includes it and no other. Only the thread
// that runs the operation meets failures.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace quel::testing {

/// Allocations that succeed before one fails; negative: all succeed.
inline thread_local std::int64_t newSuccesses = -1;
inline thread_local bool newFailed = false;

inline void* allocateOrFail(std::size_t size) {
  if (newSuccesses == 0) {
    newSuccesses = -1;
    newFailed = true;
    throw std::bad_alloc();
  }
  if (newSuccesses > 0) --newSuccesses;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

inline void* allocateOrNull(std::size_t size) noexcept try {
  return allocateOrFail(size);
} catch (const std::bad_alloc&) {
  return nullptr;
}

/// Runs `operation` again and again, the first time with its first `new` failing, then with the second, and so on,
/// until a run meets no failure. After each run `check(result, failed)` gets what it returned and whether one failed.
/// Returns the number of failures met.
template <typename Operation, typename Check>
std::int64_t failEachNew(Operation operation, Check check) {
  for (std::int64_t n = 0;; ++n) {
    newFailed = false;
    newSuccesses = n;
    const auto result = operation();
    newSuccesses = -1;
    check(result, newFailed);
    if (!newFailed || ::testing::Test::HasFatalFailure()) return n;
  }
}

}  // namespace quel::testing

// Not inline, as the language demands of replaced operators; GCC would warn of a pair of which it puts only one in
// place.
[[gnu::noinline]] void* operator new(std::size_t size) { return quel::testing::allocateOrFail(size); }
[[gnu::noinline]] void* operator new[](std::size_t size) { return quel::testing::allocateOrFail(size); }
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return quel::testing::allocateOrNull(size);
}
[[gnu::noinline]] void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return quel::testing::allocateOrNull(size);
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

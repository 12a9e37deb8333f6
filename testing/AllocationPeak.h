// Counts the bytes that a program under a sanitizer has in use, whoever asked for them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "testing/Sanitized.h"

#if defined(QUEL_SANITIZED)
#include <sanitizer/allocator_interface.h>
#endif

namespace quel::testing {

/// Not atomic: what other threads do while one counts is not told apart.
struct AllocationPeak {
  static inline bool counting = false;
  static inline std::int64_t inUse = 0;  ///< Beyond what was in use when counting began.
  static inline std::int64_t most = 0;

#if defined(QUEL_SANITIZED)
  static void allocated(const volatile void*, std::size_t size) {
    if (!counting) return;
    inUse += static_cast<std::int64_t>(size);
    if (inUse > most) most = inUse;
  }

  static void freed(const volatile void* block) {
    if (counting && block != nullptr) {
      inUse -= static_cast<std::int64_t>(__sanitizer_get_allocated_size(const_cast<const void*>(block)));
    }
  }
#endif

  /// Begins to count anew. False where allocations cannot be counted: without a sanitizer.
  static bool begin() {
#if defined(QUEL_SANITIZED)
    static const bool installed = __sanitizer_install_malloc_and_free_hooks(allocated, freed) != 0;
#else
    static const bool installed = false;
#endif
    inUse = most = 0;
    return counting = installed;
  }

  static void end() { counting = false; }
};

}  // namespace quel::testing

#include <cstdio>
#include <cstdlib>

#include "fuzz/support/Fuzzing.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QUEL_WATCHED 1
#include <sanitizer/allocator_interface.h>
#endif
#endif

namespace quelfuzz {

namespace {

// Not atomic: a target runs on one thread, and what others do does not matter while nobody watches.
bool watching = false;
std::int64_t inUse = 0;
std::int64_t most = 0;

#if defined(QUEL_WATCHED)
void allocated(const volatile void*, std::size_t size) {
  if (!watching) return;
  inUse += static_cast<std::int64_t>(size);
  if (inUse > most) most = inUse;
}

void freed(const volatile void* block) {
  if (watching && block != nullptr) {
    inUse -= static_cast<std::int64_t>(__sanitizer_get_allocated_size(const_cast<const void*>(block)));
  }
}

const bool kInstalled = __sanitizer_install_malloc_and_free_hooks(allocated, freed) != 0;
#else
const bool kInstalled = true;
#endif

}  // namespace

MemoryWatch::MemoryWatch() {
  require(kInstalled, "allocations can be counted");
  inUse = most = 0;
  watching = true;
}

MemoryWatch::~MemoryWatch() { watching = false; }

std::size_t MemoryWatch::peak() const { return static_cast<std::size_t>(most); }

void MemoryWatch::requireAtMost(std::size_t timesFile, std::size_t timesRecords, std::size_t fileSize) const {
  constexpr std::size_t kMebibyte = std::size_t{1} << 20;
  if (peak() <= (timesFile + timesRecords) * fileSize + kMebibyte) return;
  std::fprintf(stderr, "%zu bytes were in use for a file of %zu\n", peak(), fileSize);
  require(false, "a reader needs no more memory than its file accounts for");
}

}  // namespace quelfuzz

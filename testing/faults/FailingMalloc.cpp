// The program's own `malloc` and its relatives stand before those of the C library for everything that the program
// loads, and pass on to them.
#include "testing/faults/FailingMalloc.h"

#include <cerrno>
#include <cstddef>

extern "C" {
void* __libc_malloc(std::size_t size) noexcept;
void* __libc_calloc(std::size_t count, std::size_t size) noexcept;
void* __libc_realloc(void* memory, std::size_t size) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t size) noexcept;
}

namespace quel::faults {

namespace {

thread_local constinit std::int64_t successesLeft = -1;  // negative: nothing fails
thread_local constinit bool failsOn = false;
thread_local constinit std::int64_t failures = 0;
constinit bool crashes = false;

bool isToFail() {
  if (successesLeft < 0) return false;
  if (successesLeft > 0) {
    --successesLeft;
    return false;
  }
  if (!failsOn) successesLeft = -1;
  ++failures;
  if (crashes) __builtin_trap();
  errno = ENOMEM;
  return true;
}

}  // namespace

void failMalloc(std::int64_t successes, bool goOn) {
  failures = 0;
  failsOn = goOn;
  successesLeft = successes;
}

void crashInsteadOfFailing() { crashes = true; }

std::int64_t stopFailingMalloc() {
  successesLeft = -1;
  return failures;
}

}  // namespace quel::faults

extern "C" {

void* malloc(std::size_t size) noexcept { return quel::faults::isToFail() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) noexcept {
  return quel::faults::isToFail() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
  return quel::faults::isToFail() ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return quel::faults::isToFail() ? nullptr : __libc_memalign(alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size) noexcept {
  return quel::faults::isToFail() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  if (quel::faults::isToFail()) return ENOMEM;
  void* result = __libc_memalign(alignment, size);
  if (result == nullptr) return ENOMEM;
  *memory = result;
  return 0;
}

}  // extern "C"

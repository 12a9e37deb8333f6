#include "quelplatform/qmEnv/qmMemory.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <limits>

#include "quelplatform/qmEnv/qmMemoryEmbedded.h"

namespace {

static_assert(alignof(std::max_align_t) >= 16, "blocks must be aligned to 16 bytes");

std::atomic<std::int64_t> blocks{0};

/// Which allocations fail: those numbered `first` to `first` + `number` - 1, counted from when it was ordered.
struct OrderedFailures {
  std::atomic<bool> active{false};
  std::atomic<std::int64_t> first{0};
  std::atomic<std::int64_t> number{0};
  std::atomic<std::int64_t> asked{0};
  std::atomic<std::int64_t> failed{0};
};
OrderedFailures failures;

bool failsByOrder() {
  if (!failures.active.load()) return false;
  const std::int64_t past = failures.asked.fetch_add(1) - failures.first.load();
  if (past < 0 || past >= failures.number.load()) return false;
  failures.failed.fetch_add(1);
  return true;
}

// No object may be larger than what a pointer difference can measure.
constexpr std::size_t kLargest = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());

template <typename Allocate>
std::int32_t allocate(std::size_t size, void** out, Allocate allocateBytes) {
  if (out == nullptr) return 0;
  *out = nullptr;
  if (failsByOrder() || size > kLargest) return 0;
  *out = allocateBytes(std::max<std::size_t>(size, 1));
  if (*out == nullptr) return 0;
  blocks.fetch_add(1);
  return 1;
}

}  // namespace

std::int32_t qmMallocNoInit(std::size_t size, void** out) noexcept {
  return allocate(size, out, [](std::size_t bytes) { return std::malloc(bytes); });
}

std::int32_t qmMallocInitZero(std::size_t size, void** out) noexcept {
  return allocate(size, out, [](std::size_t bytes) { return std::calloc(bytes, 1); });
}

void qmMallocFree(void** pointer) noexcept {
  if (pointer == nullptr || *pointer == nullptr) return;
  std::free(*pointer);
  *pointer = nullptr;
  blocks.fetch_sub(1);
}

void quelplatform::failAllocations(std::int64_t successes, std::int64_t number) noexcept {
  failures.active.store(false);
  failures.first.store(std::max<std::int64_t>(successes, 0));
  failures.number.store(std::max<std::int64_t>(number, 0));
  failures.asked.store(0);
  failures.failed.store(0);
  failures.active.store(true);
}

std::int64_t quelplatform::stopFailingAllocations() noexcept {
  failures.active.store(false);
  return failures.failed.exchange(0);
}

std::int64_t quelplatform::allocatedBlocks() noexcept { return blocks.load(); }

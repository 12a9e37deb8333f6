#include <cstdio>

#include "fuzz/support/Fuzzing.h"
#include "testing/AllocationPeak.h"

namespace quelfuzz {

using quel::testing::AllocationPeak;
using quel::testing::kSanitized;

MemoryWatch::MemoryWatch() { require(AllocationPeak::begin() || !kSanitized, "allocations can be counted"); }

MemoryWatch::~MemoryWatch() { AllocationPeak::end(); }

std::size_t MemoryWatch::peak() const { return static_cast<std::size_t>(AllocationPeak::most); }

void MemoryWatch::requireAtMost(std::size_t timesFile, std::size_t timesRecords, std::size_t fileSize) const {
  constexpr std::size_t kMebibyte = std::size_t{1} << 20;
  if (peak() <= (timesFile + timesRecords) * fileSize + kMebibyte) return;
  std::fprintf(stderr, "%zu bytes were in use for a file of %zu\n", peak(), fileSize);
  require(false, "a reader needs no more memory than its file accounts for");
}

}  // namespace quelfuzz

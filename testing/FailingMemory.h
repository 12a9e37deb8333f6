// Makes each allocation of the platform fail in turn.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "quelplatform/qmEnv/qmMemoryEmbedded.h"

namespace quel::testing {

/// Runs `attempt` again and again, the first time with the first allocation failing, then with the second, and so on,
/// until a run meets no failure. `attempt(n)` gets the number of allocations that succeed before the failing one. After
/// each run nothing that it allocated may be left. Returns the number of failures met.
template <typename Attempt>
std::int64_t failEachAllocation(Attempt attempt) {
  for (std::int64_t n = 0;; ++n) {
    const std::int64_t before = quelplatform::allocatedBlocks();
    quelplatform::failAllocations(n, 1);
    attempt(n);
    const std::int64_t failed = quelplatform::stopFailingAllocations();
    EXPECT_EQ(quelplatform::allocatedBlocks(), before) << "left behind when allocation " << n << " failed";
    if (failed == 0 || ::testing::Test::HasFatalFailure()) return n;
  }
}

}  // namespace quel::testing

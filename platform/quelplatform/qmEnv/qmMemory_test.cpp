#include "quelplatform/qmEnv/qmMemory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
#include "testing/FailingMemory.h"

namespace {

using quelplatform::allocatedBlocks;

// First in this program: nobody has ordered a failure yet.
TEST(AllocationsAtFirst, FailedNone) { EXPECT_EQ(quelplatform::stopFailingAllocations(), 0); }

using Allocate = std::int32_t (*)(std::size_t, void**) noexcept;

class BothAllocations : public ::testing::TestWithParam<Allocate> {};
INSTANTIATE_TEST_SUITE_P(qmMalloc, BothAllocations, ::testing::Values(&qmMallocNoInit, &qmMallocInitZero));

TEST_P(BothAllocations, GiveAnAlignedBlockThatIsCountedUntilItIsFreed) {
  const std::int64_t before = allocatedBlocks();
  for (const std::size_t size : {1u, 7u, 16u, 1000u, 1u << 20}) {
    void* block = nullptr;
    ASSERT_EQ(GetParam()(size, &block), 1);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 16, 0u);
    std::memset(block, 0xA5, size);
    EXPECT_EQ(allocatedBlocks(), before + 1);
    qmMallocFree(&block);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(allocatedBlocks(), before);
  }
}

TEST_P(BothAllocations, SucceedForSizeZeroWithAPointerThatMayBeFreed) {
  void* block = nullptr;
  EXPECT_EQ(GetParam()(0, &block), 1);
  EXPECT_NE(block, nullptr);
  qmMallocFree(&block);
}

TEST_P(BothAllocations, NullTheOutputWhenMemoryIsExhausted) {
  const std::int64_t before = allocatedBlocks();
  int dummy = 0;
  for (const std::size_t size :
       {std::numeric_limits<std::size_t>::max(), std::numeric_limits<std::size_t>::max() / 2, std::size_t{1} << 60}) {
    void* block = &dummy;
    EXPECT_EQ(GetParam()(size, &block), 0);
    EXPECT_EQ(block, nullptr);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST_P(BothAllocations, FailForANullOutput) { EXPECT_EQ(GetParam()(8, nullptr), 0); }

TEST_P(BothAllocations, FailAsOrderedAndThenSucceedAgain) {
  quelplatform::failAllocations(1, 2);
  std::vector<std::int32_t> results;
  for (int i = 0; i < 4; ++i) {
    void* block = nullptr;
    results.push_back(GetParam()(8, &block));
    EXPECT_EQ(block != nullptr, results.back() == 1);
    qmMallocFree(&block);
  }
  EXPECT_EQ(results, (std::vector<std::int32_t>{1, 0, 0, 1}));
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 2);
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 0);
}

TEST(qmMallocInitZero, ZeroesEveryByte) {
  for (int round = 0; round < 2; ++round) {
    void* block = nullptr;
    ASSERT_EQ(qmMallocInitZero(4096, &block), 1);
    const auto* bytes = static_cast<unsigned char*>(block);
    EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 4096), std::vector<unsigned char>(4096, 0));
    std::memset(block, 0xFF, 4096);
    qmMallocFree(&block);
  }
}

TEST(qmMallocFree, LeavesNullAlone) {
  const std::int64_t before = allocatedBlocks();
  qmMallocFree(nullptr);
  void* block = nullptr;
  qmMallocFree(&block);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(failAllocations, OfNoneFailsNone) {
  quelplatform::failAllocations(0, 0);
  void* block = nullptr;
  EXPECT_EQ(qmMallocNoInit(8, &block), 1);
  qmMallocFree(&block);
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 0);
}

TEST(failAllocations, FailsExactlyTheOrderedNumberOverAllThreads) {
  const std::int64_t before = allocatedBlocks();
  quelplatform::failAllocations(100, 250);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 500; ++i) {
        void* block = nullptr;
        qmMallocNoInit(16, &block);
        qmMallocFree(&block);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 250);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(failEachAllocation, MeetsEveryAllocationOfAnAttemptOnce) {
  const std::int64_t failures = quel::testing::failEachAllocation([](std::int64_t n) {
    void* blocks[3] = {};
    std::int64_t succeeded = 0;
    for (void*& block : blocks) succeeded += qmMallocNoInit(8, &block);
    EXPECT_EQ(succeeded, n < 3 ? 2 : 3);
    for (void*& block : blocks) qmMallocFree(&block);
  });
  EXPECT_EQ(failures, 3);
}

}  // namespace

// Tensors on several threads: each copies, stores, projects and destroys its own, and they load in turn, under a lock
// of the caller's.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "quelcore/tensor/tensorLuts_fixture.h"

namespace {

using quel::testing::TensorLutsTest;

constexpr int kThreads = 4;
constexpr int kRounds = 25;

template <typename Work>
void onThreads(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back([=] { work(i); });
  for (std::thread& thread : threads) thread.join();
}

using TensorThreads = TensorLutsTest;

TEST_F(TensorThreads, CopyStoreAndProjectOneTensorAtATime) {
  QmReconsTensor shared;
  ASSERT_TRUE(shared.LoadFromFile(tensorFile().c_str()));
  const std::vector<std::uint64_t> expected = projectedBits(shared);
  std::atomic<int> wrong{0};
  onThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      QmReconsTensor copy(shared);
      QmReconsTensor assigned;
      assigned = copy;
      if (projectedBits(assigned) != expected || projectedBits(shared) != expected) ++wrong;
    }
  });
  EXPECT_EQ(wrong, 0);
}

TEST_F(TensorThreads, StoreTensorsWithLutsEachIntoAFolderOfItsOwn) {
  QmReconsTensor shared;
  ASSERT_TRUE(shared.LoadFromFile(tensorFile().c_str()));
  const std::vector<std::uint64_t> expected = projectedBits(shared);
  std::atomic<int> stored{0}, wrong{0};
  onThreads([&](int thread) {
    const std::string folder = "own" + std::to_string(thread);
    std::filesystem::create_directory(dir_.path() / folder);
    for (int round = 0; round < kRounds; ++round) {
      QmReconsTensor own(shared);
      if (own.StoreToFile(dir_.wide(folder + "/block.tns").c_str())) ++stored;
      if (projectedBits(own) != expected) ++wrong;
    }
  });
  EXPECT_EQ(stored, kThreads * kRounds);
  EXPECT_EQ(wrong, 0);
  EXPECT_EQ(projectedBits(shared), expected);
}

TEST_F(TensorThreads, LoadInTurnWhileOthersProject) {
  std::mutex loading;
  std::atomic<int> loaded{0}, wrong{0};
  QmReconsTensor first;
  ASSERT_TRUE(first.LoadFromFile(tensorFile().c_str()));
  const std::vector<std::uint64_t> expected = projectedBits(first);
  onThreads([&](int) {
    for (int round = 0; round < kRounds; ++round) {
      QmReconsTensor own;
      {
        const std::lock_guard lock(loading);
        if (own.LoadFromFile(tensorFile().c_str())) ++loaded;
      }
      if (projectedBits(own) != expected) ++wrong;
    }
  });
  EXPECT_EQ(loaded, kThreads * kRounds);
  EXPECT_EQ(wrong, 0);
}

}  // namespace

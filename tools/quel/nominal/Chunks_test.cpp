#include "nominal/Chunks.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace queltool {
namespace {

TEST(onThreads, CallsForEachNumberOnce) {
  for (const int threads : {-1, 0, 1, 2, 16, 1000}) {
    std::vector<std::atomic<int>> calls(300);
    onThreads(calls.size(), threads, [&](std::size_t n) { ++calls[n]; });
    for (const auto& count : calls) EXPECT_EQ(count, 1) << threads;
  }
  onThreads(0, 4, [](std::size_t) { FAIL(); });
}

TEST(onThreads, ThrowsWhatTheWorkThrows) {
  for (const int threads : {1, 4}) {
    EXPECT_THROW(onThreads(100, threads, [](std::size_t n) { n == 50 ? throw std::out_of_range("50") : void(); }),
                 std::out_of_range);
  }
}

TEST(inChunks, CoversAllPointsInChunksOfOneSize) {
  std::vector<int> seen(2 * kChunk + 5);
  std::vector<std::size_t> counts(chunksOf(seen.size()));
  ASSERT_EQ(counts.size(), 3);
  inChunks(seen.size(), 2, [&](std::size_t chunk, std::size_t first, std::size_t count) {
    EXPECT_EQ(first, chunk * kChunk);
    counts[chunk] = count;
    for (std::size_t n = first; n < first + count; ++n) ++seen[n];
  });
  EXPECT_EQ(counts, (std::vector<std::size_t>{kChunk, kChunk, 5}));
  EXPECT_EQ(seen, std::vector<int>(seen.size(), 1));
}

}  // namespace
}  // namespace queltool

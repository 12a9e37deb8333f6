// Many points in chunks of one size, on several threads: what is summed a chunk at a time, and the chunks in their
// order, has the same bits on any number of them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>

namespace queltool {

/// As many points are worked on at once.
inline constexpr std::size_t kChunk = 4096;

constexpr std::size_t chunksOf(std::size_t total) { return (total + kChunk - 1) / kChunk; }

/// Calls `work` with every number below `count`, in no order, on at most `threads` threads (below 1: one for each
/// processor) and never more than 64. What `work` throws ends the calls that have not begun, and is thrown.
void onThreads(std::size_t count, int threads, const std::function<void(std::size_t)>& work);

/// Calls `work(chunk, first, count)` for each chunk of `total` points, in the same way.
template <typename Work>
void inChunks(std::size_t total, int threads, const Work& work) {
  onThreads(chunksOf(total), threads, [&](std::size_t chunk) {
    const std::size_t first = chunk * kChunk;
    work(chunk, first, std::min(kChunk, total - first));
  });
}

}  // namespace queltool

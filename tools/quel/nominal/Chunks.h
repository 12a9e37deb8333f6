// Many points in chunks, on several threads.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace queltool {

/// As many points are worked on at once.
inline constexpr std::size_t kChunk = 4096;

/// `threads` as it was asked for: 0 is one for each processor; never more than 64.
inline std::size_t threadsFor(int threads) {
  constexpr std::size_t kMost = 64;
  const std::size_t wanted = threads > 0 ? static_cast<std::size_t>(threads) : std::thread::hardware_concurrency();
  return std::clamp<std::size_t>(wanted, 1, kMost);
}

/// Calls `work(first, count)` for each chunk of `total` points, which are the same whatever the threads, in no order.
/// What one throws is thrown here, when all have ended.
template <typename Work>
void inChunks(std::size_t total, int threads, const Work& work) {
  std::atomic<std::size_t> next = 0;
  std::exception_ptr thrown;
  std::mutex throwing;
  const auto take = [&] {
    try {
      for (std::size_t first = 0; (first = next.fetch_add(kChunk)) < total;) {
        work(first, std::min(kChunk, total - first));
      }
    } catch (...) {
      next = total;
      const std::lock_guard lock(throwing);
      thrown = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> helpers;
    const std::size_t chunks = (total + kChunk - 1) / kChunk;
    for (std::size_t n = 1; n < std::min(threadsFor(threads), chunks); ++n) helpers.emplace_back(take);
    take();
  }
  if (thrown) std::rethrow_exception(thrown);
}

}  // namespace queltool

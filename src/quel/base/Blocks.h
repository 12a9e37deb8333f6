// Many values in blocks, on several threads. Hidden in the library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace quel {

/// As many values are worked on at once: what they need in between lies on the stack.
inline constexpr std::size_t kBlock = 256;

/// `threads` as it was asked for: 0 is one for each processor; never more than 64.
int threadsFor(int threads);

/// Calls `work(first, count)` for each block of at most `kBlock` of `total` values, in no order. `work` must not throw.
template <typename Work>
void inBlocks(std::size_t total, int threads, const Work& work) {
  const auto blocks = static_cast<std::int64_t>((total + kBlock - 1) / kBlock);
  [[maybe_unused]] const int team = static_cast<int>(std::min<std::int64_t>(threadsFor(threads), blocks));
#pragma omp parallel for schedule(static) num_threads(team) if (team > 1)
  for (std::int64_t block = 0; block < blocks; ++block) {
    const std::size_t first = static_cast<std::size_t>(block) * kBlock;
    work(first, std::min(kBlock, total - first));
  }
}

}  // namespace quel

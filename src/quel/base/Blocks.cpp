#include "quel/base/Blocks.h"

#include <omp.h>

namespace quel {

int threadsFor(int threads) {
  constexpr int kMost = 64;
  return std::clamp(threads < 1 ? omp_get_num_procs() : threads, 1, kMost);
}

}  // namespace quel

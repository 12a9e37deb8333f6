// A cloud of points before a sample head, the same in every run.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "testing/SampleHead.h"

namespace quel::benchmarks {

inline std::vector<quel::Vec3> cloudBefore(const testing::SampleHead& head, std::size_t count) {
  std::mt19937_64 random(20261121);
  std::vector<quel::Vec3> cloud(count);
  for (quel::Vec3& point : cloud) point = head.randomPoint(random);
  return cloud;
}

inline const double (*asPoints(const std::vector<quel::Vec3>& cloud))[3] {
  return reinterpret_cast<const double(*)[3]>(cloud.data());
}

/// Ends the program: what is wrong is not worth timing.
inline void demand(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "not timed: %s\n", what);
  std::exit(1);
}

}  // namespace quel::benchmarks

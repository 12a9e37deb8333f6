// What tests of kernels share: the widths that this machine runs, and numbers that no kernel may treat otherwise than
// plain code does.
#pragma once

#include <bit>
#include <cmath>
#include <limits>
#include <vector>

#include "quelkernels/widths.h"
#include "testing/Numbers.h"

namespace quel::testing {

inline std::vector<quelkernels::Width> widthsOfThisMachine() {
  std::vector<quelkernels::Width> widths;
  for (int n = 0; n < quelkernels::kWidths; ++n) {
    const auto width = static_cast<quelkernels::Width>(n);
    if (quelkernels::machineRuns(width)) widths.push_back(width);
  }
  return widths;
}

/// Same bits, or NaN both: which NaN comes of two is left open by plain code as well.
template <typename Number>
bool sameNumber(Number a, Number b) {
  return (std::isnan(a) && std::isnan(b)) || std::memcmp(&a, &b, sizeof a) == 0;
}

/// Zeros of both signs, denormals, the largest, infinities, NaN; or any bits at all; or a coordinate.
inline double awkwardNumber(std::mt19937_64& random) {
  using Limits = std::numeric_limits<double>;
  constexpr double kSpecial[] = {0.0,
                                 -0.0,
                                 Limits::denorm_min(),
                                 -Limits::denorm_min(),
                                 Limits::min(),
                                 Limits::max(),
                                 -Limits::max(),
                                 Limits::infinity(),
                                 -Limits::infinity(),
                                 Limits::quiet_NaN(),
                                 1.0,
                                 -1.0};
  switch (random() % 4) {
    case 0:
      return kSpecial[random() % std::size(kSpecial)];
    case 1:
      return std::bit_cast<double>(random());
    default:
      return uniform(random, -1000.0, 1000.0);
  }
}

/// Sizes around those of the packs and blocks.
inline constexpr int kAwkwardCounts[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 63, 64, 65, 100, 255, 256};

}  // namespace quel::testing

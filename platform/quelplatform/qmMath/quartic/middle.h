// Where to cut an interval of doubles that holds a root.
#pragma once

#include <bit>
#include <cstdint>

namespace quelplatform {

/// A number between `low` and `high` that halves the distance, or, where that spans orders of magnitude, the number of
/// doubles between them.
inline double middle(double low, double high) {
  if (low < 0.0 && high > 0.0) return 0.0;
  if (low < 0.0) return -middle(0.0 - high, -low);
  if (high <= 4.0 * low) return low + 0.5 * (high - low);
  const auto a = std::bit_cast<std::uint64_t>(low + 0.0), b = std::bit_cast<std::uint64_t>(high);
  return std::bit_cast<double>(a + (b - a) / 2);
}

}  // namespace quelplatform

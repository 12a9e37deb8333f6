// Exponents of doubles without a call: what std::ilogb and std::ldexp give for normal numbers.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

namespace quelplatform {

inline constexpr int kExponentOfOne = 1023;  // as a double holds it
inline constexpr int kFractionBits = 52;

/// std::ilogb of a finite number other than 0.
inline int binaryExponent(double x) {
  const auto held = static_cast<int>(std::bit_cast<std::uint64_t>(x) >> kFractionBits & 0x7FFU);
  return held != 0 ? held - kExponentOfOne : std::ilogb(x);
}

/// 2^exponent, from -1022 to 1023.
inline double powerOfTwo(int exponent) {
  return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + kExponentOfOne) << kFractionBits);
}

}  // namespace quelplatform

// Unit vectors of vectors of any size.
#pragma once

#include <algorithm>
#include <cmath>

namespace quelplatform {

/// out = in / |in|, scaled by a power of two beforehand, so that no square over- or underflows; otherwise the very bits
/// of the plain quotient. False, with `out` = `in`, for a zero vector or one that is not finite. `in` and `out` may be
/// the same.
inline bool unitVector(const double in[3], double out[3]) noexcept {
  const double largest = std::max({std::abs(in[0]), std::abs(in[1]), std::abs(in[2])});
  const bool usable = std::isfinite(in[0]) && std::isfinite(in[1]) && std::isfinite(in[2]) && largest > 0.0;
  if (!usable) {
    std::copy(in, in + 3, out);
    return false;
  }
  const int exponent = std::ilogb(largest);
  double scaled[3];
  for (int i = 0; i < 3; ++i) scaled[i] = std::ldexp(in[i], -exponent);
  const double length = std::sqrt((scaled[0] * scaled[0] + scaled[1] * scaled[1]) + scaled[2] * scaled[2]);
  for (int i = 0; i < 3; ++i) out[i] = scaled[i] / length;
  return true;
}

}  // namespace quelplatform

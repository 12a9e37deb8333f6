// Vectors in space of doubled precision.
#pragma once

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/exact/DoubleDouble.h"

namespace quelplatform {

struct WideVec3 {
  DoubleDouble v[3];
};

inline WideVec3 wide(const double a[3]) { return {{{a[0], 0.0}, {a[1], 0.0}, {a[2], 0.0}}}; }

/// a - b, exactly.
inline WideVec3 exactDifference(const double a[3], const double b[3]) {
  return {{exactSum(a[0], -b[0]), exactSum(a[1], -b[1]), exactSum(a[2], -b[2])}};
}

/// The power of two that brings the largest of three components to a size of 1; 1 for zero and what is not finite.
inline double directionScale(const double a[3]) {
  constexpr int kLargestExponent = 1022;
  const double largest = std::max({std::abs(a[0]), std::abs(a[1]), std::abs(a[2])});
  if (!(largest > 0.0) || !std::isfinite(largest)) return 1.0;
  return std::ldexp(1.0, std::clamp(-std::ilogb(largest), -kLargestExponent, kLargestExponent));
}

/// A direction brought to a size of 1.
inline WideVec3 scaledDirection(const double a[3]) {
  const double scale = directionScale(a);
  return {{{a[0] * scale, 0.0}, {a[1] * scale, 0.0}, {a[2] * scale, 0.0}}};
}

inline WideVec3 operator+(const WideVec3& a, const WideVec3& b) {
  return {{a.v[0] + b.v[0], a.v[1] + b.v[1], a.v[2] + b.v[2]}};
}

inline WideVec3 operator*(DoubleDouble s, const WideVec3& a) { return {{s * a.v[0], s * a.v[1], s * a.v[2]}}; }

inline DoubleDouble dot(const WideVec3& a, const WideVec3& b) {
  return (a.v[0] * b.v[0] + a.v[1] * b.v[1]) + a.v[2] * b.v[2];
}

/// Exactly zero for plain vectors that are exactly parallel: both products are then exact and the same.
inline WideVec3 cross(const WideVec3& a, const WideVec3& b) {
  return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}

}  // namespace quelplatform

// Vectors as the nominals compute with them.
#pragma once

#include <cmath>

#include "files/Values.h"

namespace queltool {

inline Vec3 plus(const Vec3& a, const Vec3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
inline Vec3 minus(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
inline Vec3 times(double factor, const Vec3& a) { return {factor * a[0], factor * a[1], factor * a[2]}; }

inline Vec3 cross(const Vec3& a, const Vec3& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// The direction of `a`; 0 for a vector that has none.
inline Vec3 unit(const Vec3& a) {
  const double length = std::hypot(a[0], a[1], a[2]);
  return length > 0.0 && std::isfinite(length) ? Vec3{a[0] / length, a[1] / length, a[2] / length} : Vec3{};
}

inline bool isFinite(const Vec3& a) { return std::isfinite(a[0]) && std::isfinite(a[1]) && std::isfinite(a[2]); }

}  // namespace queltool

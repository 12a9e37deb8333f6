// Vectors and matrices that the tools share: plain arrays, matrices row by row.
#pragma once

#include <array>

namespace toolbox {

using Vec2 = std::array<double, 2>;
using Vec3 = std::array<double, 3>;
using Mat3 = std::array<Vec3, 3>;
using Mat4 = std::array<std::array<double, 4>, 4>;

/// a . b, summed from left to right.
inline double dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace toolbox

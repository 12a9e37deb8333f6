// Vectors and matrices: plain arrays of doubles, matrices row by row.
#pragma once

#include <array>

namespace quel {

#pragma GCC visibility push(default)

using Vec2 = std::array<double, 2>;
using Vec3 = std::array<double, 3>;
using Mat3 = std::array<Vec3, 3>;
using Mat4 = std::array<std::array<double, 4>, 4>;

/// a . b, summed from left to right.
inline double dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

#pragma GCC visibility pop

}  // namespace quel

// 3-vectors and 3x3 matrices of the tensor functions. Sums run from left to right.
#pragma once

#include <algorithm>
#include <cmath>

namespace quelcore {

inline double dot(const double a[3], const double b[3]) { return (a[0] * b[0] + a[1] * b[1]) + a[2] * b[2]; }

inline double length(const double v[3]) { return std::sqrt(dot(v, v)); }

inline void copyMat3(const double from[3][3], double to[3][3]) {
  for (int row = 0; row < 3; ++row) std::copy(from[row], from[row] + 3, to[row]);
}

/// out = M v; `out` is none of the arguments.
inline void multiply(const double M[3][3], const double v[3], double out[3]) {
  for (int row = 0; row < 3; ++row) out[row] = dot(M[row], v);
}

/// out = M N; `out` is none of the arguments.
inline void multiply(const double M[3][3], const double N[3][3], double out[3][3]) {
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      out[row][column] = (M[row][0] * N[0][column] + M[row][1] * N[1][column]) + M[row][2] * N[2][column];
    }
  }
}

}  // namespace quelcore

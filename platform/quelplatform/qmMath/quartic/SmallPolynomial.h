// Polynomials of degree up to 4.
#pragma once

namespace quelplatform {

/// The sum of c[i] x^i for i from 0 to `degree`; neither c[0] nor c[degree] is 0.
struct SmallPolynomial {
  int degree = 0;
  double c[5] = {};
};

/// i over k.
inline constexpr double kBinomial[5][5] = {
    {1, 0, 0, 0, 0}, {1, 1, 0, 0, 0}, {1, 2, 1, 0, 0}, {1, 3, 3, 1, 0}, {1, 4, 6, 4, 1}};

}  // namespace quelplatform

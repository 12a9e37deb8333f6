// Polynomials in doubled precision, with the band that their coefficients may move in.
#pragma once

#include <cmath>

#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/quartic/SmallPolynomial.h"

namespace quelplatform {

/// Coefficients may move by so many units in their last place.
inline constexpr double kUnits = 4.0;

/// A change of one tolerance, but for rounding.
inline constexpr double kAlmostOne = 1.0 + 1e-9;

/// The sum of c[i] x^i, each c[i] free to move by up to tolerance[i].
struct BandedPolynomial {
  int degree = 0;
  DoubleDouble c[5];
  double tolerance[5] = {};
};

inline DoubleDouble valueAt(const BandedPolynomial& polynomial, double x) {
  DoubleDouble value = polynomial.c[polynomial.degree];
  for (int i = polynomial.degree - 1; i >= 0; --i) value = x * value + polynomial.c[i];
  return value;
}

/// How far the value at x may move: the sum of tolerance[i] |x|^i.
inline double bandAt(const BandedPolynomial& polynomial, double x) {
  double band = polynomial.tolerance[polynomial.degree];
  for (int i = polynomial.degree - 1; i >= 0; --i) band = band * std::abs(x) + polynomial.tolerance[i];
  return band;
}

/// The derivative at x.
inline double slopeAt(const BandedPolynomial& polynomial, double x) {
  double slope = 0.0;
  for (int i = polynomial.degree; i > 0; --i) slope = slope * x + i * polynomial.c[i].hi;
  return slope;
}

/// p^(order) / order!.
inline BandedPolynomial derivative(const BandedPolynomial& polynomial, int order) {
  BandedPolynomial result;
  result.degree = polynomial.degree - order;
  for (int i = order; i <= polynomial.degree; ++i) {
    result.c[i - order] = kBinomial[i][order] * polynomial.c[i];
    result.tolerance[i - order] = kBinomial[i][order] * polynomial.tolerance[i];
  }
  return result;
}

/// `polynomial` with tolerances of `kUnits` units in the last place; a coefficient of 0 stays 0.
inline BandedPolynomial banded(const SmallPolynomial& polynomial) {
  BandedPolynomial result;
  result.degree = polynomial.degree;
  for (int i = 0; i <= polynomial.degree; ++i) {
    result.c[i] = {polynomial.c[i], 0.0};
    if (polynomial.c[i] != 0.0) result.tolerance[i] = std::ldexp(kUnits, std::ilogb(polynomial.c[i]) - 52);
  }
  return result;
}

}  // namespace quelplatform

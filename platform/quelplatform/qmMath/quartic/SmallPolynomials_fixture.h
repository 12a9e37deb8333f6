// What the tests of the solver's parts share: polynomials in the form that the parts take, and their answers in the
// form that exact arithmetic judges.
#pragma once

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/quartic/QuarticChecks_fixture.h"
#include "quelplatform/qmMath/quartic/RealRoots.h"
#include "quelplatform/qmMath/quartic/SmallPolynomial.h"

namespace quel::testing {

/// The polynomial without its roots at 0 and without leading zeros; of degree -1 when nothing remains.
inline quelplatform::SmallPolynomial smallPolynomial(const Quartic& c) {
  const auto isSomething = [](double x) { return x != 0.0; };
  const auto low = std::find_if(c.begin(), c.end(), isSomething);
  const auto high = std::find_if(c.rbegin(), c.rend(), isSomething).base();
  quelplatform::SmallPolynomial polynomial;
  polynomial.degree = static_cast<int>(high - low) - 1;
  if (polynomial.degree >= 0) std::copy(low, high, polynomial.c);
  return polynomial;
}

/// `polynomial` without its leading coefficients above `degree`.
inline quelplatform::SmallPolynomial cut(const Quartic& c, int degree) {
  Quartic lower = {};
  std::copy_n(c.begin(), degree + 1, lower.begin());
  return smallPolynomial(lower);
}

inline Quartic quarticOf(const quelplatform::SmallPolynomial& polynomial) {
  Quartic c = {};
  std::copy_n(polynomial.c, polynomial.degree + 1, c.begin());
  return c;
}

inline Solved solvedOf(const quelplatform::SmallPolynomial& polynomial, const quelplatform::RealRoots& roots) {
  Solved s;
  s.result = 1;
  s.kind = 3;
  s.count = roots.count;
  s.degree = polynomial.degree;
  s.change = roots.change;
  std::copy_n(roots.at, 4, s.roots.begin());
  return s;
}

/// A power of two beyond all roots (Cauchy's bound).
inline double rootBoundOf(const quelplatform::SmallPolynomial& polynomial) {
  double most = 0.0;
  for (int i = 0; i < polynomial.degree; ++i) most = std::max(most, std::abs(polynomial.c[i]));
  return std::ldexp(1.0, std::ilogb(1.0 + most / std::abs(polynomial.c[polynomial.degree])) + 2);
}

}  // namespace quel::testing

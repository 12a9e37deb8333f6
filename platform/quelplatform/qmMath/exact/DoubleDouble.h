// Numbers of twice the precision of a double, for results that must be right to the last digit.
//
// A value is the exact sum hi + lo with |lo| at most half a unit in the last place of hi, about 106 bits. Every
// operation is good to a few units of 2^-104 as long as nothing over- or underflows; users scale beforehand.
#pragma once

#include <cmath>

namespace quelplatform {

struct DoubleDouble {
  double hi = 0.0;
  double lo = 0.0;
};

/// a + b exactly, where |a| >= |b| or a is 0.
inline DoubleDouble quickSum(double a, double b) {
  const double sum = a + b;
  return {sum, b - (sum - a)};
}

/// a + b exactly.
inline DoubleDouble exactSum(double a, double b) {
  const double sum = a + b;
  const double partB = sum - a;
  return {sum, (a - (sum - partB)) + (b - partB)};
}

/// a b exactly.
inline DoubleDouble exactProduct(double a, double b) {
  const double product = a * b;
  return {product, std::fma(a, b, -product)};
}

inline DoubleDouble operator-(DoubleDouble a) { return {-a.hi, -a.lo}; }

inline DoubleDouble operator+(DoubleDouble a, DoubleDouble b) {
  const DoubleDouble high = exactSum(a.hi, b.hi);
  const DoubleDouble low = exactSum(a.lo, b.lo);
  const DoubleDouble sum = quickSum(high.hi, high.lo + low.hi);
  return quickSum(sum.hi, sum.lo + low.lo);
}

inline DoubleDouble operator-(DoubleDouble a, DoubleDouble b) { return a + -b; }

inline DoubleDouble operator*(double a, DoubleDouble b) {
  const DoubleDouble product = exactProduct(a, b.hi);
  return quickSum(product.hi, product.lo + a * b.lo);
}

inline DoubleDouble operator*(DoubleDouble a, DoubleDouble b) {
  const DoubleDouble product = exactProduct(a.hi, b.hi);
  return quickSum(product.hi, product.lo + (a.hi * b.lo + a.lo * b.hi));
}

/// a / b.
inline DoubleDouble operator/(DoubleDouble a, DoubleDouble b) {
  const double first = a.hi / b.hi;
  const DoubleDouble rest = a - first * b;
  const double second = rest.hi / b.hi;
  const double third = (rest - second * b).hi / b.hi;
  const DoubleDouble leading = quickSum(first, second);
  return quickSum(leading.hi, leading.lo + third);
}

/// a / b, rounded to a double.
inline double roundedQuotient(DoubleDouble a, DoubleDouble b) {
  const double first = a.hi / b.hi;
  const DoubleDouble rest = a - first * b;
  return first + rest.hi / b.hi;
}

}  // namespace quelplatform

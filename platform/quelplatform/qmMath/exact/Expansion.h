// Exact sums and products of doubles, for decisions that must not depend on rounding.
//
// A value is the exact sum of its terms, none of them zero, each too small to touch a bit of the next (Shewchuk,
// "Adaptive Precision Floating-Point Arithmetic", 1997). Exact as long as no product over- or underflows; users scale
// beforehand.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "quelplatform/qmMath/exact/DoubleDouble.h"

namespace quelplatform {

class Expansion {
 public:
  Expansion() {}  // The terms stay unset: most values have few.
  Expansion(const Expansion& other) : count_(other.count_) {
    std::copy_n(other.terms_.begin(), other.count_, terms_.begin());
  }
  Expansion& operator=(const Expansion& other) {
    count_ = other.count_;
    std::copy_n(other.terms_.begin(), other.count_, terms_.begin());
    return *this;
  }
  explicit Expansion(double value) { add(value); }

  /// a - b, exactly.
  static Expansion difference(double a, double b) {
    const DoubleDouble exact = exactSum(a, -b);
    Expansion result;
    result.push(exact.lo);
    result.push(exact.hi);
    return result;
  }

  Expansion& operator+=(const Expansion& other) {
    for (int i = 0; i < other.count_; ++i) add(other.terms_[static_cast<std::size_t>(i)]);
    return *this;
  }

  Expansion& operator-=(const Expansion& other) {
    for (int i = 0; i < other.count_; ++i) add(-other.terms_[static_cast<std::size_t>(i)]);
    return *this;
  }

  friend Expansion operator+(Expansion a, const Expansion& b) { return a += b; }
  friend Expansion operator-(Expansion a, const Expansion& b) { return a -= b; }

  friend Expansion operator*(const Expansion& a, double factor) {
    Expansion result;
    for (int i = 0; i < a.count_; ++i) {
      const DoubleDouble product = exactProduct(a.terms_[static_cast<std::size_t>(i)], factor);
      if (product.lo != 0.0) result.add(product.lo);
      if (product.hi != 0.0) result.add(product.hi);
    }
    return result;
  }

  friend Expansion operator*(const Expansion& a, const Expansion& b) {
    Expansion result;
    for (int i = 0; i < b.count_; ++i) result += a * b.terms_[static_cast<std::size_t>(i)];
    return result;
  }

  /// The value, right to a few units in the last place.
  double rounded() const {
    double sum = 0.0;
    for (int i = 0; i < count_; ++i) sum += terms_[static_cast<std::size_t>(i)];
    return sum;
  }

  /// -1, 0 or 1.
  int sign() const {
    if (count_ == 0) return 0;
    return terms_[static_cast<std::size_t>(count_ - 1)] < 0.0 ? -1 : 1;
  }

 private:
  /// A determinant of three vectors, two of them differences, takes at most 96.
  static constexpr std::size_t kMostTerms = 96;

  void push(double term) {
    if (term != 0.0 && static_cast<std::size_t>(count_) < kMostTerms) terms_[static_cast<std::size_t>(count_++)] = term;
  }

  void add(double value) {
    const int before = count_;
    count_ = 0;
    for (int i = 0; i < before; ++i) {
      const DoubleDouble sum = exactSum(value, terms_[static_cast<std::size_t>(i)]);
      push(sum.lo);
      value = sum.hi;
    }
    push(value);
  }

  std::array<double, kMostTerms> terms_;
  int count_ = 0;
};

/// The sign of a . (b x c).
inline int tripleSign(const Expansion (&a)[3], const Expansion (&b)[3], const Expansion (&c)[3]) {
  Expansion sum;
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3;
    const int k = (i + 2) % 3;
    sum += (b[j] * c[k] - b[k] * c[j]) * a[i];
  }
  return sum.sign();
}

}  // namespace quelplatform

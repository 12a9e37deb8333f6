// Polynomials for tests: exact values, and exact counts of real roots by Sturm's chain. Coefficients are rational, or
// dyadic where a test asks for many.
#pragma once

#include <gmpxx.h>

#include <vector>

#include "quelplatform/qmMath/quartic/Dyadic_fixture.h"

namespace quel::testing {

inline void multiplyByPowerOfTwo(mpq_class& x, int power) {
  power >= 0 ? x <<= static_cast<unsigned>(power) : x >>= static_cast<unsigned>(-power);
}
inline void multiplyByPowerOfTwo(Dyadic& x, int power) { x.multiplyByPowerOfTwo(power); }

/// Keeps the terms of a chain short, by a positive factor.
inline void shorten(std::vector<mpq_class>& c) {
  const mpq_class size = abs(c.back());
  for (mpq_class& x : c) x /= size;
}
inline void shorten(std::vector<Dyadic>& c) { Dyadic::divideByCommonFactor(c); }

/// c[i] belongs to x^i; the last entry is not 0, and the zero polynomial has none.
template <class Number>
class PolynomialOf {
 public:
  PolynomialOf() = default;
  explicit PolynomialOf(std::vector<Number> c) : c_(std::move(c)) { trim(); }

  int degree() const { return static_cast<int>(c_.size()) - 1; }
  const Number& operator[](int i) const { return c_[static_cast<std::size_t>(i)]; }

  Number operator()(const Number& x) const {
    Number value = 0;
    for (int i = degree(); i >= 0; --i) {
      value *= x;
      value += (*this)[i];
    }
    return value;
  }

  PolynomialOf derivative() const {
    std::vector<Number> c;
    for (int i = 1; i <= degree(); ++i) c.push_back(Number(i) * (*this)[i]);
    return PolynomialOf(std::move(c));
  }

  /// The number of real roots in (low, high], each as often as its multiplicity says.
  int realRoots(const Number& low, const Number& high) const {
    if (degree() < 1) return 0;
    const std::vector<PolynomialOf> chain = sturmChain();
    return signChanges(chain, low) - signChanges(chain, high) + chain.back().realRoots(low, high);
  }

  /// The number of all real roots, likewise.
  int realRoots() const {
    if (degree() < 1) return 0;
    const std::vector<PolynomialOf> chain = sturmChain();
    return signChangesFarOut(chain, -1) - signChangesFarOut(chain, 1) + chain.back().realRoots();
  }

 private:
  void trim() {
    while (!c_.empty() && c_.back() == 0) c_.pop_back();
  }

  // The negative remainder of a division by `divisor`, times a positive number.
  PolynomialOf negativeRemainder(const PolynomialOf& divisor) const {
    std::vector<Number> rest = c_;
    const Number lead = abs(divisor.c_.back());
    for (int top = degree(); top >= divisor.degree(); --top) {
      const Number factor = rest.back() * Number(sgn(divisor.c_.back()));
      rest.pop_back();
      for (Number& c : rest) c *= lead;
      for (int i = 0; i < divisor.degree(); ++i) {
        rest[static_cast<std::size_t>(top - divisor.degree() + i)] -= Number(factor * divisor[i]);
      }
    }
    for (Number& c : rest) c = -c;
    PolynomialOf result(std::move(rest));
    if (result.degree() >= 0) shorten(result.c_);
    return result;
  }

  // Ends in the greatest common divisor with the derivative.
  std::vector<PolynomialOf> sturmChain() const {
    std::vector<PolynomialOf> chain = {*this, derivative()};
    for (;;) {
      PolynomialOf next = chain[chain.size() - 2].negativeRemainder(chain.back());
      if (next.degree() < 0) return chain;
      chain.push_back(std::move(next));
    }
  }

  static int signChanges(const std::vector<PolynomialOf>& chain, const Number& x) {
    return signChanges(chain, [&x](const PolynomialOf& p) { return sgn(p(x)); });
  }

  // Beyond all roots, on one side of them.
  static int signChangesFarOut(const std::vector<PolynomialOf>& chain, int side) {
    return signChanges(chain,
                       [side](const PolynomialOf& p) { return sgn(p.c_.back()) * (p.degree() % 2 == 1 ? side : 1); });
  }

  template <class SignOf>
  static int signChanges(const std::vector<PolynomialOf>& chain, SignOf signOf) {
    int changes = 0, last = 0;
    for (const PolynomialOf& p : chain) {
      const int sign = signOf(p);
      if (sign == 0) continue;
      changes += last != 0 && sign != last ? 1 : 0;
      last = sign;
    }
    return changes;
  }

  std::vector<Number> c_;
};

using ExactPolynomial = PolynomialOf<mpq_class>;

}  // namespace quel::testing

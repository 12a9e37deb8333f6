// Polynomials with rational coefficients for tests: exact values, and exact counts of real roots by Sturm's chain.
#pragma once

#include <gmpxx.h>

#include <initializer_list>
#include <vector>

namespace quel::testing {

/// c[i] belongs to x^i; the last entry is not 0, and the zero polynomial has none.
class ExactPolynomial {
 public:
  ExactPolynomial() = default;
  explicit ExactPolynomial(std::vector<mpq_class> c) : c_(std::move(c)) { trim(); }

  int degree() const { return static_cast<int>(c_.size()) - 1; }
  const mpq_class& operator[](int i) const { return c_[static_cast<std::size_t>(i)]; }

  mpq_class operator()(const mpq_class& x) const {
    mpq_class value;
    for (int i = degree(); i >= 0; --i) value = value * x + (*this)[i];
    return value;
  }

  ExactPolynomial derivative() const {
    std::vector<mpq_class> c;
    for (int i = 1; i <= degree(); ++i) c.push_back(i * (*this)[i]);
    return ExactPolynomial(std::move(c));
  }

  /// The number of real roots in (low, high], each as often as its multiplicity says.
  int realRoots(const mpq_class& low, const mpq_class& high) const {
    if (degree() < 1) return 0;
    const std::vector<ExactPolynomial> chain = sturmChain();
    return signChanges(chain, low) - signChanges(chain, high) + chain.back().realRoots(low, high);
  }

 private:
  void trim() {
    while (!c_.empty() && c_.back() == 0) c_.pop_back();
  }

  // The negative remainder of a division by `divisor`, its leading coefficient taken to 1 or -1.
  ExactPolynomial negativeRemainder(const ExactPolynomial& divisor) const {
    std::vector<mpq_class> rest = c_;
    for (int top = degree(); top >= divisor.degree(); --top) {
      const mpq_class factor = rest[static_cast<std::size_t>(top)] / divisor.c_.back();
      for (int i = 0; i <= divisor.degree(); ++i) {
        rest[static_cast<std::size_t>(top - divisor.degree() + i)] -= factor * divisor[i];
      }
      rest.pop_back();
    }
    ExactPolynomial result(std::move(rest));
    if (result.degree() < 0) return result;
    const mpq_class size = -abs(result.c_.back());
    for (mpq_class& c : result.c_) c /= size;
    return result;
  }

  // Ends in the greatest common divisor with the derivative.
  std::vector<ExactPolynomial> sturmChain() const {
    std::vector<ExactPolynomial> chain = {*this, derivative()};
    for (;;) {
      ExactPolynomial next = chain[chain.size() - 2].negativeRemainder(chain.back());
      if (next.degree() < 0) return chain;
      chain.push_back(std::move(next));
    }
  }

  static int signChanges(const std::vector<ExactPolynomial>& chain, const mpq_class& x) {
    int changes = 0, last = 0;
    for (const ExactPolynomial& p : chain) {
      const int sign = sgn(p(x));
      if (sign == 0) continue;
      changes += last != 0 && sign != last ? 1 : 0;
      last = sign;
    }
    return changes;
  }

  std::vector<mpq_class> c_;
};

}  // namespace quel::testing

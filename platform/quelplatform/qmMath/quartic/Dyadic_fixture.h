// Numbers m 2^e of any length, for tests: sums and products of doubles are exact, without the fractions that rational
// numbers reduce at each step, so they take a tenth of the time.
#pragma once

#include <gmpxx.h>

#include <cmath>
#include <utility>
#include <vector>

namespace quel::testing {

class Dyadic {
 public:
  Dyadic() = default;
  // Not explicit: whole numbers and doubles are such numbers.
  Dyadic(int value) : mantissa_(value) {}
  Dyadic(double value) {
    mantissa_ = std::ldexp(std::frexp(value, &exponent_), 53);  // a whole number
    exponent_ -= 53;
    const auto zeros = value == 0.0 ? 0 : mpz_scan1(mantissa_.get_mpz_t(), 0);
    mantissa_ >>= zeros;
    exponent_ += static_cast<int>(zeros);
  }

  Dyadic& operator+=(const Dyadic& other) { return add<mpz_add>(other); }
  Dyadic& operator-=(const Dyadic& other) { return add<mpz_sub>(other); }
  Dyadic& operator*=(const Dyadic& other) {
    mantissa_ *= other.mantissa_;
    exponent_ += other.exponent_;
    return *this;
  }
  void multiplyByPowerOfTwo(int power) { exponent_ += power; }

  friend Dyadic operator+(Dyadic a, const Dyadic& b) { return a += b; }
  friend Dyadic operator-(Dyadic a, const Dyadic& b) { return a -= b; }
  friend Dyadic operator*(Dyadic a, const Dyadic& b) { return a *= b; }
  friend Dyadic operator-(Dyadic a) {
    mpz_neg(a.mantissa_.get_mpz_t(), a.mantissa_.get_mpz_t());
    return a;
  }
  friend Dyadic abs(Dyadic a) {
    mpz_abs(a.mantissa_.get_mpz_t(), a.mantissa_.get_mpz_t());
    return a;
  }
  friend int sgn(const Dyadic& a) { return sgn(a.mantissa_); }
  friend bool operator==(const Dyadic& a, const Dyadic& b) { return sgn(a - b) == 0; }
  friend bool operator<(const Dyadic& a, const Dyadic& b) { return sgn(a - b) < 0; }
  friend bool operator>(const Dyadic& a, const Dyadic& b) { return b < a; }
  friend bool operator<=(const Dyadic& a, const Dyadic& b) { return !(b < a); }

  /// Divides all numbers by the greatest whole number that divides their mantissas.
  static void divideByCommonFactor(std::vector<Dyadic>& numbers) {
    mpz_class common;
    for (const Dyadic& x : numbers) mpz_gcd(common.get_mpz_t(), common.get_mpz_t(), x.mantissa_.get_mpz_t());
    if (common == 0) return;
    for (Dyadic& x : numbers) mpz_divexact(x.mantissa_.get_mpz_t(), x.mantissa_.get_mpz_t(), common.get_mpz_t());
  }

 private:
  template <auto kAdd>
  Dyadic& add(const Dyadic& other) {
    if (sgn(other.mantissa_) == 0) return *this;
    if (exponent_ > other.exponent_) {
      mantissa_ <<= static_cast<unsigned>(exponent_ - other.exponent_);
      exponent_ = other.exponent_;
    }
    if (exponent_ == other.exponent_) {
      kAdd(mantissa_.get_mpz_t(), mantissa_.get_mpz_t(), other.mantissa_.get_mpz_t());
    } else {
      const mpz_class shifted = other.mantissa_ << static_cast<unsigned>(other.exponent_ - exponent_);
      kAdd(mantissa_.get_mpz_t(), mantissa_.get_mpz_t(), shifted.get_mpz_t());
    }
    return *this;
  }

  mpz_class mantissa_;
  int exponent_ = 0;
};

}  // namespace quel::testing

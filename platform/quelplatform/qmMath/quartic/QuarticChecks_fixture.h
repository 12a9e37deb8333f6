// What tests hold the quartic solver to: exact arithmetic decides whether count and roots are those of a quartic whose
// coefficients lie within 4 units in the last place.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "quelplatform/qmMath/qmMathSolve.h"
#include "quelplatform/qmMath/quartic/ExactPolynomial_fixture.h"

namespace quel::testing {

/// c[i] belongs to x^i.
using Quartic = std::array<double, 5>;

struct Solved {
  std::int32_t result = -1, count = -1, kind = -1;
  double degree = -1.0, change = -1.0;
  std::array<double, 4> roots = {};

  std::vector<double> all() const { return {roots.begin(), roots.begin() + count}; }
};

inline Solved solved(const Quartic& c) {
  Solved s;
  s.result = qmMathSolveQuartic(c[4], c[3], c[2], c[1], c[0], &s.count, &s.kind, &s.degree, &s.change, s.roots.data());
  return s;
}

inline std::string text(const Quartic& c, const Solved& s) {
  std::ostringstream out;
  out.precision(17);
  for (int i = 4; i >= 0; --i) out << c[static_cast<std::size_t>(i)] << (i > 0 ? ", " : " ->");
  for (const double x : s.all()) out << ' ' << x;
  out << " (change " << s.change << ")";
  return out.str();
}

// Exact numbers are rational, or dyadic (Dyadic_fixture.h), which is several times as fast: a check is the same with
// both, and no number in it needs a division.

inline constexpr double kNearlyHalf = 0x1.008p-1;    ///< Half a unit, and a little for what the solver rounds.
inline constexpr double kTwiceRounded = 0x1.808p-1;  ///< The same for a subnormal root, which is rounded a second time.
inline constexpr double kAndALittle = 0x1.004p+0;    ///< What tolerances are stretched by.
inline constexpr double kNearlyAll = 0x1.fcp-1;      ///< The part of the tolerances that must decide about pairs.

/// How far a coefficient may move: so many units in the last place, for a subnormal number as if it were normal.
template <class Number = mpq_class>
Number toleranceOf(double c) {
  if (c == 0.0) return Number(0);
  Number result(quelplatform::kQuarticUnits);
  multiplyByPowerOfTwo(result, std::ilogb(c) - 52);
  return result;
}

template <class Number>
Number halfUnitAt(double x) {
  const double size = std::abs(x), next = std::nextafter(size, std::numeric_limits<double>::infinity());
  Number unit(1);
  if (std::isfinite(next)) {
    unit = Number(next) - Number(size);
  } else {
    multiplyByPowerOfTwo(unit, std::ilogb(size) - 52);
  }
  multiplyByPowerOfTwo(unit, -1);
  return unit;
}

/// The quartic whose coefficients are moved by `part` of their tolerance, all upwards as seen from the positive (side
/// 1) or the negative (side -1) half of the axis.
template <class Number = mpq_class>
PolynomialOf<Number> moved(const Quartic& c, double part = 0.0, int side = 1) {
  std::vector<Number> result;
  for (std::size_t i = 0; i < 5; ++i) {
    result.push_back(Number(c[i]));
    if (part != 0.0) result.back() += Number(side < 0 && i % 2 == 1 ? -part : part) * toleranceOf<Number>(c[i]);
  }
  return PolynomialOf<Number>(std::move(result));
}

/// The real roots that a double can hold.
template <class Number>
int finiteRoots(const PolynomialOf<Number>& p) {
  constexpr int kBeyond = 1024;
  Number bound = p.degree() < 0 ? Number(0) : Number(abs(p[p.degree()]));
  multiplyByPowerOfTwo(bound, kBeyond - 1);
  bool allWithin = true;  // Cauchy's bound: a root is less than 1 + max |c[i] / c[degree]|
  for (int i = 0; i < p.degree(); ++i) allWithin = allWithin && abs(p[i]) <= bound;
  if (allWithin) return p.realRoots();
  Number beyond(1);
  multiplyByPowerOfTwo(beyond, kBeyond);
  return p.realRoots(Number(-beyond), beyond);
}

/// The most finite real roots among the four outermost quartics about the given one.
template <class Number>
int mostRealRoots(const Quartic& c) {
  int most = 0;
  for (const int side : {-1, 1}) {
    for (const double part : {-kNearlyAll, kNearlyAll})
      most = std::max(most, finiteRoots(moved<Number>(c, part, side)));
  }
  return most;
}

/// Whether some number that rounds to `x` is a root of a quartic within the tolerances: the value there is at most what
/// the tolerances, the slope and, times x^2, the bend give.
template <class Number>
bool isRootWithinTolerance(const Quartic& c, double x) {
  const Number half = halfUnitAt<Number>(x) * Number(kAndALittle), at(x), size = abs(at), reach = size + half;
  const PolynomialOf<Number> p = moved<Number>(c), slope = p.derivative();
  Number band(0), bend(0), power(1);
  for (std::size_t i = 0; i < 5; ++i) {
    band += Number(toleranceOf<Number>(c[i]) * power);
    bend += Number(Number(16) * abs(Number(c[i])) * power);
    power *= reach;
  }
  const Number value = abs(p(at)), straight = band + abs(slope(at)) * half;
  if (sgn(size) == 0) return value <= Number(straight + bend);
  const Number square = size * size;
  return Number(value * square) <= Number(straight * square + bend * half * half);
}

/// Whether `x` is a root of the quartic itself, rounded with an error of at most `units` units in the last place: there
/// is one within them.
template <class Number = mpq_class>
bool isRoundedRoot(const Quartic& c, double x, double units) {
  const PolynomialOf<Number> p = moved<Number>(c);
  const Number reach = Number(2) * halfUnitAt<Number>(x) * Number(units), at(x), low = at - reach, high = at + reach;
  return sgn(p(low)) * sgn(p(high)) <= 0 || p.realRoots(low, high) > 0;
}

/// A number given as `over` / `under`, of which `under` is positive.
template <class Number>
struct Fraction {
  Number over, under;
  friend bool operator<(const Fraction& a, const Fraction& b) {
    return Number(a.over * b.under) < Number(b.over * a.under);
  }
};

/// Whether numbers that round to the roots, as many as the degree, are all the roots of one quartic within the
/// tolerances: there is a leading coefficient with which their product has all coefficients within them.
template <class Number = mpq_class>
bool areAllRootsOfOne(const Quartic& c, const std::vector<double>& roots) {
  std::vector<Number> product = {Number(1)}, slack = {Number(0)}, size = {Number(1)};
  for (const double root : roots) {
    const Number x(root), far = abs(x), half = halfUnitAt<Number>(root) * Number(kAndALittle);
    std::vector<Number> p(product.size() + 1), s(p.size()), z(p.size());
    for (std::size_t i = 0; i < product.size(); ++i) {
      p[i + 1] += product[i], p[i] -= Number(x * product[i]);
      s[i + 1] += slack[i], s[i] += Number((far + half) * slack[i] + half * size[i]);
      z[i + 1] += size[i], z[i] += Number(far * size[i]);
    }
    product = std::move(p), slack = std::move(s), size = std::move(z);
  }
  const PolynomialOf<Number> given = moved<Number>(c);
  const Number lead = abs(given[given.degree()]) * Number(kAndALittle);
  std::optional<Fraction<Number>> low, high;
  for (std::size_t i = 0; i < product.size(); ++i) {
    const Number reach = toleranceOf<Number>(c[i]) * Number(kAndALittle) + lead * slack[i], middle(c[i]);
    const Number sign(sgn(product[i]));
    if (sgn(product[i]) == 0) {
      if (abs(middle) > reach) return false;
      continue;
    }
    const Number under = abs(product[i]);
    const Fraction<Number> a{sign * middle - reach, under}, b{sign * middle + reach, under};
    if (!low || *low < a) low = a;
    if (!high || b < *high) high = b;
  }
  return !(*high < *low);
}

/// Empty, or what is wrong with the answer.
template <class Number = mpq_class>
std::string fault(const Quartic& c, const Solved& s) {
  if (s.result != 1 || s.kind != 3 || s.count < 0 || s.count > 4) return "result, kind or count";
  for (int i = 1; i < s.count; ++i) {
    if (!(s.roots[static_cast<std::size_t>(i - 1)] <= s.roots[static_cast<std::size_t>(i)])) return "order";
  }
  const PolynomialOf<Number> p = moved<Number>(c);
  const int exact = finiteRoots(p);
  if (s.count < exact) return "a root is missing";
  if (s.count < p.degree() && s.count < mostRealRoots<Number>(c)) return "a pair that could be real is missing";
  if ((s.count - exact) % 2 != 0) return "parity";
  for (const double x : s.all()) {
    if (!isRootWithinTolerance<Number>(c, x)) return "no root of a quartic within the tolerances";
    const double units = std::abs(x) < std::numeric_limits<double>::min() ? kTwiceRounded : kNearlyHalf;
    if (s.change == 0.0 && x != 0.0 && !isRoundedRoot<Number>(c, x, units)) return "not rounded to nearest";
  }
  if (s.count > exact && s.count == p.degree() && !areAllRootsOfOne<Number>(c, s.all())) {
    return "not roots of one quartic";
  }
  if (s.change != 0.0 && !(s.change > 0.0 && s.change <= quelplatform::kQuarticUnits)) return "change";
  return "";
}

}  // namespace quel::testing

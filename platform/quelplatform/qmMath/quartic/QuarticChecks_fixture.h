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

/// How far a coefficient may move: so many units in the last place, for a subnormal number as if it were normal.
inline mpq_class toleranceOf(double c) {
  if (c == 0.0) return 0;
  const int exponent = std::ilogb(c) - 52;
  mpq_class result = quelplatform::kQuarticUnits;
  if (exponent >= 0) {
    result <<= static_cast<unsigned>(exponent);
  } else {
    result >>= static_cast<unsigned>(-exponent);
  }
  return result;
}

inline mpq_class halfUnitAt(double x) {
  const double size = std::abs(x);
  return (mpq_class(std::nextafter(size, std::numeric_limits<double>::infinity())) - size) / 2;
}

/// The quartic whose coefficients are moved by `part` of their tolerance, all upwards as seen from the positive (side
/// 1) or the negative (side -1) half of the axis.
inline ExactPolynomial moved(const Quartic& c, const mpq_class& part = 0, int side = 1) {
  std::vector<mpq_class> result;
  for (std::size_t i = 0; i < 5; ++i) {
    result.push_back(c[i] + part * toleranceOf(c[i]) * (side < 0 && i % 2 == 1 ? -1 : 1));
  }
  return ExactPolynomial(std::move(result));
}

/// The real roots that a double can hold.
inline int finiteRoots(const ExactPolynomial& p) {
  const mpq_class beyond = 2 * mpq_class(0x1p1023);
  return p.realRoots(-beyond, beyond);
}

/// The most finite real roots among the four outermost quartics about the given one.
inline int mostRealRoots(const Quartic& c) {
  const mpq_class part(99, 100);
  int most = 0;
  for (const int side : {-1, 1}) {
    most = std::max({most, finiteRoots(moved(c, part, side)), finiteRoots(moved(c, -part, side))});
  }
  return most;
}

/// Whether some number that rounds to `x` is a root of a quartic within the tolerances.
inline bool isRootWithinTolerance(const Quartic& c, double x) {
  const mpq_class half = halfUnitAt(x) * mpq_class(1001, 1000), size = abs(mpq_class(x));
  const ExactPolynomial p = moved(c), slope = p.derivative();
  mpq_class band, bend, power = 1;
  for (std::size_t i = 0; i < 5; ++i, power *= size + half) {
    band += toleranceOf(c[i]) * power;
    bend += 16 * abs(mpq_class(c[i])) * power;
  }
  const mpq_class nearby = size == 0 ? mpq_class(bend) : mpq_class(bend * half * half / (size * size));
  return abs(p(x)) <= band + abs(slope(x)) * half + nearby;
}

/// Whether `x` is a root of the quartic itself, rounded with an error of at most `units` units in the last place: there
/// is one within them.
inline bool isRoundedRoot(const Quartic& c, double x, const mpq_class& units) {
  const ExactPolynomial p = moved(c);
  const mpq_class reach = 2 * halfUnitAt(x) * units, low = x - reach, high = x + reach;
  return sgn(p(low)) * sgn(p(high)) <= 0 || p.realRoots(low, high) > 0;
}

/// Whether numbers that round to the roots, as many as the degree, are all the roots of one quartic within the
/// tolerances: there is a leading coefficient with which their product has all coefficients within them.
inline bool areAllRootsOfOne(const Quartic& c, const std::vector<double>& roots) {
  std::vector<mpq_class> product = {1}, slack = {0}, size = {1};
  for (const double root : roots) {
    const mpq_class x = root, half = halfUnitAt(root) * mpq_class(1001, 1000);
    std::vector<mpq_class> p(product.size() + 1), s(p.size()), z(p.size());
    for (std::size_t i = 0; i < product.size(); ++i) {
      p[i + 1] += product[i], p[i] -= x * product[i];
      s[i + 1] += slack[i], s[i] += (abs(x) + half) * slack[i] + half * size[i];
      z[i + 1] += size[i], z[i] += abs(x) * size[i];
    }
    product = std::move(p), slack = std::move(s), size = std::move(z);
  }
  const ExactPolynomial given = moved(c);
  const mpq_class lead = abs(given[given.degree()]) * mpq_class(1001, 1000);
  std::optional<mpq_class> low, high;
  for (std::size_t i = 0; i < product.size(); ++i) {
    const mpq_class reach = toleranceOf(c[i]) * mpq_class(1001, 1000) + lead * slack[i];
    if (product[i] == 0) {
      if (abs(mpq_class(c[i])) > reach) return false;
      continue;
    }
    mpq_class a = (c[i] - reach) / product[i], b = (c[i] + reach) / product[i];
    if (a > b) std::swap(a, b);
    if (!low || a > *low) low = a;
    if (!high || b < *high) high = b;
  }
  return *low <= *high;
}

/// Empty, or what is wrong with the answer.
inline std::string fault(const Quartic& c, const Solved& s) {
  if (s.result != 1 || s.kind != 3 || s.count < 0 || s.count > 4) return "result, kind or count";
  for (int i = 1; i < s.count; ++i) {
    if (!(s.roots[static_cast<std::size_t>(i - 1)] <= s.roots[static_cast<std::size_t>(i)])) return "order";
  }
  const ExactPolynomial p = moved(c);
  const int exact = finiteRoots(p);
  if (s.count < exact) return "a root is missing";
  if (s.count < mostRealRoots(c)) return "a pair that could be real is missing";
  if ((s.count - exact) % 2 != 0) return "parity";
  for (const double x : s.all()) {
    if (!isRootWithinTolerance(c, x)) return "no root of a quartic within the tolerances";
    // A subnormal root is rounded a second time.
    const mpq_class units(std::abs(x) < std::numeric_limits<double>::min() ? 751 : 501, 1000);
    if (s.change == 0.0 && x != 0.0 && !isRoundedRoot(c, x, units)) return "not rounded to nearest";
  }
  if (s.count > exact && s.count == p.degree() && !areAllRootsOfOne(c, s.all())) return "not roots of one quartic";
  if (s.change != 0.0 && !(s.change > 0.0 && s.change <= quelplatform::kQuarticUnits)) return "change";
  return "";
}

}  // namespace quel::testing

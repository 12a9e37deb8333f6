#include "quelplatform/qmMath/quartic/QuarticRoots.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/quartic/ClearRoots.h"
#include "quelplatform/qmMath/quartic/NearMultipleRoots.h"
#include "quelplatform/qmMath/quartic/QuickRoots.h"

namespace quelplatform {
namespace {

// Roots whose sizes differ by more than this power of two know nothing of each other: the terms that dominate about one
// of them drown all others, also in doubled precision.
constexpr int kApart = 120;
constexpr double kNeglected = 0x1p-60;  // bounds these other terms, in units in the last place

// With exponents within this limit everything stays in range without scaling, and no two roots are apart.
constexpr int kModest = 30;

constexpr double kNothing = 0x1p-900;  // smaller than rounding of doubled precision at any root, after scaling

// An edge of the Newton polygon: about |x| = 2^size the terms of the powers `low` to `high` balance, and these are as
// many roots. Edges of similar size are joined.
struct Edge {
  int low, high;
  double smallest, largest;  // binary logarithm of the roots' size, to within a factor of 4
};

int powerOfTwo(double c) { return std::ilogb(c); }

// The edge that begins at the power `low`: the steepest rise of the coefficients' exponents.
Edge edgeFrom(const double c[5], int low, int degree) {
  Edge edge{low, low, 0.0, 0.0};
  double steepest = 0.0;
  for (int i = low + 1; i <= degree; ++i) {
    if (c[i] == 0.0) continue;
    const double rise = static_cast<double>(powerOfTwo(c[i]) - powerOfTwo(c[low])) / (i - low);
    if (edge.high == low || rise >= steepest) edge.high = i, steepest = rise;
  }
  edge.smallest = edge.largest = -steepest;
  return edge;
}

RealRoots rootsInRange(const SmallPolynomial& polynomial, double bound) {
  RealRoots roots;
  if (polynomial.degree == 1) {
    roots.count = 1;
    roots.at[0] = -polynomial.c[0] / polynomial.c[1];
  } else if (!clearRoots(polynomial, bound, &roots)) {
    roots = nearMultipleRoots(polynomial);
  }
  return roots;
}

// The terms of an edge with x = 2^shift y, where the roots y are about 1 in size, and the largest coefficient about 1.
SmallPolynomial scaled(const double c[5], const Edge& edge, int shift) {
  SmallPolynomial result;
  result.degree = edge.high - edge.low;
  int top = powerOfTwo(c[edge.low]);
  for (int i = 0; i <= result.degree; ++i) {
    if (c[edge.low + i] != 0.0) top = std::max(top, powerOfTwo(c[edge.low + i]) + shift * i);
  }
  for (int i = 0; i <= result.degree; ++i) {
    const double value = std::ldexp(c[edge.low + i], shift * i - top);
    result.c[i] = std::abs(value) < kNothing ? 0.0 : value;
  }
  return result;
}

void insertScaledRoots(const double c[5], const Edge& edge, bool whole, RealRoots* roots) {
  const int shift = static_cast<int>(std::lround(0.5 * (edge.smallest + edge.largest)));
  const int bound = static_cast<int>(std::ceil(edge.largest)) - shift + 3;
  const RealRoots found = rootsInRange(scaled(c, edge, shift), std::ldexp(1.0, bound));
  for (int i = 0; i < found.count; ++i) {
    const double x = std::ldexp(found.at[i], shift);
    if (std::isfinite(x)) roots->insert(x);
  }
  roots->change = std::max(roots->change, found.change);
  const bool multiple = std::adjacent_find(found.at, found.at + found.count) != found.at + found.count;
  if (multiple && !whole) roots->change = std::max(roots->change, kNeglected);
}

bool isModest(const double c[5], int low, int degree) {
  for (int i = low; i <= degree; ++i) {
    if (c[i] != 0.0 && std::abs(powerOfTwo(c[i])) > kModest) return false;
  }
  return true;
}

}  // namespace

RealRoots rootsOtherThanZero(const double c[5], int low, int degree) {
  RealRoots roots;
  if (low == degree) return roots;
  if (degree - low == 4 && quickRoots(c, &roots)) return roots;
  roots = {};
  if (isModest(c, low, degree)) {
    SmallPolynomial polynomial;
    polynomial.degree = degree - low;
    std::copy(c + low, c + degree + 1, polynomial.c);
    return rootsInRange(polynomial, std::ldexp(1.0, 2 * kModest + 4));
  }
  Edge joined = edgeFrom(c, low, degree);
  while (joined.high < degree) {
    const Edge next = edgeFrom(c, joined.high, degree);
    if (next.smallest - joined.largest > kApart) {
      insertScaledRoots(c, joined, false, &roots);
      joined = next;
    } else {
      joined.high = next.high;
      joined.largest = next.largest;
    }
  }
  insertScaledRoots(c, joined, joined.low == low, &roots);
  return roots;
}

}  // namespace quelplatform

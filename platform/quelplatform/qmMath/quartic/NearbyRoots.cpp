#include "quelplatform/qmMath/quartic/NearbyRoots.h"

#include <cmath>

namespace quelplatform {
namespace {

// p(x) is the sum of c[i] x^i, and |p| that of |c[i] x^i|. The root near x is x - h with
//
//   h = (p(x) + p2 h^2 - p3 h^3 + p4 h^4) / p'(x)        pk = p^(k)(x) / k!, |pk x^k| <= 4, 6, 4, 1 times |p|, k = 1..4
//
// and what is taken away is H = v/m + n/m (v/m)^2, with v, m and n the computed p(x), p'(x) and p2. All of this is told
// in K = |p| / |x m|, at least a quarter but for rounding, and r = |v / (x m)|; u = 2^-53 is half a unit in the last
// place of 1.
//   - The compensated scheme has |v - p(x)| <= u |p(x)| + 64.1 u^2 |p|, the plain ones |m - p'(x)| <= 33 u |p / x| and
//     |n - p2| <= 49 u |p / x^2| (Graillat, Langlois, Louvet 2009). From K < 2^36 follows that 33 u K < 2^-11.
//   - From 128 K^2 r^3 < 2^-63 and K < 2^36 follows K r < 2^-11. So the right-hand side shrinks distances of all h up
//   to
//     2 |p(x) / p'(x)| to less than a fiftieth, and there is a root with |h / x| < 1.03 r + 2^-99.8 K.
//   - H misses h, as a part of x, by at most
//       (34.1 K + 4) u r + 2^-99.8 K                      as the first term has v and m,
//       6.1 K (h/x + r) (6.8 K r^2) < 86 K^2 r^3          as the second one has v/m in place of h,
//       4.3 K r^3 < 17.2 K^2 r^3                          as it lacks the third and the fourth,
//       (K r) u K, and 6 u r < 24.1 u K r                 by the error of n / m, and by rounding,
//     together less than K (2^-99 + r (2^-46 + 128 K r^2)).
// Where that is at most 2^-63, at most 2^-10 of a unit in the last place, x - H is the root with one rounding. Far from
// all roots v is as large as |p|: then r is near K, and nothing is proven.

constexpr double kErrorOfValue = 0x1p-99;
constexpr double kErrorOfSlope = 0x1p-46;
constexpr double kErrorOfBend = 128.0;
constexpr double kProven = 0x1p-63;
constexpr double kApart = 0x1p-48;  // relative; two numbers rounded from one root lie within 2^-51

constexpr int kMostSteps = 10;

RootPair sizeOf(RootPair x) { return x < 0.0 ? -x : x; }

struct Halves {
  RootPair high, low;
};

// x = high + low, each of 26 bits (Dekker 1971).
Halves halves(RootPair x) {
  const RootPair scaled = (0x1p27 + 1.0) * x;
  const RootPair high = scaled - (scaled - x);
  return {high, x - high};
}

// What a b lacks when rounded to `product`.
RootPair lostByProduct(RootPair product, const Halves& a, const Halves& b) {
  return a.low * b.low - (((product - a.high * b.high) - a.low * b.high) - a.high * b.low);
}

// What a + b lacks when rounded to `sum`.
RootPair lostBySum(RootPair sum, RootPair a, double b) {
  const RootPair part = sum - a;
  return (a - (sum - part)) + (b - part);
}

// A quartic about a place.
struct Expanded {
  RootPair value = {}, rest = {};  // p(x) as a sum
  RootPair slope = {}, bend = {};  // p'(x), p''(x) / 2
  RootPair size = {};              // the sum of |c[i] x^i|
};

// Horner's scheme, for the value with what its roundings lose.
Expanded expanded(const double c[5], RootPair x) {
  const Halves partsOfX = halves(x);
  const RootPair distance = sizeOf(x);
  Expanded p;
  p.value = p.value + c[4];
  p.size = p.size + std::abs(c[4]);
  for (int i = 3; i >= 0; --i) {
    p.bend = p.bend * x + p.slope;
    p.slope = p.slope * x + p.value;
    p.size = p.size * distance + std::abs(c[i]);
    const RootPair product = p.value * x;
    const RootPair lost = lostByProduct(product, halves(p.value), partsOfX);
    p.value = product + c[i];
    p.rest = p.rest * x + (lost + lostBySum(p.value, product, c[i]));
  }
  return p;
}

}  // namespace

bool roundRoots(const double c[5], RootPair* pair) {
  for (int step = 0; step < kMostSteps; ++step) {
    const RootPair x = *pair;
    const Expanded p = expanded(c, x);
    const RootPair perSlope = 1.0 / p.slope, perX = 1.0 / x;
    const RootPair change = (p.value + p.rest) * perSlope;
    *pair = x - (change + p.bend * perSlope * (change * change));
    const RootPair K = sizeOf(p.size * perSlope * perX), r = sizeOf(change * perX);
    const RootPair error = K * (kErrorOfValue + r * (kErrorOfSlope + kErrorOfBend * (K * (r * r))));
    if (error[0] <= kProven && error[1] <= kProven) return true;
  }
  return false;
}

bool areApart(const RealRoots& roots) {
  for (int i = 1; i < roots.count; ++i) {
    if (!(roots.at[i] - roots.at[i - 1] > kApart * std::abs(roots.at[i]))) return false;
  }
  return true;
}

}  // namespace quelplatform

#include "quelplatform/qmMath/quartic/QuickRoots.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "quelplatform/qmMath/quartic/NearbyRoots.h"
#include "quelplatform/qmMath/quartic/RootCount.h"

namespace quelplatform {
namespace {

// What follows only finds where the roots are; nothing of it need be proven. It uses own functions in place of those of
// the C library, which give other bits on other processors.

// The cube root to 40 bits: a guess from the exponent that is right to a twentieth, and two steps of Halley's method.
double cubeRoot(double x) {
  const double size = std::abs(x);
  double root = std::bit_cast<double>(std::bit_cast<std::uint64_t>(size) / 3 + 0x2A9F789300000000U);
  for (int step = 0; step < 2; ++step) {
    const double cube = root * (root * root);
    root *= (cube + 2.0 * size) / (2.0 * cube + size);
  }
  return std::copysign(root, x);
}

// 2 cos(arccos(k) / 3), the largest root t of t^3 - 3 t - 2 k: a cubic in sqrt(1 + k), and Newton's method.
double doubleCosineOfThird(double k) {
  const double w = std::sqrt(1.0 + k);
  double t = 1.0 + w * (0.8165 + w * (-0.1111 + w * 0.0233));
  for (int step = 0; step < 3; ++step) t -= (t * (t * t - 3.0) - 2.0 * k) / (3.0 * (t * t - 1.0));
  return t;
}

// The largest root of T^3 - 3 I T - J, the resolvent.
double largestResolvent(const RootCount& of) {
  if (of.square < 0.0) {
    const double root = std::sqrt(of.I);
    return root * doubleCosineOfThird(std::clamp(0.5 * of.J / (of.I * root), -1.0, 1.0));
  }
  const double cube = cubeRoot(0.5 * (of.J + std::copysign(std::sqrt(of.square), of.J)));
  return cube + of.I / cube;
}

// Ferrari: 4 a x = -b - s +- sqrt(2 R / s - s^2 - P) or -b + s +- sqrt(-2 R / s - s^2 - P) with 3 s^2 = 4 a T - P and
// R = b (b^2 - 4 a c) + 8 a^2 d. With the sign of R for s the first pair is real where only one is.
void findPairs(const Coefficients& q, const RootCount& of, RootPair pairs[2]) {
  const double bb = q.b * q.b, ac = q.a * q.c;
  const double P = 8.0 * ac - 3.0 * bb, R = q.b * (bb - 4.0 * ac) + 8.0 * (q.a * q.a) * q.d;
  const double ss = (4.0 * q.a * largestResolvent(of) - P) * (1.0 / 3.0);
  const double s = std::copysign(std::sqrt(ss), R), turn = 2.0 * (R / s), quarter = 0.25 / q.a;
  const double first = std::sqrt(turn - ss - P);
  pairs[0] = quarter * RootPair{(-q.b - s) - first, (-q.b - s) + first};
  if (of.square > 0.0) return;
  const double second = std::sqrt(-turn - ss - P);
  pairs[1] = quarter * RootPair{(-q.b + s) - second, (-q.b + s) + second};
}

bool isOfQuickSize(const double c[5]) {
  constexpr auto kMost = static_cast<double>(std::uint64_t{1} << kQuickExponent);
  return std::all_of(c, c + 5, [](double x) {
    const double size = std::abs(x);
    return (size >= 1.0 / kMost && size <= kMost) || size == 0.0;
  });
}

}  // namespace

bool quickRoots(const double c[5], RealRoots* roots) {
  if (!isOfQuickSize(c)) return false;
  const double sign = c[4] < 0.0 ? -1.0 : 1.0;
  const Coefficients q = {sign * c[4], sign * c[3], sign * c[2], sign * c[1], sign * c[0]};
  const RootCount proven = provenRootCount(q);
  if (proven.count == kUnknownCount) return false;
  *roots = {};
  RootPair pairs[2];
  if (proven.count > 0) findPairs(q, proven, pairs);
  for (int i = 0; 2 * i < proven.count; ++i) {
    if (!roundRoots(c, &pairs[i])) return false;
    roots->insert(pairs[i][0]);
    roots->insert(pairs[i][1]);
  }
  return areApart(*roots);
}

}  // namespace quelplatform

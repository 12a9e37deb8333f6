#include "quelplatform/qmMath/quartic/RootCount.h"

#include <cmath>

namespace quelplatform {
namespace {

// To a quartic a x^4 + b x^3 + c x^2 + d x + e, taken with a > 0, belong
//
//   I = 12 a e - 3 b d + c^2
//   J = 27 (a d^2 + e b^2) - c (72 a e + 9 b d - 2 c^2)         27 times the discriminant is 4 I^3 - J^2
//   P = 8 a c - 3 b^2
//   D = 16 a^2 (4 a e - c^2 - b d) + b^2 (16 a c - 3 b^2)
//
// With 4 I^3 < J^2 it has two real roots; with 4 I^3 > J^2 none where P >= 0 or D >= 0, and else four. So the number of
// real roots is one for all quartics about the given one, unless 4 I^3 = J^2 for one of them.
//
// u = 2^-53 is half a unit in the last place of 1. Moving a coefficient by `kUnits` = 4 units in its last place
// multiplies it by 1 + t with |t| <= 8 u. A sum of products of m coefficients then moves by less than (8 m + 0.1) u
// times the sum of their sizes. On its way to the result a term passes, whole-number factors included, at most m + 4
// roundings of u each; the sum of the sizes, computed likewise, is too small by as many at most. So, in u times the
// computed sum of the sizes,
//   I is off by less than 16.1 + 6 + 0.1,       P by less than 16.1 + 6 + 0.1,
//   J is off by less than 24.1 + 7 + 0.1,       D by less than 32.1 + 8 + 0.1.
// What is taken is larger by a third, since the careful way stretches its tolerances a little.

constexpr double kHalfUnit = 0x1p-53;
constexpr double kErrorOfI = 32 * kHalfUnit;
constexpr double kErrorOfJ = 44 * kHalfUnit;
constexpr double kErrorOfP = 32 * kHalfUnit;
constexpr double kErrorOfD = 56 * kHalfUnit;
constexpr double kRounding = 16 * kHalfUnit;  // of I^3, J^2, their difference and the bound of its error, as parts

// |(I + s)^3 - I^3| <= 3 |s| (|I| + |s|)^2 and |(J + s)^2 - J^2| <= 2 |s| (|J| + |s|). A negative I decides by itself.
RootCount counted(double I, double errorOfI, double J, double errorOfJ) {
  const double cube = 4.0 * (I * (I * I)), square = J * J - cube;
  const double farI = std::abs(I) + errorOfI, farJ = std::abs(J) + errorOfJ;
  const double error = 12.0 * errorOfI * (farI * farI) + 2.0 * errorOfJ * farJ;
  const double rounding = kRounding * (error + (std::abs(cube) + J * J));
  const bool proven = I < -errorOfI || std::abs(square) > error + rounding;
  return {proven ? (square > 0.0 ? 2 : 4) : kUnknownCount, I, J, square};
}

// The count, with 4 also where it is 0.
RootCount twoOrFour(const Coefficients& q) {
  const double ae = q.a * q.e, bd = q.b * q.d, cc = q.c * q.c;
  const double add = q.a * (q.d * q.d), ebb = q.e * (q.b * q.b);
  const double sizeOfAe = std::abs(ae), sizeOfBd = std::abs(bd);
  const double I = 12.0 * ae - 3.0 * bd + cc;
  const double sizeOfI = 12.0 * sizeOfAe + 3.0 * sizeOfBd + cc;
  const double J = 27.0 * (add + ebb) - q.c * (72.0 * ae + 9.0 * bd - 2.0 * cc);
  const double sizeOfJ = 27.0 * (add + std::abs(ebb)) + std::abs(q.c) * (72.0 * sizeOfAe + 9.0 * sizeOfBd + 2.0 * cc);
  return counted(I, kErrorOfI * sizeOfI, J, kErrorOfJ * sizeOfJ);
}

// Of a quartic with no real root or four: whether it surely has none.
bool surelyNone(const Coefficients& q) {
  const double aa = q.a * q.a, bb = q.b * q.b, cc = q.c * q.c;
  const double ac = q.a * q.c, ae = q.a * q.e, bd = q.b * q.d;
  const double P = 8.0 * ac - 3.0 * bb;
  if (P > kErrorOfP * (8.0 * std::abs(ac) + 3.0 * bb)) return true;
  const double D = 16.0 * aa * (4.0 * ae - cc - bd) + bb * (16.0 * ac - 3.0 * bb);
  const double size = 16.0 * aa * (4.0 * std::abs(ae) + cc + std::abs(bd)) + bb * (16.0 * std::abs(ac) + 3.0 * bb);
  return D > kErrorOfD * size;
}

}  // namespace

RootCount provenRootCount(const Coefficients& q) {
  RootCount result = twoOrFour(q);
  if (result.count == 4 && surelyNone(q)) result.count = 0;
  return result;
}

}  // namespace quelplatform

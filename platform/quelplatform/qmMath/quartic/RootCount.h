// The number of real roots of a quartic, proven for all quartics nearby.
#pragma once

namespace quelplatform {

/// a x^4 + b x^3 + c x^2 + d x + e.
struct Coefficients {
  double a, b, c, d, e;
};

inline constexpr int kUnknownCount = -1;

/// What tells the number of real roots: the invariants of the quartic.
struct RootCount {
  int count;      ///< `kUnknownCount` where it is not proven.
  double I, J;    ///< 12 a e - 3 b d + c^2 and 27 (a d^2 + e b^2) - c (72 a e + 9 b d - 2 c^2), rounded.
  double square;  ///< J^2 - 4 I^3, -27 times the discriminant, rounded; of its sign where the count is proven.
};

/// Has a count where bounds of all roundings prove that every quartic whose coefficients lie within `kUnits` units in
/// the last place has that number of real roots, all of them simple; 4 is given where it may also be 0 for all of them.
/// a > 0; coefficients other than 0 lie within 2^-60 and 2^60.
RootCount provenRootCount(const Coefficients& quartic);

}  // namespace quelplatform

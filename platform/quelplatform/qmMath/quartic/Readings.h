// Reading the real roots of a polynomial whose coefficients may move off the signs between its monotone pieces.
//
// The roots of a derivative cut the real line into monotone pieces. At such a cut the value has a sign beyond doubt, or
// it lies within the band that the coefficients leave open: then the two roots next to the cut may be taken as equal,
// both at the cut. The cuts are found in the same way from the next derivative, so a cluster of three or four roots is
// seen as a double or triple root of the first derivative.
#pragma once

#include "quelplatform/qmMath/quartic/BandedPolynomial.h"
#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

inline constexpr int kMostCuts = 3;

struct Cut {
  double x = 0.0;
  bool negative = false;   // the sign of the value itself
  bool exactZero = false;  // the value is 0
  bool undecided = false;  // the value lies within the band
};

struct Level {
  BandedPolynomial polynomial;
  int count = 0;
  Cut cuts[kMostCuts];
};

// One way to read the cuts: which of them are taken as double roots, and what sign that leaves between the others.
struct Reading {
  int count = 0;  // real roots
  unsigned merged = 0;
  unsigned negative = 0;
};

/// The readings of a level, in order: first those with the most roots, among them first those that merge least.
struct Readings {
  int count = 0;
  Reading at[1 << kMostCuts];
};

/// Says of a root that it lies at no merged cut.
inline constexpr int kNoCut = -9;

inline bool bit(unsigned mask, int i) { return ((mask >> i) & 1U) != 0; }

/// The polynomial between `cuts`, the roots of its first derivative.
Level levelOf(const BandedPolynomial& polynomial, const RealRoots& cuts);

Readings readingsOf(const Level& level);

/// The roots of a reading, within -bound and bound; `cutOf` says at which merged cut each lies, if at any.
RealRoots rootsOf(const Level& level, const Reading& reading, double bound, int cutOf[4]);

/// The roots of the derivative of an order from 1 on, found from the highest one down: the most that the tolerances
/// allow, or those of the given derivatives.
RealRoots derivativeRoots(const BandedPolynomial& polynomial, int order, double bound, bool most);

/// The value at x without rounding on the way.
double exactValueAt(const BandedPolynomial& polynomial, double x);

}  // namespace quelplatform

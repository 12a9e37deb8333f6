// What the two halves of the solver for nearly multiple roots share: a polynomial in doubled precision with the band
// that its coefficients may move in, and the step from roots that are to be equal to a polynomial for which they are.
#pragma once

#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/quartic/SmallPolynomial.h"

namespace quelplatform {

/// Coefficients may move by so many units in their last place.
inline constexpr double kUnits = 4.0;

/// The sum of c[i] x^i, each c[i] free to move by up to tolerance[i].
struct BandedPolynomial {
  int degree = 0;
  DoubleDouble c[5];
  double tolerance[5] = {};
};

DoubleDouble valueAt(const BandedPolynomial& polynomial, double x);

/// How far the value at x may move: the sum of tolerance[i] |x|^i.
double bandAt(const BandedPolynomial& polynomial, double x);

/// The derivative at x.
double slopeAt(const BandedPolynomial& polynomial, double x);

/// p^(order) / order!.
BandedPolynomial derivative(const BandedPolynomial& polynomial, int order);

/// A place at which `multiplicity` roots are to be one.
struct MergedRoot {
  double at = 0.0;
  int multiplicity = 0;
};

/// Finds a polynomial within the tolerances that has a root of the given multiplicity near each of the `groups` places,
/// all other roots moving along, and gives its real roots. At each place the derivative of order multiplicity - 1 is 0.
/// Returns false when there is none or it has fewer than `expected` real roots.
bool mergeRoots(const BandedPolynomial& polynomial, const MergedRoot* merged, int groups, int expected,
                RealRoots* roots);

}  // namespace quelplatform

// The step from roots that are to be equal to a polynomial for which they are.
#pragma once

#include "quelplatform/qmMath/quartic/BandedPolynomial.h"
#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

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

/// The same with one multiple root, exactly at its place.
bool mergeRootsAt(const BandedPolynomial& polynomial, const MergedRoot& merged, int expected, RealRoots* roots);

}  // namespace quelplatform

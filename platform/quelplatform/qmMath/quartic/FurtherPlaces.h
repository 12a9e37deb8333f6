// Places for multiple roots that a polynomial's own cuts do not show: about a cluster it is so flat that the tolerances
// move the cuts by more than their distance.
#pragma once

#include "quelplatform/qmMath/quartic/BandedPolynomial.h"
#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

/// Replaces `best` by the roots of a polynomial within the tolerances that has more real ones, if there is one with a
/// multiple root where a higher derivative is 0, or where the smallest part of all tolerances makes it have one. Roots
/// lie within -bound and bound.
void offerFurtherPlaces(const BandedPolynomial& polynomial, double bound, RealRoots* best);

}  // namespace quelplatform

// Real roots of any polynomial, multiple and nearly multiple ones too, by slower and wider arithmetic.
#pragma once

#include "quelplatform/qmMath/quartic/RealRoots.h"
#include "quelplatform/qmMath/quartic/SmallPolynomial.h"

namespace quelplatform {

/// The real roots of `polynomial`, of degree 2 to 4. They are those of a polynomial whose coefficients lie within
/// `kUnits` units in the last place of the given ones; among these one with the most real roots is taken.
RealRoots nearMultipleRoots(const SmallPolynomial& polynomial);

}  // namespace quelplatform

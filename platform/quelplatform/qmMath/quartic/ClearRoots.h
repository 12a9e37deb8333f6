// Real roots that rounding of the coefficients cannot confuse, of any degree and after any scaling.
#pragma once

#include "quelplatform/qmMath/quartic/RealRoots.h"
#include "quelplatform/qmMath/quartic/SmallPolynomial.h"

namespace quelplatform {

/// The real roots of `polynomial`, all of which lie within -bound and bound, each rounded from the exact one. Degree 2
/// to 4. False, with `roots` undefined,
///   - when a pair of roots is so close to being equal that rounding of the coefficients could decide whether it is
///     real;
///   - when a root lies at a point of inflection, or so close to one that its side cannot be told.
bool clearRoots(const SmallPolynomial& polynomial, double bound, RealRoots* roots);

}  // namespace quelplatform

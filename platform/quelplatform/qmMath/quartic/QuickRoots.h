// Real roots of quartics far enough from any with a multiple root: in closed form, and proven afterwards. Nearly all
// quartics of real heads go this way.
#pragma once

#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

/// Coefficients other than 0 whose sizes lie within 2^-kQuickExponent and 2^kQuickExponent over- or underflow nowhere.
inline constexpr int kQuickExponent = 60;

/// The real roots of c[4] x^4 + ... + c[0], whose ends are not 0, each rounded from the exact one, with an error of at
/// most 0.501 units in the last place. False, with `roots` undefined, when a coefficient is too large or too small, and
/// unless bounds of all roundings prove
///   - that every quartic whose coefficients lie within `kUnits` units in the last place has as many real roots;
///   - that each of the given numbers is rounded from a root, no two of them from the same one.
/// The same bits on every processor.
bool quickRoots(const double c[5], RealRoots* roots);

}  // namespace quelplatform

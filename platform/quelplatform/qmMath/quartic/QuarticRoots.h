// The real roots of a quartic, or of less: the quick way, else scaling, and the clear way or the careful one.
#pragma once

#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

/// The roots other than 0 of c[low] x^low + ... + c[degree] x^degree, whose ends are not 0; those that no double holds
/// are left out. All coefficients are finite.
RealRoots rootsOtherThanZero(const double c[5], int low, int degree);

}  // namespace quelplatform

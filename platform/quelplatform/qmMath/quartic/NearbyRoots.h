// From numbers near roots of a quartic to numbers that are proven to be rounded from exact roots.
#pragma once

#include "quelplatform/qmMath/quartic/RealRoots.h"

namespace quelplatform {

/// Two numbers, which are worked on side by side.
using RootPair = double __attribute__((vector_size(2 * sizeof(double))));

/// Takes each number to a root of c[4] x^4 + ... + c[0] nearby, rounded from the exact one with an error of at most
/// 0.501 units in the last place. False, with `pair` undefined, where that cannot be proven for both. The ends of c are
/// not 0, and coefficients other than 0 lie within 2^-60 and 2^60.
bool roundRoots(const double c[5], RootPair* pair);

/// Whether no two of these numbers, ascending, can be rounded from the same root.
bool areApart(const RealRoots& roots);

}  // namespace quelplatform

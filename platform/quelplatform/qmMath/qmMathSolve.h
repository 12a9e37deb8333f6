// Solvers under the closed-form fits of a correspondence: the real roots of a quartic, and small linear systems.
//
// Nothing here allocates, throws or keeps state; everything may be called from several threads at once.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

namespace quelplatform {

/// How far the coefficients of the quartic that the roots of `qmMathSolveQuartic` belong to lie from the given ones at
/// most, in units in the last place.
inline constexpr double kQuarticUnits = 4.0;

/// What part of the largest diagonal entry the pivots of a symmetric 3x3 must exceed for `qmMathSolveBySvd` to take
/// Cholesky's way.
inline constexpr double kCholeskyPivot = 1e-8;

/// Singular values up to this times n times the largest count as 0 for `qmMathSolveBySvd`, with n the larger of rows
/// and columns.
inline constexpr double kNoSingularValue = 4 * 0x1p-52;

}  // namespace quelplatform

/// Real roots of c4 x^4 + c3 x^3 + c2 x^2 + c1 x + c0.
///
/// `roots` receives `*count` real roots in its first entries, in ascending order, equal ones repeated; entries beyond
/// them stay as they are. `*kind` is always 3: the first `*count` entries are roots.
///
/// Promises:
///   1. Count and roots are those of some quartic whose coefficients lie within `kQuarticUnits` units in the last
///      place of the given ones; each root is then rounded.
///   2. Where that leaves open whether two roots are real, they are: as a double root twice the same number, and
///      likewise for three or four; the other roots move along.
///   3. Where nothing needs to be merged, the roots are those of the given quartic itself.
///   4. A coefficient of 0 stays 0, and none changes its sign.
///   5. Leading coefficients of 0 count for nothing, and so does a root too large for a double, as a tiny leading
///      coefficient makes it. A constant other than 0 succeeds with `*count` 0.
///   6. Any scale is fine: neither the coefficients nor their ratios over- or underflow on the way. A root below the
///      range of a double is given as 0 of its sign.
///   7. `*unread1` is the degree once leading zeros are gone. `*unread2` is the largest change of a coefficient that
///      the roots took, in units in its last place: 0 where they are the given quartic's own, at most
///      `kQuarticUnits`. Either may be null.
///
/// Method: where bounds of the roundings prove the number of roots, from the invariants of the quartic, and each root,
/// Ferrari's solution with one more step in doubled precision by a compensated Horner scheme (Graillat, Langlois,
/// Louvet 2009): nearly always, in a tenth of a microsecond. Else scaling by powers of two read off the Newton polygon,
/// roots of very different size apart; between the roots of the first two derivatives one bracketed Newton iteration
/// per root, again with that step. Where a value between two roots is so near 0 that the tolerance matters,
/// multiplicities are decided in doubled precision, and the nearest polynomial that has them is found by linear
/// conditions on its coefficients, in the sense of Zeng's pejorative manifolds (2005).
///
/// Returns 1; or 0, with `*count` 0 and `roots` untouched, when a coefficient is not finite, when all are 0 or when
/// `count`, `kind` or `roots` is null.
QUELPLATFORM_API std::int32_t qmMathSolveQuartic(double c4, double c3, double c2, double c1, double c0,
                                                 std::int32_t* count, std::int32_t* kind, double* unread1,
                                                 double* unread2, double roots[4]) noexcept;

/// Lays `rows` rows of `columns` doubles over `buffer`, row i beginning at buffer + i columns, and returns
/// `rowPointers`. The buffer's values stay as they are. Returns null, with `rowPointers` untouched, when a pointer is
/// null or a size is not positive.
QUELPLATFORM_API double** qmMathMatStaticInit(std::int32_t rows, std::int32_t columns, double** rowPointers,
                                              double* buffer) noexcept;

/// Solves `matrix` x = `rightHandSide` in the sense of least squares; of all such x the shortest.
///
/// `matrix` has `rows` x `columns` entries, 1 to 8 each; `rightHandSide` has `rows`, `solution` `columns`; `solution`
/// may be the same array as `rightHandSide`. The two integers have no effect. Promises:
///   1. A symmetric positive definite 3x3 whose Cholesky pivots all exceed `kCholeskyPivot` of the largest diagonal
///      entry is solved by Cholesky's factorisation.
///   2. Anything else is solved by its singular values (one-sided Jacobi rotations, Hestenes 1958). Of these, those
///      up to `kNoSingularValue` n times the largest count as 0.
///   3. The matrix is scaled by a power of two first, and so is the right-hand side, so that no scale over- or
///      underflows. A zero matrix has the solution 0.
///
/// Returns 1; or 0, with `solution` untouched, when an entry or the solution is not finite, a pointer is null or a size
/// is outside 1 to 8.
QUELPLATFORM_API std::int32_t qmMathSolveBySvd(double* const* matrix, std::int32_t rows, std::int32_t columns,
                                               const double* rightHandSide, std::int32_t unused1, std::int32_t unused2,
                                               double* solution) noexcept;

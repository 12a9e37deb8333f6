// Solvers under the closed-form fits of a correspondence: the real roots of a quartic, and small linear systems.
//
// Nothing here allocates, throws or keeps state; everything may be called from several threads at once.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

/// Real roots of c4 x^4 + c3 x^3 + c2 x^2 + c1 x + c0.
///
/// `roots` receives `*count` real roots in its first entries, in ascending order, equal ones repeated; entries beyond
/// them stay as they are. `*kind` is always 3: the first `*count` entries are roots.
///
/// What holds of the roots:
///   - Count and roots are those of some quartic whose coefficients lie within 4 units in the last place of the given
///     ones; each root is then rounded. Where that leaves open whether two roots are real, they are: as a double root
///     twice the same number, and likewise for three or four; the other roots move along. Where nothing needs to be
///     merged, the roots are those of the given quartic itself.
///   - A coefficient of 0 stays 0, and none changes its sign.
///   - Leading coefficients of 0 count for nothing, and so does a root too large for a double, as a tiny leading
///     coefficient makes it. A constant other than 0 succeeds with `*count` 0.
///   - Any scale is fine: neither the coefficients nor their ratios over- or underflow on the way. A root below the
///     range of a double is given as 0 of its sign.
///
/// `*unread1` is the degree once leading zeros are gone. `*unread2` is the largest change of a coefficient that the
/// roots took, in units in its last place: 0 where they are the given quartic's own, at most 4. Either may be null.
///
/// Method: scaling by powers of two read off the Newton polygon, roots of very different size apart; between the roots
/// of the first two derivatives one bracketed Newton iteration per root, the last step in doubled precision by a
/// compensated Horner scheme (Graillat, Langlois, Louvet 2009). Where a value between two roots is so near 0 that the
/// tolerance matters, multiplicities are decided in doubled precision, and the nearest polynomial that has them is
/// found by linear conditions on its coefficients, in the sense of Zeng's pejorative manifolds (2005).
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
/// may be the same array as `rightHandSide`.
///   - A symmetric positive definite 3x3 whose Cholesky pivots all exceed 1e-8 of the largest diagonal entry is solved
///     by Cholesky's factorisation.
///   - Anything else by its singular values (one-sided Jacobi rotations, Hestenes 1958). Of these, those up to 4 n eps
///     times the largest count as 0, with n the larger of `rows` and `columns` and eps = 2^-52.
/// The matrix is scaled by a power of two first, and so is the right-hand side, so that no scale over- or underflows; a
/// zero matrix has the solution 0. The two integers have no effect.
///
/// Returns 1; or 0, with `solution` untouched, when an entry or the solution is not finite, a pointer is null or a size
/// is outside 1 to 8.
QUELPLATFORM_API std::int32_t qmMathSolveBySvd(double* const* matrix, std::int32_t rows, std::int32_t columns,
                                               const double* rightHandSide, std::int32_t unused1, std::int32_t unused2,
                                               double* solution) noexcept;

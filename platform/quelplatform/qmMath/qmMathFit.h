// Least-squares lines and planes through points in space.
//
// Points are n triples of doubles, in any unit, which is also that of the results. The fits minimise the sum of squared
// distances from the line or plane (orthogonal regression): the line runs along the direction of largest spread about
// the centroid, the normal of the plane along that of smallest.
//
// Promises:
//   1. A fit is good to the rounding of the points themselves, wherever the part lies. The direction is off by at most
//      `fitDirectionError(g)`, g the distance of its eigenvalue from the next as a part of the largest.
//      The centroid is no exact sum of the points: each coordinate is off by half a unit in its last place and by 2^-53
//      of the mean distance of the points from it, together at most 2^-52 of the largest coordinate of a point along
//      that axis.
//   2. Sums run in 8 lanes, point i in lane i mod 8, joined as ((0+4)+(2+6))+((1+5)+(3+7)), so that results are the
//      same bits on every processor. There are two forms of them, and the first is taken wherever a bound of its
//      roundings proves promise 1:
//      - plain: 64 points from all over (number floor(n frac(i phi)), i = 0 to 63, phi = 0.6180339887498949) tell
//        their mean c, summed in this order, and a power of two that takes the points to a size of about 1 where it is
//        not modest. In blocks of 128 points the products of the components of d = p - c are summed plainly in each
//        lane; sums of blocks, and the sums of the points themselves, carry their roundings along. What the last block
//        lacks is filled with c. The centroid is c + s / n, s the sum of all d; the moments are sum d dt - s st / n.
//      - with care: what is summed are the rounded differences of the points from a rough mean of theirs, and their
//        moments, with the rounding errors of all sums carried along. The centroid is the rough mean plus the mean of
//        those differences, rounded.
//   3. Of the two signs of a direction the one is taken whose component of largest magnitude, the first of equals,
//      is positive.
//   4. A call that fails leaves its outputs as they are.
//   5. Nothing here allocates, throws or keeps state; everything may be called from several threads at once.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

namespace quelplatform {

/// The least bound of the angle by which a fitted direction is off.
inline constexpr double kFitDirectionError = 1e-13;

/// The bound for a direction whose eigenvalue lies `gap` times the largest one from the next; `gap` is positive.
constexpr double fitDirectionError(double gap) {
  const double rounding = 8 * 0x1p-52 / gap;
  return rounding > kFitDirectionError ? rounding : kFitDirectionError;
}

}  // namespace quelplatform

/// The line through n points: `point` is their centroid, `direction` a unit vector. Where no direction stands out, as
/// for the corners of a cube, it is one of those of largest spread.
///
/// Returns 1; or 0, with the outputs untouched, when there are no two distinct points, a coordinate is not finite, the
/// coordinates span more than a double adds up, or an argument is null.
QUELPLATFORM_API std::int32_t qmMathFit3DLine(const double (*points)[3], std::int64_t n, double direction[3],
                                              double point[3]) noexcept;

/// The plane through n points: `center` is their centroid, `normal` a unit vector.
///
/// Returns 1; or 0, with the outputs untouched, when all points lie on a line (the second singular value of the
/// centred points is at most n eps of the first), when there are fewer than three, and where a line cannot be fitted.
QUELPLATFORM_API std::int32_t qmMathFit3DPlane(const double (*points)[3], std::int64_t n, double normal[3],
                                               double center[3]) noexcept;

// Where lines and planes meet.
//
// A plane is a point of it and a normal, a line a point of it and a direction; normals and directions have any length
// but 0. Promises:
//   1. Everything is computed in doubled precision and rounded once, so that nearly parallel input loses no more
//      digits than it must.
//   2. Only input that is exactly parallel is refused: there is no tolerance.
//   3. The calls return 1; or 0, with the outputs untouched, where nothing in common is defined, when the result is
//      not finite and when an argument is null.
//   4. Nothing here allocates, throws or keeps state; everything may be called from several threads at once.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

namespace quelplatform {

/// Of `qmMath3PlanesIntersect`: what doubled precision leaves open.
inline constexpr double kThreePlanesError = 0x1p-100;

}  // namespace quelplatform

/// The line common to two planes: `direction` is the unit vector of normal1 x normal2, `point` the point of the line
/// nearest to the middle between the points of the planes. Refused for parallel planes.
QUELPLATFORM_API std::int32_t qmMath2PlanesIntersect(const double point1[3], const double normal1[3],
                                                     const double point2[3], const double normal2[3], double point[3],
                                                     double direction[3]) noexcept;

/// The coefficients (a, b, c, d) of a x + b y + c z + d = 0: the normal, and d = -normal . point rounded once. Null
/// arguments are left alone.
QUELPLATFORM_API void qmMath3DPlanePointNormalToCoeff(const double point[3], const double normal[3],
                                                      double coefficients[4]) noexcept;

/// The point common to three planes, given by their coefficients. Refused when their normals lie in a plane, which is
/// decided exactly.
///
/// With s the determinant of the normals as unit vectors and D the distance of the farthest plane from the origin, each
/// coordinate is off by at most `kThreePlanesError` (D + |point|) / s, beside its one rounding. So a point about D away
/// has all its digits down to s = 2^-45, and none is left where s is near `kThreePlanesError`.
QUELPLATFORM_API std::int32_t qmMath3PlanesIntersect(const double plane1[4], const double plane2[4],
                                                     const double plane3[4], double point[3]) noexcept;

/// The points of closest approach of two lines: `a` on the first, `b` on the second. Refused for parallel lines.
QUELPLATFORM_API std::int32_t qmMathIntersect3DLines(const double point1[3], const double direction1[3],
                                                     const double point2[3], const double direction2[3], double a[3],
                                                     double b[3]) noexcept;

/// The point where a line meets a plane. Refused when the line is parallel to the plane, or lies in it.
QUELPLATFORM_API std::int32_t qmMathPlaneIntersectLine(const double planePoint[3], const double planeNormal[3],
                                                       const double linePoint[3], const double lineDirection[3],
                                                       double point[3]) noexcept;

#include "quelplatform/qmMath/qmMathIntersect.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/UnitVector.h"
#include "quelplatform/qmMath/exact/Expansion.h"
#include "quelplatform/qmMath/exact/WideVec3.h"

namespace {

using quelplatform::cross;
using quelplatform::dot;
using quelplatform::DoubleDouble;
using quelplatform::exactDifference;
using quelplatform::Expansion;
using quelplatform::scaledDirection;
using quelplatform::wide;
using quelplatform::WideVec3;

template <typename... Pointers>
bool anyNull(const Pointers*... pointers) {
  return (... || (pointers == nullptr));
}

bool isZero(const WideVec3& a) { return a.v[0].hi == 0.0 && a.v[1].hi == 0.0 && a.v[2].hi == 0.0; }

/// Exactly zero where a . b is: of plain vectors, by their exact products.
bool perpendicular(const WideVec3& a, const WideVec3& b) {
  Expansion sum;
  for (int i = 0; i < 3; ++i) sum += Expansion(a.v[i].hi) * b.v[i].hi;
  return sum.sign() == 0;
}

bool coplanar(const WideVec3 (&n)[3]) {
  Expansion rows[3][3];
  for (int k = 0; k < 3; ++k) {
    for (int i = 0; i < 3; ++i) rows[k][i] = Expansion(n[k].v[i].hi);
  }
  return quelplatform::tripleSign(rows[0], rows[1], rows[2]) == 0;
}

/// -d of a plane, by the factor that `scaledDirection` applies to its normal.
DoubleDouble scaledOffset(const double plane[4]) { return {-plane[3] * quelplatform::directionScale(plane), 0.0}; }

/// True when `out` took the rounded vector; it does where that is finite.
bool writeRounded(const WideVec3& from, double out[3]) {
  const double rounded[3] = {from.v[0].hi, from.v[1].hi, from.v[2].hi};
  if (!std::isfinite(rounded[0]) || !std::isfinite(rounded[1]) || !std::isfinite(rounded[2])) return false;
  std::copy(rounded, rounded + 3, out);
  return true;
}

/// from + (part / whole) along.
WideVec3 onLine(const double from[3], DoubleDouble part, DoubleDouble whole, const WideVec3& along) {
  return wide(from) + (part / whole) * along;
}

}  // namespace

std::int32_t qmMath2PlanesIntersect(const double point1[3], const double normal1[3], const double point2[3],
                                    const double normal2[3], double point[3], double direction[3]) noexcept {
  if (anyNull(point1, normal1, point2, normal2, point, direction)) return 0;
  const WideVec3 n1 = scaledDirection(normal1);
  const WideVec3 n2 = scaledDirection(normal2);
  const WideVec3 along = cross(n1, n2);
  if (isZero(along)) return 0;
  double middle[3];
  for (int i = 0; i < 3; ++i) middle[i] = 0.5 * point1[i] + 0.5 * point2[i];
  const DoubleDouble d1 = dot(n1, exactDifference(point1, middle));
  const DoubleDouble d2 = dot(n2, exactDifference(point2, middle));
  const WideVec3 offset = d1 * cross(n2, along) + d2 * cross(along, n1);
  const DoubleDouble square = dot(along, along);
  WideVec3 foot = wide(middle);
  for (int i = 0; i < 3; ++i) foot.v[i] = foot.v[i] + offset.v[i] / square;
  double axis[3];
  double unitAxis[3];
  if (!writeRounded(along, axis) || !quelplatform::unitVector(axis, unitAxis) || !writeRounded(foot, point)) return 0;
  std::copy(unitAxis, unitAxis + 3, direction);
  return 1;
}

void qmMath3DPlanePointNormalToCoeff(const double point[3], const double normal[3], double coefficients[4]) noexcept {
  if (anyNull(point, normal, coefficients)) return;
  const double d = -dot(wide(point), wide(normal)).hi;
  std::copy(normal, normal + 3, coefficients);
  coefficients[3] = d;
}

std::int32_t qmMath3PlanesIntersect(const double plane1[4], const double plane2[4], const double plane3[4],
                                    double point[3]) noexcept {
  if (anyNull(plane1, plane2, plane3, point)) return 0;
  const WideVec3 n[3] = {scaledDirection(plane1), scaledDirection(plane2), scaledDirection(plane3)};
  if (coplanar(n)) return 0;
  const DoubleDouble d[3] = {scaledOffset(plane1), scaledOffset(plane2), scaledOffset(plane3)};
  const DoubleDouble determinant = dot(n[0], cross(n[1], n[2]));
  const WideVec3 sum = (d[0] * cross(n[1], n[2]) + d[1] * cross(n[2], n[0])) + d[2] * cross(n[0], n[1]);
  WideVec3 common;
  for (int i = 0; i < 3; ++i) common.v[i] = sum.v[i] / determinant;
  return writeRounded(common, point) ? 1 : 0;
}

std::int32_t qmMathIntersect3DLines(const double point1[3], const double direction1[3], const double point2[3],
                                    const double direction2[3], double a[3], double b[3]) noexcept {
  if (anyNull(point1, direction1, point2, direction2, a, b)) return 0;
  const WideVec3 d1 = scaledDirection(direction1);
  const WideVec3 d2 = scaledDirection(direction2);
  const WideVec3 across = cross(d1, d2);
  if (isZero(across)) return 0;
  const WideVec3 between = exactDifference(point2, point1);
  const DoubleDouble square = dot(across, across);
  const WideVec3 onFirst = onLine(point1, dot(cross(between, d2), across), square, d1);
  const WideVec3 onSecond = onLine(point2, dot(cross(between, d1), across), square, d2);
  double first[3];
  if (!writeRounded(onFirst, first) || !writeRounded(onSecond, b)) return 0;
  std::copy(first, first + 3, a);
  return 1;
}

std::int32_t qmMathPlaneIntersectLine(const double planePoint[3], const double planeNormal[3],
                                      const double linePoint[3], const double lineDirection[3],
                                      double point[3]) noexcept {
  if (anyNull(planePoint, planeNormal, linePoint, lineDirection, point)) return 0;
  const WideVec3 normal = scaledDirection(planeNormal);
  const WideVec3 along = scaledDirection(lineDirection);
  if (perpendicular(normal, along)) return 0;
  const DoubleDouble height = dot(normal, exactDifference(planePoint, linePoint));
  return writeRounded(onLine(linePoint, height, dot(normal, along), along), point) ? 1 : 0;
}

#include "quelcore/features/QmFitPoint.h"

#include "quelcore/features/direction.h"
#include "quelcore/features/writeUnlessNull.h"
#include "quelplatform/qmMath/qmMathIntersect.h"

using quelcore::direction;
using quelcore::directionAcross;
using quelcore::writeUnlessNull;

QmFitPoint::~QmFitPoint() = default;

bool QmFitPoint::CalculatePointBy3PlanesIntersection(const QmPlane& plane1, const QmPlane& plane2,
                                                     const QmPlane& plane3) {
  double coefficients[3][4];
  qmMath3DPlanePointNormalToCoeff(plane1.point().v, plane1.normal().v, coefficients[0]);
  qmMath3DPlanePointNormalToCoeff(plane2.point().v, plane2.normal().v, coefficients[1]);
  qmMath3DPlanePointNormalToCoeff(plane3.point().v, plane3.normal().v, coefficients[2]);
  valid_ = qmMath3PlanesIntersect(coefficients[0], coefficients[1], coefficients[2], point_.v) != 0;
  return valid_;
}

bool QmFitPoint::CalculatePointByCylinder(QmCylinder& cylinder) {
  valid_ = true;
  point_ = cylinder.centre() - cylinder.halfLength() * cylinder.axis();
  direction_ = cylinder.axis();
  return true;
}

bool QmFitPoint::CalculatePointByLineInteserction(const QmVec3& point1, const QmVec3& direction1, const QmVec3& point2,
                                                  const QmVec3& direction2) {
  QmVec3 a;
  QmVec3 b;
  valid_ = qmMathIntersect3DLines(point1.v, direction1.v, point2.v, direction2.v, a.v, b.v) != 0;
  direction_ = directionAcross(direction1, direction2);
  point_ = (a + b) / 2.0;
  distance_ = length(a - b);
  return valid_;
}

bool QmFitPoint::CalculatePointByLinePlaneIntersection(const QmPlane& plane, const QmVec3& linePoint,
                                                       const QmVec3& lineDirection) {
  valid_ = qmMathPlaneIntersectLine(plane.point().v, plane.normal().v, linePoint.v, lineDirection.v, point_.v) != 0;
  direction_ = direction(lineDirection);
  return valid_;
}

bool QmFitPoint::CalculatePointByProjectionOnLine(QmVec3& linePoint, QmVec3& lineDirection, QmVec3& point) {
  valid_ = true;
  direction_ = direction(lineDirection);
  // Required: by the direction as given, not by its unit vector.
  point_ = linePoint + dot(lineDirection, point - linePoint) * lineDirection;
  return true;
}

bool QmFitPoint::CalculatePointByProjectionOnPlane(QmPlane& plane, QmVec3& point) {
  valid_ = true;
  direction_ = plane.normal();
  point_ = point - dot(point - plane.point(), plane.normal()) * plane.normal();
  return true;
}

bool QmFitPoint::CalculatePointBySymmetry(std::vector<QmVec3>& points, std::vector<QmVec3>& directions) {
  valid_ = true;
  if (points.size() < 2 || directions.size() < 2) return false;  // Required: valid all the same.
  const auto count = static_cast<double>(points.size());
  point_ = direction_ = QmVec3();
  for (const QmVec3& p : points) point_ += p;
  for (const QmVec3& d : directions) direction_ += d;
  point_ /= count;
  direction_ = direction(direction_ / count);
  return true;
}

bool QmFitPoint::GetPoint(QmVec3& point) const { return writeUnlessNull(point_, point); }

bool QmFitPoint::GetDirection(QmVec3& direction) const { return writeUnlessNull(direction_, direction); }

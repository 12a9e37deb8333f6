// A point in space, with a direction that goes with it, from other features.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/prim_geom/QmCylinder.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/prim_geom/QmVec3.h"

/// Each calculation sets point, direction and validity and returns the validity. "Unit" below: divided by the length,
/// however short or long the vector; one of length 0 stays as it is. Lengths are in the unit of the input. Nothing is
/// logged. A value: copies are independent.
class QUELCORE_API QmFitPoint {
 public:
  /// Valid, at the origin, with direction (0, 0, 1) and distance 0.
  QmFitPoint() = default;
  QmFitPoint(const QmFitPoint&) = default;
  QmFitPoint& operator=(const QmFitPoint&) = default;
  virtual ~QmFitPoint();

  /// The point common to three planes (see qmMath3PlanesIntersect); the direction stays as it was. Fails, with the
  /// point as it was, where there is none.
  bool CalculatePointBy3PlanesIntersection(const QmPlane& plane1, const QmPlane& plane2, const QmPlane& plane3);

  /// The end of a cylinder against its axis, and the axis. Always true.
  bool CalculatePointByCylinder(QmCylinder& cylinder);

  /// The middle between the points of closest approach of two lines, the unit vector of direction1 x direction2, and
  /// their distance. Fails for parallel lines: the point is then the origin, the distance 0, and the direction zero.
  bool CalculatePointByLineInteserction(const QmVec3& point1, const QmVec3& direction1, const QmVec3& point2,
                                        const QmVec3& direction2);

  /// Where a line meets a plane (see qmMathPlaneIntersectLine), and the unit vector of the line's direction. Fails,
  /// with the point as it was and the direction set, for a line parallel to the plane.
  bool CalculatePointByLinePlaneIntersection(const QmPlane& plane, const QmVec3& linePoint,
                                             const QmVec3& lineDirection);

  /// linePoint + (lineDirection . (point - linePoint)) lineDirection, and the unit vector of the line's direction.
  /// Required: the direction counts as it is given, so that only a unit vector gives the foot of the point. Always
  /// true.
  bool CalculatePointByProjectionOnLine(QmVec3& linePoint, QmVec3& lineDirection, QmVec3& point);

  /// The foot of a point on a plane whose normal counts as a unit vector, and that normal as it stands. Always true.
  bool CalculatePointByProjectionOnPlane(QmPlane& plane, QmVec3& point);

  /// The centroid of the points and the mean direction. Required: with fewer than two of either the result is false and
  /// the validity true, and all else stays as it was; a number of directions other than that of the points is fine.
  bool CalculatePointBySymmetry(std::vector<QmVec3>& points, std::vector<QmVec3>& directions);

  /// False if the address of the output is null.
  bool GetPoint(QmVec3& point) const;
  bool GetDirection(QmVec3& direction) const;
  /// The gap between the two lines that were last intersected.
  double GetDistance() const { return distance_; }
  bool IsValid() const { return valid_; }

 private:
  bool valid_ = true;
  QmVec3 point_;
  QmVec3 direction_ = QmVec3(0.0, 0.0, 1.0);
  double distance_ = 0.0;
};

// A line in space, from points, two planes, a cylinder or a projection, with the points that bound it.
#pragma once

#include <vector>

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/prim_geom/QmCylinder.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/prim_geom/QmVec3.h"

/// Each calculation sets the validity and returns it; after a failed one only `IsValid` says anything. The other
/// getters do not look at the validity. Lengths are in the unit of the points. Nothing is logged. A calculation that
/// runs out of memory fails with no line points; one that fails otherwise leaves point and direction as they were. A
/// value: copies are independent.
class QUELCORE_API QmFitLine {
 public:
  /// Valid, with point and direction zero, no line points and length 0.
  QmFitLine() = default;
  QmFitLine(const QmFitLine&) = default;
  QmFitLine& operator=(const QmFitLine&) = default;
  virtual ~QmFitLine();

  /// The least-squares line through `points` (see qmMathFit3DLine), bounded by their extent: `linePoints` become the
  /// feet of the points on the line with the smallest and the largest parameter, twice the same where all feet
  /// coincide. Of points with the same parameter the first counts; a point without a finite parameter bounds nothing.
  /// Fails for no points and where no line can be fitted.
  bool CalculateLineByPoints(std::vector<QmVec3>& points);

  /// The common line of two planes (see qmMath2PlanesIntersect), bounded by the extent of `points`, which play no other
  /// part. Fails for fewer than two points and for parallel planes.
  bool CalculateLineByIntersection(QmPlane& plane1, QmPlane& plane2, std::vector<QmVec3>& points);

  /// Required: fits no line. `linePoints` become the projections of `points` onto the plane, in their order, and point
  /// and direction stay as they were. The plane's normal counts as a unit vector. Fails for no points.
  bool CalculateLineByProjection(QmPlane& plane, std::vector<QmVec3>& points);

  /// The axis of a cylinder, bounded by its ends. Required: the ends, the one against the axis first, are appended to
  /// the line points that are there. Always valid, unless memory runs out.
  bool CalculateLineByCylinder(QmCylinder& cylinder);

  /// False if the address of the output is null.
  bool GetPoint(QmVec3& point) const;
  bool GetDirection(QmVec3& direction) const;

  /// Copies the bounding points. False, with `linePoints` emptied, when there are none.
  bool GetLinePoints(std::vector<QmVec3>& linePoints) const;

  /// Required: 0 whatever was calculated.
  double GetLength() const { return length_; }
  bool IsValid() const { return valid_; }

 private:
  template <typename Step>
  void fill(Step step);
  void boundBy(const std::vector<QmVec3>& points);

  bool valid_ = true;
  QmVec3 point_;
  QmVec3 direction_;
  std::vector<QmVec3> linePoints_;
  double length_ = 0.0;
};

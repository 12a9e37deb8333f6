// Features through points: where they lie and how far the points are off.
#pragma once

#include <vector>

#include "files/Values.h"
#include "quel/geometry/Residuals.h"
#include "quelplatform/prim_geom/QmVec3.h"

namespace queltool {

using quel::Residuals;

struct PlaneFeature {
  std::vector<QmVec3> points;
  QmVec3 center;
  QmVec3 normal;
  Residuals residuals;          ///< Positive on the side of the normal.
  std::vector<QmVec3> outline;  ///< Convex hull of the points, projected onto the plane.
};

struct LineFeature {
  std::vector<QmVec3> points;
  QmVec3 point;
  QmVec3 direction;
  QmVec3 ends[2];  ///< The feet of the outermost points.
  double length = 0.0;
  Residuals residuals;  ///< Distances.
};

/// The least-squares plane or line. Throws `Failure` where there is none: fewer than three points off a line, or two
/// distinct ones.
PlaneFeature fitPlane(const std::vector<Vec3>& points);

/// The points against the plane normal . x + offset = 0; the normal may have any length but 0. The centre is the foot
/// of their centroid. Throws `Failure` where they have no outline.
PlaneFeature againstPlane(const std::vector<Vec3>& points, const QmVec3& normal, double offset);

LineFeature fitLine(const std::vector<Vec3>& points);

}  // namespace queltool

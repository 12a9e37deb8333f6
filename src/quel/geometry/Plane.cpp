#include "quel/geometry/Plane.h"

#include <cmath>
#include <utility>

#include "quel/base/Arrays.h"
#include "quel/geometry/points.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/qmMath/QmMathConvexPolygon.h"
#include "quelplatform/qmMath/qmMathFit.h"

namespace quel {

namespace {

void measure(Plane& plane, std::span<const Vec3> points) {
  std::vector<double> each;
  each.reserve(points.size());
  for (const Vec3& point : points) each.push_back(plane.distanceOf(point));
  plane.residuals = residualsOf(std::move(each));
}

// A normal turns about each axis of the plane by what the points weigh that lie far from it:
// variance [a b] M^-1 [a b]^t, M the second moments of the points in the plane.
Mat3 covarianceOfNormal(const Plane& plane, std::span<const Vec3> points, double variance) {
  const Across axes = acrossOf(vectorOf(plane.normal));
  const Moments m = momentsOf(points, vectorOf(plane.centre), axes);
  const double scale = variance / (m.aa * m.bb - m.ab * m.ab);
  Mat3 covariance{};
  for (int i = 0; i < 3; ++i) {
    for (int k = 0; k < 3; ++k) {
      covariance[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
          scale * (m.bb * axes.a[i] * axes.a[k] - m.ab * (axes.a[i] * axes.b[k] + axes.b[i] * axes.a[k]) +
                   m.aa * axes.b[i] * axes.b[k]);
    }
  }
  return covariance;
}

}  // namespace

double Plane::distanceOf(const Vec3& point) const {
  return ::dot(vectorOf(normal), vectorOf(point) - vectorOf(centre));
}

Result<Plane> Plane::fit(std::span<const Vec3> points) {
  if (const auto done = refuseNotFinite(points); !done) return done.error();
  Plane plane;
  if (qmMathFit3DPlane(rowsOf(points.data()), static_cast<std::int64_t>(points.size()), plane.normal.data(),
                       plane.centre.data()) != 1) {
    return Error{"no plane can be fitted; it takes three points that do not lie on one line"};
  }
  measure(plane, points);
  plane.centreCovariance = plane.normalCovariance = unknown();
  if (points.size() == 3) return plane;
  const auto count = static_cast<double>(points.size());
  const double variance = plane.residuals.rms * plane.residuals.rms * count / (count - 3.0);
  plane.centreCovariance = alike(variance / count);
  plane.normalCovariance = covarianceOfNormal(plane, points, variance);
  return plane;
}

Result<Plane> Plane::through(std::span<const Vec3> points, const Vec3& normal, double offset) {
  if (const auto done = refuseNotFinite(points); !done) return done.error();
  const QmVec3 given = vectorOf(normal);
  const double size = length(given);
  if (!std::isfinite(offset) || !std::isfinite(size) || size == 0.0) {
    return Error{"a plane has a normal of finite length that is not 0, and a finite offset"};
  }
  if (points.empty()) return Error{"there are no points"};
  QmVec3 centroid;
  for (const Vec3& point : points) centroid += vectorOf(point) / static_cast<double>(points.size());
  const QmVec3 up = unit(given);
  Plane plane;
  plane.normal = arrayOf(up);
  plane.centre = arrayOf(centroid - (::dot(up, centroid) + offset / size) * up);
  plane.centreCovariance = plane.normalCovariance = unknown();
  measure(plane, points);
  return plane;
}

Result<std::vector<Vec3>> convexOutline(std::span<const Vec3> points, const Plane& plane) {
  if (const auto done = refuseNotFinite(points); !done) return done.error();
  std::vector<QmVec3> vectors = vectorsOf(points);
  std::vector<int> corners;
  QmVec3 centre = vectorOf(plane.centre);
  QmVec3 normal = vectorOf(plane.normal);
  if (!QmMathConvexPolygonCalc3D(vectors, corners, &centre, &normal)) return Error{"the points have no outline"};
  const QmPlane flat(centre.v, normal.v);
  std::vector<Vec3> outline;
  for (const int corner : corners) {
    outline.push_back(arrayOf(flat.project(vectors[static_cast<std::size_t>(corner)].v)));
  }
  return outline;
}

}  // namespace quel

#include "models/FeatureRun.h"

#include <algorithm>
#include <cmath>

#include "files/Failure.h"
#include "quelcore/features/QmFitLine.h"
#include "quelcore/features/QmFitPlane.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/qmMath/QmMathConvexPolygon.h"

namespace queltool {

namespace {

std::vector<QmVec3> vectorsOf(const std::vector<Vec3>& points) {
  std::vector<QmVec3> vectors;
  vectors.reserve(points.size());
  for (const Vec3& p : points) vectors.emplace_back(p[0], p[1], p[2]);
  return vectors;
}

Residuals residualsOf(std::vector<double> each) {
  Residuals residuals;
  const auto count = static_cast<double>(each.size());
  double sizes = 0.0;
  double squares = 0.0;
  for (const double d : each) {
    residuals.mean += d / count;
    sizes += std::abs(d) / count;
    squares += d * d / count;
  }
  double spread = 0.0;
  for (const double d : each) spread += (std::abs(d) - sizes) * (std::abs(d) - sizes) / count;
  residuals.rms = std::sqrt(squares);
  residuals.stdOfSize = std::sqrt(spread);
  const auto [smallest, largest] = std::minmax_element(each.begin(), each.end());
  residuals.smallest = *smallest;
  residuals.largest = *largest;
  residuals.each = std::move(each);
  return residuals;
}

void measure(PlaneFeature& feature) {
  std::vector<double> each;
  each.reserve(feature.points.size());
  for (const QmVec3& p : feature.points) each.push_back(dot(feature.normal, p - feature.center));
  feature.residuals = residualsOf(std::move(each));
}

}  // namespace

PlaneFeature fitPlane(const std::vector<Vec3>& points) {
  PlaneFeature feature;
  feature.points = vectorsOf(points);
  QmFitPlane fit(&feature.points);
  if (!fit.IsValid()) throw Failure("no plane can be fitted; it takes three points that do not lie on one line");
  fit.GetCenter(feature.center);
  fit.GetNormal(feature.normal);
  if (!fit.CalculateConvexHullPlane(feature.outline)) throw Failure("the points have no outline");
  measure(feature);
  return feature;
}

PlaneFeature againstPlane(const std::vector<Vec3>& points, const QmVec3& normal, double offset) {
  PlaneFeature feature;
  feature.points = vectorsOf(points);
  feature.normal = unit(normal);
  QmVec3 centroid;
  for (const QmVec3& p : feature.points) centroid += p / static_cast<double>(points.size());
  feature.center = centroid - (dot(feature.normal, centroid) + offset / length(normal)) * feature.normal;
  std::vector<int> corners;
  QmVec3 center = feature.center;
  QmVec3 across = feature.normal;
  if (!QmMathConvexPolygonCalc3D(feature.points, corners, &center, &across)) {
    throw Failure("the points have no outline");
  }
  const QmPlane plane(feature.center.v, feature.normal.v);
  for (const int corner : corners)
    feature.outline.push_back(plane.project(feature.points[static_cast<std::size_t>(corner)].v));
  measure(feature);
  return feature;
}

LineFeature fitLine(const std::vector<Vec3>& points) {
  LineFeature feature;
  feature.points = vectorsOf(points);
  QmFitLine fit;
  std::vector<QmVec3> ends;
  if (!fit.CalculateLineByPoints(feature.points) || !fit.GetLinePoints(ends)) {
    throw Failure("no line can be fitted; it takes two points that do not coincide");
  }
  fit.GetPoint(feature.point);
  fit.GetDirection(feature.direction);
  std::copy_n(ends.begin(), 2, feature.ends);
  feature.length = length(ends[1] - ends[0]);
  std::vector<double> each;
  for (const QmVec3& p : feature.points) each.push_back(length(cross(p - feature.point, feature.direction)));
  feature.residuals = residualsOf(std::move(each));
  return feature;
}

}  // namespace queltool

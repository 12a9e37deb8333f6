#include "models/FeatureRun.h"

#include <utility>

#include "files/Failure.h"
#include "quel/geometry/Line.h"
#include "quel/geometry/Plane.h"

namespace queltool {

namespace {

QmVec3 vectorOf(const Vec3& v) { return {v[0], v[1], v[2]}; }

std::vector<QmVec3> vectorsOf(const std::vector<Vec3>& points) {
  std::vector<QmVec3> vectors;
  vectors.reserve(points.size());
  for (const Vec3& p : points) vectors.push_back(vectorOf(p));
  return vectors;
}

template <typename T>
T valueOf(Result<T> result) {
  if (!result) throw Failure(result.error().message());
  return std::move(result.value());
}

PlaneFeature featureOf(const std::vector<Vec3>& points, quel::Plane plane) {
  const std::vector<Vec3> outline = valueOf(quel::convexOutline(points, plane));
  return {vectorsOf(points), vectorOf(plane.centre), vectorOf(plane.normal), std::move(plane.residuals),
          vectorsOf(outline)};
}

}  // namespace

PlaneFeature fitPlane(const std::vector<Vec3>& points) { return featureOf(points, valueOf(quel::Plane::fit(points))); }

PlaneFeature againstPlane(const std::vector<Vec3>& points, const QmVec3& normal, double offset) {
  return featureOf(points, valueOf(quel::Plane::through(points, {normal[0], normal[1], normal[2]}, offset)));
}

LineFeature fitLine(const std::vector<Vec3>& points) {
  quel::Line line = valueOf(quel::Line::fit(points));
  return {vectorsOf(points),
          vectorOf(line.centre),
          vectorOf(line.direction),
          {vectorOf(line.ends[0]), vectorOf(line.ends[1])},
          line.length,
          std::move(line.residuals)};
}

}  // namespace queltool

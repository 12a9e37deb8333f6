#include "nominal/MeshNominal.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>

#include "files/Failure.h"
#include "nominal/MeshCleaning.h"
#include "nominal/SliverPoint.h"
#include "nominal/VectorMath.h"

namespace queltool {

namespace {

// Nearer than that to what it lies on no point of the frame is computed to be: roundings of its coordinates.
double roundingsOf(const Vec3& p) { return 0x1p-48 * std::max({1.0, std::abs(p[0]), std::abs(p[1]), std::abs(p[2])}); }

}  // namespace

MeshNominal::MeshNominal(quel::Surface surface) {
  remarks_ = std::move(surface.remarks);
  cleanMesh(surface, remarks_);
  if (surface.facets.empty()) throw Failure("has no triangle with an area");
  frame_ = NominalFrame(surface.vertices);
  for (Vec3& vertex : surface.vertices) vertex = frame_.into(vertex);
  shape_ = std::make_unique<MeshShape>(std::move(surface.vertices), std::move(surface.facets), remarks_);
  tree_ = std::make_unique<MeshTree>(*shape_, frame_.middle());
}

std::string MeshNominal::title() const { return fmt::format("mesh of {} triangles", shape_->countOfTriangles()); }

// The triangle of the point in front is near where points follow a scan.
void MeshNominal::findNearest(std::span<const Vec3> points, std::span<Nearest> found) const {
  std::uint32_t hint = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Vec3 p = frame_.into(points[i]);
    MeshTree::Hit hit = tree_->nearest(p, hint);
    hint = hit.triangle;
    refine(hit, p);
    found[i] = nearestOf(points[i], p, hit);
  }
}

void MeshNominal::refine(MeshTree::Hit& hit, const Vec3& p) const {
  const Triangle triangle = shape_->triangle(hit.triangle);
  const Vec3 from = minus(p, triangle.a);
  if (dot(from, from) <= triangle.reach) return;
  hit.foot = refinedFoot(triangle, p);
  hit.feature = shape_->featureOf(hit.triangle, hit.foot.part);
}

Nearest MeshNominal::nearestOf(const Vec3& point, const Vec3& inFrame, const MeshTree::Hit& hit) const {
  const MeshFeature feature = shape_->uncovered(hit.feature, inFrame);
  const MeshShape::Outward outward = shape_->outwardAt(feature);
  const Vec3 nearest = frame_.out(minus(inFrame, hit.foot.offset));
  const double distance = frame_.distance(point, nearest, std::sqrt(hit.foot.squared));
  if (outward.side != Side::Known) return {nearest, unit(outward.normal), distance, outward.side};
  const double side = dot(hit.foot.offset, outward.normal);
  // A facet always has a side; there, and as near as roundings to an edge or a corner, 0 is that of a point which lies
  // on it.
  const bool lies = feature.kind == MeshFeature::Kind::Facet || std::sqrt(hit.foot.squared) <= roundingsOf(inFrame);
  if (side == 0.0 && !lies) return {nearest, unit(outward.normal), distance, Side::Unknown};
  return {nearest, unit(outward.normal), side < 0.0 ? -distance : distance, Side::Known};
}

}  // namespace queltool

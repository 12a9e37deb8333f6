#include "quel/clouds/Faces.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace quel {

namespace {

// A face that is cut from its first corner has a triangle the other way round where it is not convex.
bool isConvex(std::span<const Facet> triangles, std::span<const Vec3> vertices) {
  Vec3 sum{};
  std::vector<Vec3> normals;
  for (const Facet& each : triangles) {
    const Vec3 &a = vertices[each[0]], &b = vertices[each[1]], &c = vertices[each[2]];
    const Vec3 u = {b[0] - a[0], b[1] - a[1], b[2] - a[2]}, v = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
    normals.push_back({u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]});
    for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += normals.back()[axis];
  }
  return std::all_of(normals.begin(), normals.end(), [&sum](const Vec3& each) { return dot(each, sum) >= 0.0; });
}

void demandFinite(const Surface& surface) {
  for (const Facet& facet : surface.facets) {
    for (const std::uint32_t corner : facet) {
      if (isFinite(surface.vertices[corner])) continue;
      throw Error{
          fmt::format("vertex {} of {}, a corner of a face, is no finite point", corner, surface.vertices.size())};
    }
  }
}

}  // namespace

void Faces::addCorner(double place) {
  constexpr double kMost = std::numeric_limits<std::uint32_t>::max();
  if (!(place >= 0.0) || place >= static_cast<double>(vertices_) || place > kMost || place != std::floor(place)) {
    throw Error{fmt::format("{} is none of the {} vertices, which count from 0 on", place, vertices_)};
  }
  const auto corner = static_cast<std::uint32_t>(place);
  if (corners_ == 0) first_ = corner;
  if (corners_ > 1) facets_.push_back({first_, last_, corner});
  last_ = corner;
  ++corners_;
}

void Faces::endFace() {
  if (corners_ < 3) throw Error{fmt::format("a face has {} corners, and needs three", corners_)};
  if (facets_.size() > std::numeric_limits<std::uint32_t>::max()) throw Error{"there are more than 2^32 triangles"};
  const std::uint32_t count = corners_ - 2;
  if (count > 1) polygons_.push_back({static_cast<std::uint32_t>(facets_.size()) - count, count});
  corners_ = 0;
}

void Faces::moveTo(Surface& surface) {
  surface.facets = std::move(facets_);
  demandFinite(surface);
  if (polygons_.empty()) return;
  const auto bent = std::count_if(polygons_.begin(), polygons_.end(), [&surface](const Polygon& each) {
    return !isConvex(std::span(surface.facets).subspan(each.facet, each.count), surface.vertices);
  });
  std::string remark =
      fmt::format("{} faces have more than three corners and are cut into triangles from the first", polygons_.size());
  if (bent != 0) remark += fmt::format("; {} of them are not convex, and their triangles overlap", bent);
  surface.remarks.push_back(std::move(remark));
}

}  // namespace quel

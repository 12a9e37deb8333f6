#include "nominal/MeshCleaning.h"

#include <fmt/core.h>

#include <algorithm>

#include "nominal/VectorMath.h"

namespace queltool {

namespace {

using quel::Facet;
using quel::Surface;

constexpr std::uint32_t kNone = 0xFFFFFFFF;

Vec3 storedNormal(const Surface& surface, std::size_t facet) {
  if (!surface.facetNormals.empty()) return surface.facetNormals[facet];
  const Facet& f = surface.facets[facet];
  const std::vector<Vec3>& n = surface.vertexNormals;
  return plus(plus(unit(n[f[0]]), unit(n[f[1]])), unit(n[f[2]]));
}

void compareNormals(const Surface& surface, std::vector<std::string>& remarks) {
  if (surface.facetNormals.empty() && surface.vertexNormals.empty()) return;
  std::size_t against = 0;
  for (std::size_t n = 0; n < surface.facets.size(); ++n) {
    const Facet& f = surface.facets[n];
    const Vec3& a = surface.vertices[f[0]];
    const Vec3 winding = unit(cross(minus(surface.vertices[f[1]], a), minus(surface.vertices[f[2]], a)));
    if (dot(winding, unit(storedNormal(surface, n))) < 0.0) ++against;
  }
  if (against == 0) return;
  remarks.push_back(fmt::format("the stored normals of {} triangles are against their windings, which count", against));
}

void joinVertices(Surface& surface) {
  const std::vector<std::uint32_t> first = quel::firstAtPlace(surface.vertices);
  for (Facet& facet : surface.facets) {
    for (std::uint32_t& corner : facet) corner = first[corner];
  }
}

void dropCollapsed(std::vector<Facet>& facets, std::vector<std::string>& remarks) {
  const std::size_t dropped =
      std::erase_if(facets, [](const Facet& f) { return f[0] == f[1] || f[1] == f[2] || f[2] == f[0]; });
  if (dropped != 0) remarks.push_back(fmt::format("{} triangles have two equal corners and are left out", dropped));
}

// The same triangle in the same winding begins with its lowest corner.
Facet turned(const Facet& f) {
  const auto lowest = static_cast<std::size_t>(std::min_element(f.begin(), f.end()) - f.begin());
  return {f[lowest], f[(lowest + 1) % 3], f[(lowest + 2) % 3]};
}

struct Ordered {
  Facet facet;
  std::uint32_t index;
  auto operator<=>(const Ordered&) const = default;
};

void dropRepeated(std::vector<Facet>& facets, std::vector<std::string>& remarks) {
  std::vector<Ordered> order;
  order.reserve(facets.size());
  for (const Facet& each : facets) order.push_back({turned(each), static_cast<std::uint32_t>(order.size())});
  std::sort(order.begin(), order.end());
  std::size_t dropped = 0;
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (order[i].facet != order[i - 1].facet) continue;
    facets[order[i].index][0] = kNone;
    ++dropped;
  }
  if (dropped == 0) return;
  std::erase_if(facets, [](const Facet& each) { return each[0] == kNone; });
  remarks.push_back(fmt::format("{} triangles stand there more than once and count once", dropped));
}

void dropUnused(Surface& surface) {
  std::vector<std::uint32_t> place(surface.vertices.size(), kNone);
  for (const Facet& facet : surface.facets) {
    for (const std::uint32_t corner : facet) place[corner] = 0;
  }
  std::uint32_t kept = 0;
  for (std::size_t i = 0; i < place.size(); ++i) {
    if (place[i] == kNone) continue;
    surface.vertices[kept] = surface.vertices[i];
    place[i] = kept++;
  }
  surface.vertices.resize(kept);
  for (Facet& facet : surface.facets) {
    for (std::uint32_t& corner : facet) corner = place[corner];
  }
}

}  // namespace

void cleanMesh(Surface& surface, std::vector<std::string>& remarks) {
  compareNormals(surface, remarks);
  surface.facetNormals = {};
  surface.vertexNormals = {};
  joinVertices(surface);
  dropCollapsed(surface.facets, remarks);
  dropRepeated(surface.facets, remarks);
  dropUnused(surface);
}

}  // namespace queltool

// The edges of a mesh and the triangles on both sides of each.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "quel/clouds/Surface.h"

namespace queltool {

/// What lies at an edge.
enum class EdgeKind : std::uint8_t {
  Inner,     ///< Two triangles whose windings agree.
  Border,    ///< One triangle.
  Opposed,   ///< Two triangles whose windings do not agree.
  Branching  ///< More than two.
};

struct MeshEdges {
  struct Edge {
    std::array<std::uint32_t, 2> facets;  ///< The first two; both the same where there is one.
    EdgeKind kind;
  };
  std::vector<Edge> edges;
  std::vector<std::array<std::uint32_t, 3>> ofFacets;  ///< Edge k leads from corner k to the next one.

  /// On the other side of edge `k` of `facet`, where that is `Inner`.
  std::uint32_t across(std::uint32_t facet, std::size_t k) const {
    const Edge& edge = edges[ofFacets[facet][k]];
    return edge.facets[edge.facets[0] == facet ? 1 : 0];
  }
};

/// Of facets without equal corners, of which there are less than 2^30.
MeshEdges edgesOf(const std::vector<quel::Facet>& facets);

}  // namespace queltool

#include "nominal/MeshEdges.h"

#include <algorithm>

namespace queltool {

namespace {

struct HalfEdge {
  std::uint64_t ends;  // The lower place in front.
  std::uint32_t facet;
  std::uint8_t corner;
  bool forward;  // From the lower to the higher place.

  bool operator<(const HalfEdge& other) const {
    return ends < other.ends || (ends == other.ends && facet < other.facet);
  }
};

std::vector<HalfEdge> halfEdgesOf(const std::vector<quel::Facet>& facets) {
  std::vector<HalfEdge> halves;
  halves.reserve(3 * facets.size());
  for (std::uint32_t n = 0; n < facets.size(); ++n) {
    for (std::uint8_t k = 0; k < 3; ++k) {
      const std::uint64_t from = facets[n][k], to = facets[n][(k + 1) % 3];
      halves.push_back({std::min(from, to) << 32 | std::max(from, to), n, k, from < to});
    }
  }
  std::sort(halves.begin(), halves.end());
  return halves;
}

EdgeKind kindOf(const HalfEdge* first, std::size_t count) {
  if (count == 1) return EdgeKind::Border;
  if (count > 2) return EdgeKind::Branching;
  return first[0].forward == first[1].forward ? EdgeKind::Opposed : EdgeKind::Inner;
}

}  // namespace

MeshEdges edgesOf(const std::vector<quel::Facet>& facets) {
  const std::vector<HalfEdge> halves = halfEdgesOf(facets);
  MeshEdges result;
  result.ofFacets.resize(facets.size());
  for (std::size_t first = 0, end = 0; first < halves.size(); first = end) {
    while (end < halves.size() && halves[end].ends == halves[first].ends) {
      result.ofFacets[halves[end].facet][halves[end].corner] = static_cast<std::uint32_t>(result.edges.size());
      ++end;
    }
    const std::size_t second = std::min(first + 1, end - 1);
    result.edges.push_back({{halves[first].facet, halves[second].facet}, kindOf(&halves[first], end - first)});
  }
  return result;
}

}  // namespace queltool

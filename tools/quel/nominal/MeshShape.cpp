#include "nominal/MeshShape.h"

#include <fmt/core.h>

#include <algorithm>
#include <limits>

#include "files/Failure.h"
#include "nominal/VectorMath.h"

namespace queltool {

namespace {

using quel::Facet;

// In place of a facet where none stands for one without area.
constexpr std::uint32_t kBorder = 0xFFFFFFFE;
constexpr std::uint32_t kUnknown = 0xFFFFFFFD;

// Below, the roundings of its normal leave no direction.
constexpr double kLeastHeight = 0x1p-46;

Side worseOf(Side a, Side b) { return a == Side::Border || b == Side::Border ? Side::Border : std::max(a, b); }

Side sideOf(std::uint32_t facet) {
  return facet == kBorder ? Side::Border : facet >= kUnknown ? Side::Unknown : Side::Known;
}

Side sideOf(EdgeKind kind) {
  return kind == EdgeKind::Inner ? Side::Known : kind == EdgeKind::Border ? Side::Border : Side::Unknown;
}

double angleBetween(const Vec3& u, const Vec3& v) {
  const Vec3 n = cross(u, v);
  return std::atan2(std::sqrt(dot(n, n)), dot(u, v));
}

void remarkEdges(const MeshEdges& mesh, std::vector<std::string>& remarks) {
  std::array<std::size_t, 4> counts{};
  for (const MeshEdges::Edge& each : mesh.edges) ++counts[static_cast<std::size_t>(each.kind)];
  const auto say = [&](EdgeKind kind, const char* what) {
    const std::size_t count = counts[static_cast<std::size_t>(kind)];
    if (count != 0) remarks.push_back(fmt::format(fmt::runtime(what), count));
  };
  say(EdgeKind::Border, "{} edges are open: points nearest to them have no side");
  say(EdgeKind::Opposed,
      "{} edges lie between opposite windings: points nearest to them have no side, and on one side of "
      "them outside and inside are exchanged");
  say(EdgeKind::Branching, "{} edges join more than two triangles: points nearest to them have no side");
}

}  // namespace

MeshShape::MeshShape(std::vector<Vec3>&& vertices, std::vector<Facet>&& facets, std::vector<std::string>& remarks)
    : vertices_(std::move(vertices)), facets_(std::move(facets)) {
  constexpr std::size_t kMostFacets = std::size_t{1} << 30;
  if (facets_.size() >= kMostFacets) throw Failure("has 2^30 triangles or more");
  partByArea(remarks);
  takeReaches();
  markBacks(remarks);
  MeshEdges mesh = edgesOf(facets_);
  remarkEdges(mesh, remarks);
  const std::vector<std::uint32_t> standsFor = standIns(mesh);
  takeEdges(mesh, standsFor);
  takeCorners(mesh, standsFor);
  edgesOf_ = std::move(mesh.ofFacets);
}

bool MeshShape::hasArea(const Facet& f) const {
  const Vec3 u = minus(vertices_[f[1]], vertices_[f[0]]), v = minus(vertices_[f[2]], vertices_[f[0]]);
  const Vec3 w = minus(v, u), n = cross(u, v);
  const double longest = std::max({dot(u, u), dot(v, v), dot(w, w)});
  return std::sqrt(dot(n, n)) > kLeastHeight * longest;
}

void MeshShape::partByArea(std::vector<std::string>& remarks) {
  const auto behind =
      std::stable_partition(facets_.begin(), facets_.end(), [this](const Facet& each) { return hasArea(each); });
  areas_ = static_cast<std::uint32_t>(behind - facets_.begin());
  if (areas_ == 0) throw Failure("has no triangle with an area");
  if (areas_ == facets_.size()) return;
  remarks.push_back(fmt::format("{} triangles have no area, and are no part of the surface", facets_.size() - areas_));
}

void MeshShape::takeReaches() {
  reaches_.reserve(areas_);
  for (std::uint32_t n = 0; n < areas_; ++n) {
    const Facet& f = facets_[n];
    reaches_.push_back(static_cast<float>(reachOf(vertices_[f[0]], vertices_[f[1]], vertices_[f[2]])));
  }
}

void MeshShape::markBacks(std::vector<std::string>& remarks) {
  std::vector<std::pair<Facet, std::uint32_t>> order;
  order.reserve(areas_);
  for (std::uint32_t n = 0; n < areas_; ++n) {
    Facet sorted = facets_[n];
    std::sort(sorted.begin(), sorted.end());
    order.emplace_back(sorted, n);
  }
  std::sort(order.begin(), order.end());
  hasBack_.resize(areas_);
  std::size_t pairs = 0;
  for (std::size_t i = 1; i < order.size(); ++i) {
    if (order[i].first != order[i - 1].first) continue;
    hasBack_[order[i].second] = hasBack_[order[i - 1].second] = true;
    ++pairs;
  }
  if (pairs == 0) return;
  remarks.push_back(fmt::format("{} triangles are the backs of others: points nearest to them have no side", pairs));
}

std::size_t MeshShape::longestEdgeOf(std::uint32_t facet) const {
  const Facet& f = facets_[facet];
  std::array<double, 3> squares;
  for (std::size_t k = 0; k < 3; ++k) {
    const Vec3 along = minus(vertices_[f[(k + 1) % 3]], vertices_[f[k]]);
    squares[k] = dot(along, along);
  }
  return static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
}

// A triangle without area lies on its long side; behind that is what its short sides have behind them.
std::vector<std::uint32_t> MeshShape::standIns(const MeshEdges& mesh) const {
  constexpr int kMostSteps = 64;
  std::vector<std::uint32_t> result(facets_.size());
  for (std::uint32_t n = 0; n < facets_.size(); ++n) {
    std::uint32_t at = n;
    for (int step = 0; at < facets_.size() && at >= areas_; ++step) {
      const std::size_t k = longestEdgeOf(at);
      const EdgeKind kind = mesh.edges[mesh.ofFacets[at][k]].kind;
      const bool on = kind == EdgeKind::Inner && step < kMostSteps;
      at = on ? mesh.across(at, k) : kind == EdgeKind::Border ? kBorder : kUnknown;
    }
    result[n] = at;
  }
  return result;
}

void MeshShape::takeEdges(const MeshEdges& mesh, const std::vector<std::uint32_t>& standsFor) {
  edges_.reserve(mesh.edges.size());
  for (const MeshEdges::Edge& each : mesh.edges) {
    const Sides facets = {standsFor[each.facets[0]], standsFor[each.facets[1]]};
    const Side side = worseOf(sideOf(each.kind), worseOf(sideOf(facets[0]), sideOf(facets[1])));
    const std::uint32_t instead = side == Side::Border ? kBorder : kUnknown;
    edges_.push_back(side == Side::Known ? facets : Sides{instead, instead});
  }
  for (std::uint32_t n = areas_; n < facets_.size(); ++n) {
    const std::uint32_t edge = mesh.ofFacets[n][longestEdgeOf(n)];
    if (mesh.edges[edge].kind == EdgeKind::Inner) covers_[edge] = n;
  }
}

Vec3 MeshShape::normalOf(std::uint32_t facet) const {
  const Facet& f = facets_[facet];
  const Vec3& a = vertices_[f[0]];
  return unit(cross(minus(vertices_[f[1]], a), minus(vertices_[f[2]], a)));
}

void MeshShape::addAngles(const std::vector<std::uint32_t>& standsFor) {
  constexpr double kRight = 1.5;  // Of a triangle without area one angle is straight and the others are none.
  for (std::uint32_t n = 0; n < facets_.size(); ++n) {
    const Facet& f = facets_[n];
    const Side side = sideOf(standsFor[n]);
    const Vec3 normal = side == Side::Known ? normalOf(standsFor[n]) : Vec3{};
    for (std::size_t k = 0; k < 3; ++k) {
      const Vec3& at = vertices_[f[k]];
      const double angle = angleBetween(minus(vertices_[f[(k + 1) % 3]], at), minus(vertices_[f[(k + 2) % 3]], at));
      cornerNormals_[f[k]] = plus(cornerNormals_[f[k]], times(angle, normal));
      if (angle > kRight) cornerSides_[f[k]] = worseOf(cornerSides_[f[k]], side);
    }
  }
}

// Whether the `count` triangles at a corner hang together there; all edges at it are inner ones.
bool MeshShape::isOneFan(const MeshEdges& mesh, std::uint32_t facet, std::size_t corner, std::uint32_t count) const {
  const std::uint32_t vertex = facets_[facet][corner];
  std::uint32_t at = facet, met = 0;
  do {
    at = mesh.across(at, corner);
    corner = static_cast<std::size_t>(std::find(facets_[at].begin(), facets_[at].end(), vertex) - facets_[at].begin());
    ++met;
  } while (at != facet && met < count);
  return at == facet && met == count;
}

void MeshShape::takeCorners(const MeshEdges& mesh, const std::vector<std::uint32_t>& standsFor) {
  cornerNormals_.resize(vertices_.size());
  cornerSides_.resize(vertices_.size(), Side::Known);
  addAngles(standsFor);
  std::vector<std::uint32_t> counts(vertices_.size());
  for (std::uint32_t n = 0; n < facets_.size(); ++n) {
    for (std::size_t k = 0; k < 3; ++k) {
      const Side side = sideOf(mesh.edges[mesh.ofFacets[n][k]].kind);
      for (const std::size_t end : {k, (k + 1) % 3}) {
        Side& corner = cornerSides_[facets_[n][end]];
        corner = worseOf(corner, side);
      }
      ++counts[facets_[n][k]];
    }
  }
  for (std::uint32_t n = 0; n < facets_.size(); ++n) {
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t vertex = facets_[n][k];
      const std::uint32_t count = std::exchange(counts[vertex], 0);  // Once a corner.
      if (count == 0 || cornerSides_[vertex] != Side::Known) continue;
      if (!isOneFan(mesh, n, k, count)) cornerSides_[vertex] = Side::Unknown;
    }
  }
}

MeshFeature MeshShape::featureOf(std::uint32_t triangle, TrianglePart part) const {
  const auto k = static_cast<std::size_t>(part);
  if (part <= TrianglePart::Corner2) return {MeshFeature::Kind::Corner, facets_[triangle][k]};
  if (part <= TrianglePart::Edge2) return {MeshFeature::Kind::Edge, edgesOf_[triangle][k - 3]};
  return {MeshFeature::Kind::Facet, triangle};
}

MeshShape::Outward MeshShape::outwardAt(const MeshFeature& feature) const {
  if (feature.kind == MeshFeature::Kind::Corner) return {cornerNormals_[feature.index], cornerSides_[feature.index]};
  if (feature.kind == MeshFeature::Kind::Facet) {
    return {normalOf(feature.index), hasBack_[feature.index] ? Side::Unknown : Side::Known};
  }
  const Sides& facets = edges_[feature.index];
  const Side side = sideOf(facets[0]);
  if (side != Side::Known) return {{}, side};
  return {plus(normalOf(facets[0]), normalOf(facets[1])), Side::Known};
}

MeshFeature MeshShape::uncovered(MeshFeature feature, const Vec3& p) const {
  while (feature.kind == MeshFeature::Kind::Edge) {
    const auto found = covers_.find(feature.index);
    if (found == covers_.end()) break;
    const std::uint32_t cover = found->second;
    const Facet& f = facets_[cover];
    const std::size_t k = longestEdgeOf(cover);
    const std::size_t middle = (k + 2) % 3;
    const SegmentFoot near = footOnSegment(p, vertices_[f[middle]], vertices_[f[(k + 1) % 3]]);
    const SegmentFoot far = footOnSegment(p, vertices_[f[middle]], vertices_[f[k]]);
    const bool first = near.squared < far.squared;
    const double t = (first ? near : far).t;
    const std::size_t end = first ? (k + 1) % 3 : k;
    if (t <= 0.0) return {MeshFeature::Kind::Corner, f[middle]};
    if (t >= 1.0) return {MeshFeature::Kind::Corner, f[end]};
    feature.index = edgesOf_[cover][first ? (k + 1) % 3 : middle];
  }
  return feature;
}

}  // namespace queltool

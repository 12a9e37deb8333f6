#include "quelplatform/qmMath/QmMathConvexPolygon.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <new>

#include "quelplatform/qmMath/PlaneOrder.h"

namespace {

using quelplatform::FlatPoint;
using quelplatform::PlaneOrder;

bool isFinite(const QmVec3& p) { return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]); }

/// The outermost points in eight directions, counter-clockwise, each once.
std::vector<FlatPoint> outermost(const std::vector<FlatPoint>& points) {
  constexpr double kDirections[8][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
  std::array<const FlatPoint*, 8> best{};
  std::array<double, 8> farthest{};
  best.fill(&points.front());
  farthest.fill(-std::numeric_limits<double>::infinity());
  for (const FlatPoint& p : points) {
    for (std::size_t d = 0; d < 8; ++d) {
      const double reach = kDirections[d][0] * p.u + kDirections[d][1] * p.v;
      if (reach <= farthest[d]) continue;
      farthest[d] = reach;
      best[d] = &p;
    }
  }
  std::vector<FlatPoint> corners;
  for (const FlatPoint* corner : best) {
    const auto isCorner = [&](const FlatPoint& other) { return other.index == corner->index; };
    if (std::none_of(corners.begin(), corners.end(), isCorner)) corners.push_back(*corner);
  }
  return corners;
}

/// Leaves out points that surely lie inside the outline: inside the polygon of the outermost ones.
void dropInner(std::vector<FlatPoint>& points) {
  const std::vector<FlatPoint> corners = outermost(points);
  const auto isInner = [&](const FlatPoint& p) { return PlaneOrder::surelyInside(p, corners); };
  points.erase(std::remove_if(points.begin(), points.end(), isInner), points.end());
}

using Places = std::vector<FlatPoint>::iterator;

/// Brings points whose rounded first coordinates are neighbours into order, and leaves one of those that coincide: the
/// one of least index. Returns the end of what is left. Many that all coincide are not sorted.
Places settle(const PlaneOrder& order, Places from, Places to) {
  const auto isLess = [](const FlatPoint& a, const FlatPoint& b) { return a.index < b.index; };
  if (std::all_of(from, to, [&](const FlatPoint& p) { return order.compare(*from, p) == 0; })) {
    std::iter_swap(from, std::min_element(from, to, isLess));
    return from + 1;
  }
  std::sort(from, to, [&](const FlatPoint& a, const FlatPoint& b) {
    const int side = order.compare(a, b);
    return side != 0 ? side < 0 : isLess(a, b);
  });
  return std::unique(from, to, [&](const FlatPoint& a, const FlatPoint& b) { return order.compare(a, b) == 0; });
}

/// Sorts by the rounded coordinates, and exactly where these leave the order open.
void sortAndUnite(const PlaneOrder& order, std::vector<FlatPoint>& points) {
  std::sort(points.begin(), points.end(), [](const FlatPoint& a, const FlatPoint& b) { return a.u < b.u; });
  Places end = points.begin();
  for (Places from = points.begin(), to; from != points.end(); from = to) {
    to = from + 1;
    while (to != points.end() && !PlaneOrder::surelyBefore(*(to - 1), *to)) ++to;
    const Places left = to - from == 1 ? to : settle(order, from, to);
    end = end == from ? left : std::move(from, left, end);
  }
  points.erase(end, points.end());
}

/// Appends the chain from the first of `sorted` to the last that every point lies left of, without the last.
template <typename Iterator>
void appendChain(const PlaneOrder& order, Iterator from, Iterator to, std::vector<FlatPoint>& outline) {
  const std::size_t start = outline.size();
  for (Iterator at = from; at != to; ++at) {
    while (outline.size() >= start + 2 && order.turn(outline[outline.size() - 2], outline.back(), *at) <= 0) {
      outline.pop_back();
    }
    outline.push_back(*at);
  }
  outline.pop_back();
}

std::vector<FlatPoint> outlineOf(const std::vector<QmVec3>& points, const QmVec3& normal) {
  const PlaneOrder order(points, normal);
  std::vector<FlatPoint> sorted = order.flatPoints();
  dropInner(sorted);
  sortAndUnite(order, sorted);
  if (sorted.size() < 2) return sorted;
  std::vector<FlatPoint> outline;
  outline.reserve(sorted.size() + 1);
  appendChain(order, sorted.begin(), sorted.end(), outline);
  appendChain(order, sorted.rbegin(), sorted.rend(), outline);
  return outline;
}

void outline(const std::vector<QmVec3>& points, const QmVec3& normal, std::vector<int>& indices) {
  const std::vector<FlatPoint> corners = outlineOf(points, normal);
  indices.reserve(corners.size());
  for (const FlatPoint& corner : corners) indices.push_back(corner.index);
}

}  // namespace

bool QmMathConvexPolygonCalc3D(std::vector<QmVec3>& points, std::vector<int>& indices, QmVec3* center,
                               QmVec3* normal) noexcept {
  indices.clear();
  if (center == nullptr || normal == nullptr || !isFinite(*center) || !isFinite(*normal) || *normal == QmVec3()) {
    return false;
  }
  constexpr std::size_t kMostPoints = std::numeric_limits<int>::max();
  if (points.size() > kMostPoints || !std::all_of(points.begin(), points.end(), isFinite)) return false;
  if (points.empty()) return true;
  try {
    outline(points, *normal, indices);
  } catch (const std::bad_alloc&) {
    indices.clear();
    return false;
  }
  return true;
}

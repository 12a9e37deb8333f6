#include "quelplatform/qmMath/QmMathConvexPolygon.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>

#include "quelplatform/qmMath/PlaneOrder.h"

namespace {

using quelplatform::PlaneOrder;

bool isFinite(const QmVec3& p) { return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]); }

/// Leaves out points that surely lie inside the outline: inside the polygon of the outermost points in eight
/// directions.
std::vector<int> candidates(const PlaneOrder& order, int count) {
  const std::vector<int> corners = order.outermost(count);
  std::vector<int> kept;
  for (int i = 0; i < count; ++i) {
    if (!order.surelyInside(i, corners)) kept.push_back(i);
  }
  return kept;
}

/// Appends the chain from the first of `sorted` to the last that every point lies left of, without the last.
template <typename Iterator>
void appendChain(const PlaneOrder& order, Iterator from, Iterator to, std::vector<int>& outline) {
  const std::size_t start = outline.size();
  for (Iterator at = from; at != to; ++at) {
    while (outline.size() >= start + 2 && order.turn(outline[outline.size() - 2], outline.back(), *at) <= 0) {
      outline.pop_back();
    }
    outline.push_back(*at);
  }
  outline.pop_back();
}

void outline(const std::vector<QmVec3>& points, const QmVec3& normal, std::vector<int>& indices) {
  const PlaneOrder order(points, normal);
  std::vector<int> sorted = candidates(order, static_cast<int>(points.size()));
  std::sort(sorted.begin(), sorted.end(), [&](int a, int b) {
    const int side = order.compare(a, b);
    return side != 0 ? side < 0 : a < b;
  });
  sorted.erase(std::unique(sorted.begin(), sorted.end(), [&](int a, int b) { return order.compare(a, b) == 0; }),
               sorted.end());
  if (sorted.size() < 2) {
    indices = sorted;
    return;
  }
  indices.reserve(sorted.size());
  appendChain(order, sorted.begin(), sorted.end(), indices);
  appendChain(order, sorted.rbegin(), sorted.rend(), indices);
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

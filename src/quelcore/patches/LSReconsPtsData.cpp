#include "quelcore/patches/LSReconsPtsData.h"

#include <algorithm>

#include "quelcore/patches/parallelLists.h"

namespace {

void appendWhere(const std::vector<LSReconsSinglePtData>& points, bool from3Images, std::vector<QmVec3>& out) {
  for (const LSReconsSinglePtData& point : points) {
    if (point.Is3ImgRecons() == from3Images) out.push_back(point.getPt3D());
  }
}

}  // namespace

void LSReconsPtsData::addPoint(const QmVec3& position, bool from3Images, const float& distance) {
  const float copy = distance;  // It may be one of `distances`.
  quelcore::makeRoomFor(1, distances);
  points.emplace_back(position, from3Images);
  distances.push_back(copy);
}

void LSReconsPtsData::clear() {
  points.clear();
  distances.clear();
}

void LSReconsPtsData::reserveReconsPts(int count, bool distancesToo) {
  const auto room = static_cast<std::size_t>(std::max(count, 0));
  points.reserve(room);
  if (distancesToo) distances.reserve(room);
}

void LSReconsPtsData::getFinal2ImgsPoints(std::vector<QmVec3>& out) const { appendWhere(points, false, out); }

void LSReconsPtsData::getFinal3ImgsPoints(std::vector<QmVec3>& out) const { appendWhere(points, true, out); }

void LSReconsPtsData::getFinalPoints(std::vector<QmVec3>& out, std::size_t& count) const {
  getFinal3ImgsPoints(out);
  count = out.size();
  getFinal2ImgsPoints(out);
}

void LSReconsPtsData::transformPts(const qmMathTransform& transform) {
  for (LSReconsSinglePtData& point : points) {
    const QmVec3 before = point.point;
    qmMathTransformVec3(&transform, before.v, point.point.v);
  }
}

void LSReconsPtsData::RemoveSuspiciousPoints(const std::vector<bool>& suspicious) {
  if (points.empty()) return;
  distances.resize(points.size());
  std::size_t kept = 0;
  for (std::size_t n = 0; n < points.size(); ++n) {
    if (n < suspicious.size() && suspicious[n]) continue;
    points[kept] = points[n];
    distances[kept] = distances[n];
    ++kept;
  }
  points.resize(kept);
  distances.resize(kept);
}

void LSReconsPtsData::unify(const LSReconsPtsData& other) {
  quelcore::makeRoomFor(other.distances.size(), distances);
  quelcore::append(other.points, points);
  quelcore::append(other.distances, distances);
}

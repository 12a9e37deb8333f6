#include "nominal/AlignmentSums.h"

#include <array>
#include <cmath>
#include <limits>
#include <memory>

#include "nominal/Chunks.h"

namespace queltool {

namespace {

using Eigen::Vector3d;

constexpr double kSteep = 0.2;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
// Nearer than this share of the nominal's size the way to the nearest place is made of roundings.
constexpr double kTouching = 1e-7;
// A face's normal and the way to it differ by roundings; those of an edge by more, but for points of no account.
constexpr double kEdge = 1e-4;

Vector3d vectorOf(const Vec3& v) { return Vector3d(v[0], v[1], v[2]); }

// A moved point against the surface: r, and the direction in which r grows.
struct Against {
  double distance = kNone;
  Vector3d uphill = Vector3d::Zero();
  bool besideEdge = false;
  Vector3d arm = Vector3d::Zero();  // From the middle about which motions turn.
};

// Beside edges the distance grows straight away from the nearest place and not along the normal there. Between the
// places of a sampled nominal it is the other way round: only the plane of the nearest one is known.
Against againstOf(const Nominal& nominal, const Vector3d& point, const Nearest& nearest) {
  const Vector3d away = point - vectorOf(nearest.point);
  const Vector3d normal = vectorOf(nearest.normal);
  if (nominal.isSampled()) return {normal.dot(away), normal};
  if (std::abs(nearest.deviation) <= kTouching * nominal.size()) return {nearest.deviation, normal};
  const Vector3d uphill = away / nearest.deviation;
  return {nearest.deviation, uphill, (uphill - normal).norm() > kEdge};
}

bool isUsable(const Against& against) { return std::isfinite(against.distance) && !against.uphill.isZero(0.0); }

Motion changeOf(const Against& against, double spread) {
  Motion change;
  change << against.arm.cross(against.uphill) / spread, against.uphill;
  return change;
}

double lengthAt(const Vector3d& arm, const Motion& motion, double spread) {
  return (motion.head<3>().cross(arm) / spread + motion.tail<3>()).norm();
}

bool takesPart(const Taking& taking, std::size_t n, double distance) {
  return std::abs(distance) <= taking.reach && (taking.counts.empty() || taking.counts[n] != 0);
}

// What motions move a point by along the axes of space, squared.
NormalMatrix curvatureOfPoint(const Vector3d& arm, double spread) {
  NormalMatrix curvature = NormalMatrix::Zero();
  for (int axis = 0; axis < 3; ++axis) {
    const Motion along = changeOf({0.0, Vector3d::Unit(axis), false, arm}, spread);
    curvature.noalias() += along * along.transpose();
  }
  return curvature;
}

void add(Sums& sums, const Against& against, double spread) {
  const Motion change = changeOf(against, spread);
  const NormalMatrix normal = change * change.transpose();
  sums.normal += normal;
  if (against.besideEdge) sums.beside += curvatureOfPoint(against.arm, spread) - normal;
  sums.gradient += change * against.distance;
  sums.squares += against.distance * against.distance;
  ++sums.count;
}

void add(Sums& sums, const Sums& others) {
  sums.normal += others.normal;
  sums.beside += others.beside;
  sums.gradient += others.gradient;
  sums.squares += others.squares;
  sums.count += others.count;
}

// Finite points of a chunk, moved, and what the nominal says of them.
struct ChunkOfPoints {
  std::array<Vec3, kChunk> moved;
  std::array<Nearest, kChunk> nearest;
  std::array<std::size_t, kChunk> numbers;
  std::size_t count = 0;
};

}  // namespace

void Pose::move(const Motion& motion) {
  const Vector3d turned = motion.head<3>() / spread;
  const double angle = turned.norm();
  if (angle > 0.0) turn = (Eigen::AngleAxisd(angle, turned / angle) * turn).normalized();
  at += motion.tail<3>();
}

// Calls `use(chunk, n, against)` for each usable point; the chunks on several threads, a chunk's points in order.
template <typename Use>
void AlignmentView::visit(const Pose& pose, const Use& use) const {
  const Eigen::Matrix3d rotation = pose.turn.toRotationMatrix();
  inChunks(points_.size(), threads_, [&](std::size_t chunk, std::size_t first, std::size_t count) {
    const auto work = std::make_unique_for_overwrite<ChunkOfPoints>();
    for (std::size_t n = first; n < first + count; ++n) {
      const Vector3d moved = rotation * (vectorOf(points_[n]) - pose.from) + pose.at;
      if (!moved.allFinite()) continue;
      work->moved[work->count] = {moved.x(), moved.y(), moved.z()};
      work->numbers[work->count++] = n;
    }
    nominal_.findNearest(std::span(work->moved).first(work->count), std::span(work->nearest).first(work->count));
    for (std::size_t i = 0; i < work->count; ++i) {
      if (work->nearest[i].side != Side::Known) continue;
      Against against = againstOf(nominal_, vectorOf(work->moved[i]), work->nearest[i]);
      against.arm = vectorOf(work->moved[i]) - pose.at;
      if (isUsable(against)) use(chunk, work->numbers[i], against);
    }
  });
}

Sums AlignmentView::sumsAt(const Pose& pose, const Taking& taking) const {
  std::vector<Sums> parts(chunksOf(points_.size()));
  visit(pose, [&](std::size_t chunk, std::size_t n, const Against& against) {
    if (takesPart(taking, n, against.distance)) add(parts[chunk], against, pose.spread);
  });
  Sums sums;
  for (const Sums& part : parts) add(sums, part);
  return sums;
}

std::vector<double> AlignmentView::distancesAt(const Pose& pose) const {
  std::vector<double> distances(points_.size(), kNone);
  visit(pose, [&](std::size_t, std::size_t n, const Against& against) { distances[n] = against.distance; });
  return distances;
}

double AlignmentView::steepShare(const Pose& pose, const Taking& taking, const Motion& motion) const {
  struct Part {
    double steep = 0.0;
    double count = 0.0;
  };
  std::vector<Part> parts(chunksOf(points_.size()));
  visit(pose, [&](std::size_t chunk, std::size_t n, const Against& against) {
    if (!takesPart(taking, n, against.distance)) return;
    const double change = std::abs(changeOf(against, pose.spread).dot(motion));
    const bool steep = change > kSteep * lengthAt(against.arm, motion, pose.spread);
    parts[chunk].steep += steep ? change * change : 0.0;
    parts[chunk].count += 1.0;
  });
  Part all;
  for (const Part& part : parts) all = {all.steep + part.steep, all.count + part.count};
  return all.count > 0.0 ? all.steep / all.count : 0.0;
}

}  // namespace queltool

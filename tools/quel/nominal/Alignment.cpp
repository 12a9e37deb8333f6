#include "nominal/Alignment.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "files/Failure.h"
#include "nominal/AlignmentSums.h"
#include "nominal/Chunks.h"
#include "nominal/FreeMotions.h"

namespace queltool {

namespace {

using Eigen::Vector3d;

constexpr std::size_t kLeastPoints = 6;
constexpr std::size_t kSample = 20000;  // Points of the rounds in which the limit shrinks.
constexpr double kFirstReach = 0.2;     // Of the size: a turn and a shift as far as may be move no point farther.
constexpr double kLeastReach = 1e-6;    // Of the size: distances of points that are exact are roundings.
constexpr double kReachInSigmas = 6.0;
constexpr double kSigmaOfMedian = 1.4826;  // Of normally distributed distances.
constexpr double kAtRest = 0.01;           // Of the reach.
constexpr int kRoundsOfReach = 10;
constexpr int kRoundsOfAll = 100;

Vector3d vectorOf(const Vec3& v) { return Vector3d(v[0], v[1], v[2]); }

struct Middle {
  Vector3d sum = Vector3d::Zero();
  double squares = 0.0;
  double farthest = 0.0;
  double count = 0.0;
};

// Sums over the finite points, from `centre`; a chunk each.
Middle middleAbout(std::span<const Vec3> points, const Vector3d& centre, int threads) {
  std::vector<Middle> parts(chunksOf(points.size()));
  inChunks(points.size(), threads, [&](std::size_t chunk, std::size_t first, std::size_t count) {
    for (const Vec3& point : points.subspan(first, count)) {
      const Vector3d arm = vectorOf(point) - centre;
      if (!arm.allFinite()) continue;
      Middle& part = parts[chunk];
      part = {part.sum + arm, part.squares + arm.squaredNorm(), std::max(part.farthest, arm.norm()), part.count + 1.0};
    }
  });
  Middle all;
  for (const Middle& part : parts) {
    all = {all.sum + part.sum, all.squares + part.squares, std::max(all.farthest, part.farthest),
           all.count + part.count};
  }
  return all;
}

std::vector<Vec3> evenSample(std::span<const Vec3> points) {
  std::vector<Vec3> sample;
  const std::size_t count = std::min(points.size(), kSample);
  sample.reserve(count);
  for (std::size_t n = 0; n < count; ++n) sample.push_back(points[n * points.size() / count]);
  return sample;
}

// Six times the standard deviation of the distances up to `reach`, as their median tells it.
double chanceReach(std::vector<double> distances, double reach, double least) {
  std::erase_if(distances, [reach](double r) { return !(std::abs(r) <= reach); });
  if (distances.empty()) return least;
  for (double& r : distances) r = std::abs(r);
  const auto median = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
  std::nth_element(distances.begin(), median, distances.end());
  return std::max(kReachInSigmas * kSigmaOfMedian * *median, least);
}

class Aligner {
 public:
  Aligner(const Nominal& nominal, std::span<const Vec3> points, int threads)
      : nominal_(nominal), view_(nominal, points, threads), threads_(threads) {
    const Middle rough = middleAbout(points, Vector3d::Zero(), threads);
    if (rough.count > 0.0) pose_.from = rough.sum / rough.count;
    const Middle fine = middleAbout(points, pose_.from, threads);
    if (fine.squares > 0.0) pose_.spread = std::sqrt(fine.squares / fine.count);
    pose_.at = pose_.from;
    farthest_ = fine.farthest;
  }

  Alignment run() {
    const Pose given = pose_;
    settleWithin(kFirstReach * nominal_.size());
    settleAll();
    result_.degrees = pose_.turn.angularDistance(given.turn) * 180.0 / std::numbers::pi;
    result_.shift = (pose_.at - given.at).norm();
    refuseFar();
    result_.before = residualAt(given);
    result_.after = residualAt(pose_);
    writeTransform();
    return result_;
  }

 private:
  // Halves the reach, each time when a sample of the points has come to rest, until it is chance that bounds it.
  void settleWithin(double reach) {
    const std::vector<Vec3> sample = evenSample(view_.points());
    const AlignmentView view(nominal_, sample, threads_);
    for (;;) {
      for (int n = 0; n < kRoundsOfReach && moveOnce(view, {{}, reach}) > kAtRest * reach; ++n) refuseLost();
      const double chance = chanceReach(view.distancesAt(pose_), reach, kLeastReach * nominal_.size());
      if (chance >= reach) break;
      reach = std::max(chance, reach / 2.0);
    }
    reach_ = reach;
  }

  // One round on the points that `taking` takes. Returns by at most how much it moves a point.
  double moveOnce(const AlignmentView& view, const Taking& taking) {
    const Sums sums = sumsFor(view, taking);
    return moveBy(sums, freedomOf(view, pose_, taking, sums).bound);
  }

  Sums sumsFor(const AlignmentView& view, const Taking& taking) const {
    const Sums sums = view.sumsAt(pose_, taking);
    if (sums.count >= kLeastPoints) return sums;
    throw Failure(
        fmt::format("{} of {} points can be aligned with the {}, which takes {}: the others are too far off, "
                    "or nearest to a border",
                    sums.count, view.points().size(), nominal_.title(), kLeastPoints));
  }

  // To the least squares of the distances, over motions that they tell of.
  double moveBy(const Sums& sums, const Motions& bound) {
    const Eigen::MatrixXd normal = bound.transpose() * (sums.normal + sums.beside) * bound;
    const Motion motion = bound * normal.ldlt().solve(-(bound.transpose() * sums.gradient));
    pose_.move(motion);
    ++result_.rounds;
    return motion.tail<3>().norm() + motion.head<3>().norm() * farthest_ / pose_.spread;
  }

  void settleAll() {
    const std::vector<double> distances = view_.distancesAt(pose_);
    const double reach = chanceReach(distances, reach_, kLeastReach * nominal_.size());
    counts_.resize(distances.size());
    for (std::size_t n = 0; n < counts_.size(); ++n) counts_[n] = std::abs(distances[n]) <= reach ? 1 : 0;
    result_.farOff = static_cast<std::size_t>(
        std::count_if(distances.begin(), distances.end(), [reach](double r) { return std::abs(r) > reach; }));
    const Taking taking{counts_};
    const Freedom freedom = freedomOf(view_, pose_, taking, sumsFor(view_, taking));
    for (int n = 0; n < kRoundsOfAll && !result_.converged; ++n) {
      result_.lastStep = moveBy(sumsFor(view_, taking), freedom.bound);
      result_.converged = result_.lastStep <= kAlignedTo;
    }
    result_.held = motionsOf(freedom.free, pose_);
  }

  Residual residualAt(const Pose& pose) const {
    const Sums sums = view_.sumsAt(pose, {counts_});
    return {sums.count == 0 ? 0.0 : std::sqrt(sums.squares / static_cast<double>(sums.count)), sums.count};
  }

  // On the way there it may swing out, but not to where it has nothing to hold on to.
  void refuseLost() const {
    const double degrees = pose_.turn.angularDistance(Eigen::Quaterniond::Identity()) * 180.0 / std::numbers::pi;
    if (degrees > 3.0 * kFarthestTurn || !((pose_.at - pose_.from).norm() <= 3.0 * kFarthestShift * nominal_.size())) {
      refuse(degrees, (pose_.at - pose_.from).norm());
    }
  }

  void refuseFar() const {
    if (result_.degrees > kFarthestTurn || !(result_.shift <= kFarthestShift * nominal_.size())) {
      refuse(result_.degrees, result_.shift);
    }
  }

  [[noreturn]] void refuse(double degrees, double shift) const {
    throw Failure(fmt::format(
        "the points are too far from the {} to be aligned: they would turn by {:.2f} degrees and move by "
        "{:.4g} mm; at most {:g} degrees and {:.4g} mm, {:g} % of its size, are right. Bring them closer "
        "by a transform",
        nominal_.title(), degrees, shift, kFarthestTurn, kFarthestShift * nominal_.size(), 100.0 * kFarthestShift));
  }

  // Through long doubles, so that the entries of the rotation are rounded once.
  void writeTransform() {
    const auto rotation = pose_.turn.cast<long double>().normalized().toRotationMatrix().eval();
    const auto moved = (pose_.at.cast<long double>() - rotation * pose_.from.cast<long double>()).eval();
    for (int i = 0; i < 3; ++i) {
      for (int j = 0; j < 3; ++j) result_.transform.rotation[i][j] = static_cast<double>(rotation(i, j));
      result_.transform.translation[i] = static_cast<double>(moved[i]);
    }
  }

  const Nominal& nominal_;
  AlignmentView view_;
  int threads_;
  Pose pose_;
  double farthest_ = 0.0;  // From the centroid.
  double reach_ = 0.0;
  std::vector<std::uint8_t> counts_;
  Alignment result_{};
};

}  // namespace

Alignment alignTo(const Nominal& nominal, std::span<const Vec3> points, const AlignOptions& options) {
  return Aligner(nominal, points, options.threads).run();
}

}  // namespace queltool

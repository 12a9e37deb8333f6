// What a round of an alignment is computed from: distances of the moved points from the surface, and their normal
// equations. The same bits on any number of threads.
#pragma once

#include <Eigen/Geometry>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "nominal/Nominal.h"

namespace queltool {

/// Turn about a middle, radians times the spread of the points, and shift: each moves the points by about its length.
using Motion = Eigen::Matrix<double, 6, 1>;

/// Where the points are: p' = turn (p - from) + at.
struct Pose {
  Eigen::Quaterniond turn = Eigen::Quaterniond::Identity();
  Eigen::Vector3d from = Eigen::Vector3d::Zero();  ///< Centroid of the points as they were given,
  Eigen::Vector3d at = Eigen::Vector3d::Zero();    ///< and where it has come to; motions turn about it.
  double spread = 1.0;                             ///< Root mean square of the points' distances from it.

  /// Goes on by a small motion.
  void move(const Motion& motion);
};

/// Which points take part: those with `counts`, where it is not empty, and r up to `reach`.
struct Taking {
  std::span<const std::uint8_t> counts;
  double reach = std::numeric_limits<double>::infinity();
};

using NormalMatrix = Eigen::Matrix<double, 6, 6>;

/// Sums of J Jᵀ, J r and r² over the points that take part; J is what a motion changes r by.
struct Sums {
  NormalMatrix normal = NormalMatrix::Zero();
  /// What r² curves by beside J Jᵀ, or more: from an edge or a corner the distance grows to all sides, and a step by
  /// J Jᵀ alone would go too far.
  NormalMatrix beside = NormalMatrix::Zero();
  Motion gradient = Motion::Zero();
  double squares = 0.0;
  std::size_t count = 0;
};

/// A cloud before a nominal.
class AlignmentView {
 public:
  AlignmentView(const Nominal& nominal, std::span<const Vec3> points, int threads)
      : nominal_(nominal), points_(points), threads_(threads) {}

  std::span<const Vec3> points() const { return points_; }

  Sums sumsAt(const Pose& pose, const Taking& taking) const;

  /// r of each point; NaN where it has none.
  std::vector<double> distancesAt(const Pose& pose) const;

  /// Mean of (J motion)² over all points that take part, summed over those that `motion` leads steeply to or from the
  /// surface: by more than a fifth of how far it moves them.
  double steepShare(const Pose& pose, const Taking& taking, const Motion& motion) const;

 private:
  template <typename Use>
  void visit(const Pose& pose, const Use& use) const;

  const Nominal& nominal_;
  std::span<const Vec3> points_;
  int threads_;
};

}  // namespace queltool

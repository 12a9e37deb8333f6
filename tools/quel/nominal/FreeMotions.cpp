#include "nominal/FreeMotions.h"

#include <fmt/core.h>

#include <Eigen/Eigenvalues>
#include <Eigen/SVD>
#include <cmath>
#include <numbers>

namespace queltool {

namespace {

using Eigen::Matrix3Xd;
using Eigen::MatrixXd;
using Eigen::Vector3d;

constexpr double kRounding = 1e-9;
constexpr double kWeak = 2e-3;
constexpr double kSteepPlaces = 1e-4;
// A turn about an axis that is a thousand spreads of the points away is a shift.
constexpr double kShiftsAlone = 1e-3;

bool isFree(const AlignmentView& view, const Pose& pose, const Taking& taking, const Motion& motion, double share) {
  if (share <= kRounding) return true;
  return share <= kWeak && view.steepShare(pose, taking, motion) <= kSteepPlaces;
}

Vec3 valuesOf(const Vector3d& v) { return {v.x(), v.y(), v.z()}; }

// The world axis that lies nearest to a space of directions; the first of those that lie as near.
int nearestAxis(const Eigen::Matrix3d& ontoSpace) {
  constexpr double kAsNear = 1e-6;
  int best = 0;
  for (int axis = 1; axis < 3; ++axis) {
    if (ontoSpace(axis, axis) > ontoSpace(best, best) + kAsNear) best = axis;
  }
  return best;
}

// Directions at right angles that span what the columns of `basis`, at right angles and of length 1, span. The largest
// component of each is positive: it is that of the axis which is nearest.
std::vector<Vector3d> axesOf(const Matrix3Xd& basis) {
  Eigen::Matrix3d onto = basis * basis.transpose();
  std::vector<Vector3d> axes;
  for (Eigen::Index n = 0; n < basis.cols(); ++n) {
    axes.push_back(onto.col(nearestAxis(onto)).normalized());
    onto -= axes.back() * axes.back().transpose();
  }
  return axes;
}

Eigen::Matrix3d crossOf(const Vector3d& v) {
  Eigen::Matrix3d cross;
  cross << 0.0, -v.z(), v.y(), v.z(), 0.0, -v.x(), -v.y(), v.x(), 0.0;
  return cross;
}

// Turns by 1 radian about `axes` shift the middle by `shifts`: nearest to it, the place c with axis x (-c) = shift.
Vector3d middleOfTurns(const std::vector<Vector3d>& axes, const std::vector<Vector3d>& shifts) {
  const auto rows = static_cast<Eigen::Index>(3 * axes.size());
  MatrixXd crosses(rows, 3);
  Eigen::VectorXd sides(rows);
  for (std::size_t i = 0; i < axes.size(); ++i) {
    crosses.middleRows<3>(static_cast<Eigen::Index>(3 * i)) = -crossOf(axes[i]);
    sides.segment<3>(static_cast<Eigen::Index>(3 * i)) = shifts[i] - axes[i].dot(shifts[i]) * axes[i];
  }
  Eigen::JacobiSVD<MatrixXd> solver(crosses, Eigen::ComputeThinU | Eigen::ComputeThinV);
  solver.setThreshold(kShiftsAlone);
  return solver.solve(sides);
}

// Of a threadlike shape; what roundings and facets make of a turn is none.
double leadOf(const Vector3d& axis, const Vector3d& shift, double spread) {
  constexpr double kNoLead = 1e-2;
  const double perRadian = axis.dot(shift);
  return std::abs(perRadian) <= kNoLead * spread ? 0.0 : 2.0 * std::numbers::pi * perRadian;
}

std::string textOf(const Vec3& v) {
  const auto rounded = [](double x) { return std::round(x * 100.0) / 100.0 + 0.0; };
  return fmt::format("{:.2f}, {:.2f}, {:.2f}", rounded(v[0]), rounded(v[1]), rounded(v[2]));
}

}  // namespace

Freedom freedomOf(const AlignmentView& view, const Pose& pose, const Taking& taking, const Sums& sums) {
  const Eigen::SelfAdjointEigenSolver<Eigen::Matrix<double, 6, 6>> solver(sums.normal);
  const Motion& shares = solver.eigenvalues();  // In ascending order.
  Eigen::Index free = 0;
  while (free < 5 && isFree(view, pose, taking, solver.eigenvectors().col(free), shares[free] / shares[5])) ++free;
  return {solver.eigenvectors().leftCols(free), solver.eigenvectors().rightCols(6 - free)};
}

std::vector<FreeMotion> motionsOf(const Motions& free, const Pose& pose) {
  std::vector<FreeMotion> motions;
  if (free.cols() == 0) return motions;
  const Matrix3Xd turns = free.topRows<3>();
  const Matrix3Xd shifts = free.bottomRows<3>();
  Eigen::JacobiSVD<MatrixXd> parts(turns, Eigen::ComputeThinU | Eigen::ComputeFullV);
  parts.setThreshold(kShiftsAlone);
  Eigen::Index rank = 0;
  while (rank < parts.singularValues().size() && parts.singularValues()[rank] > kShiftsAlone) ++rank;
  for (const Vector3d& axis : axesOf(shifts * parts.matrixV().rightCols(free.cols() - rank))) {
    motions.push_back({false, valuesOf(axis), {}, 0.0});
  }
  const std::vector<Vector3d> axes = axesOf(parts.matrixU().leftCols(rank));
  std::vector<Vector3d> byRadian;
  for (const Vector3d& axis : axes) byRadian.push_back(pose.spread * (shifts * parts.solve(axis)));
  const Vector3d middle = axes.empty() ? pose.at : Vector3d(pose.at + middleOfTurns(axes, byRadian));
  for (std::size_t i = 0; i < axes.size(); ++i) {
    motions.push_back({true, valuesOf(axes[i]), valuesOf(middle), leadOf(axes[i], byRadian[i], pose.spread)});
  }
  return motions;
}

std::string nameOf(const FreeMotion& motion) {
  if (!motion.turns) return "shift along " + textOf(motion.axis);
  const std::string turn = "turn about " + textOf(motion.axis) + " through " + textOf(motion.through) + " mm";
  return motion.lead == 0.0 ? turn : fmt::format("{}, with {:.2f} mm along it a turn", turn, motion.lead);
}

}  // namespace queltool

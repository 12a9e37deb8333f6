#include "demo/BoardRun.h"

#include <Eigen/Cholesky>
#include <algorithm>
#include <cmath>
#include <string>

#include "files/Failure.h"
#include "models/FeatureRun.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace queltool {

namespace {

// Mean of squares, collected one by one.
struct MeanSquare {
  double sum = 0.0;
  std::size_t count = 0;

  void add(double value) {
    sum += value * value;
    ++count;
  }
  double root() const { return count == 0 ? 0.0 : std::sqrt(sum / static_cast<double>(count)); }
};

Vec2 projectCorner(const QmReconsTensor& head, const Corner& corner, int camera, std::size_t mode) {
  Vec2 pixel{};
  if (qmRTProjectPointtoImage(head, corner.board.data(), camera, static_cast<_ProjectDistortMode>(mode),
                              pixel.data()) != 1) {
    throw Failure("a corner of the board does not project into camera " + std::to_string(camera));
  }
  return pixel;
}

double distance(const Vec2& a, const Vec2& b) { return std::hypot(a[0] - b[0], a[1] - b[1]); }

ModeResult runMode(const QmReconsTensor& head, const std::vector<Corner>& corners, std::size_t mode) {
  ModeResult result{};
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    MeanSquare all;
    MeanSquare check;
    for (const Corner& corner : corners) {
      const double off = distance(projectCorner(head, corner, camera, mode), corner.pixels[i]);
      all.add(off);
      if (corner.check) check.add(off);
    }
    result.allRms[i] = all.root();
    result.checkRms[i] = check.root();
  }
  return result;
}

struct Ray {
  Eigen::Vector3d origin;
  Eigen::Vector3d direction;
};

Ray rayOf(const QmReconsTensor& head, const Vec2& measured, int camera) {
  double ideal[1][2];
  double origin[3];
  double direction[1][3];
  if (quelplatform::undistortOnePt(measured.data(), &head.distortParams[camera], nullptr, ideal[0]) != 1 ||
      qmRTget3dRaysFromImgPts(head, 1, ideal, camera, origin, direction) != 1) {
    throw Failure("a measured corner of camera " + std::to_string(camera) + " has no ray");
  }
  return {Eigen::Vector3d(origin), Eigen::Vector3d(direction[0])};
}

// The point with the least sum of squared distances from the rays, each distance in units of `distances`.
Eigen::Vector3d meet(const std::array<Ray, 3>& rays, const std::array<double, 3>& distances) {
  Eigen::Matrix3d sum = Eigen::Matrix3d::Zero();
  Eigen::Vector3d right = Eigen::Vector3d::Zero();
  for (std::size_t i = 0; i < 3; ++i) {
    const Eigen::Matrix3d across = (Eigen::Matrix3d::Identity() - rays[i].direction * rays[i].direction.transpose()) /
                                   (distances[i] * distances[i]);
    sum += across;
    right += across * rays[i].origin;
  }
  return sum.ldlt().solve(right);
}

// A pixel is an angle: the farther camera tells less about the point. So the point is found once, then weighed by its
// distances from the cameras.
Vec3 intersect(const QmReconsTensor& head, const Corner& corner) {
  std::array<Ray, 3> rays;
  for (int camera = 0; camera < 3; ++camera) {
    const auto i = static_cast<std::size_t>(camera);
    rays[i] = rayOf(head, corner.pixels[i], camera);
  }
  std::array<double, 3> distances = {1.0, 1.0, 1.0};
  const Eigen::Vector3d first = meet(rays, distances);
  for (std::size_t i = 0; i < 3; ++i) distances[i] = (first - rays[i].origin).norm();
  const Eigen::Vector3d point = meet(rays, distances);
  return {point[0], point[1], point[2]};
}

void measurePoints(const std::vector<Corner>& corners, BoardRun& run) {
  MeanSquare all;
  MeanSquare check;
  std::vector<Vec3> checkPoints;
  for (std::size_t n = 0; n < corners.size(); ++n) {
    const double off = (Eigen::Vector3d(run.points[n].data()) - Eigen::Vector3d(corners[n].board.data())).norm();
    all.add(off);
    if (!corners[n].check) continue;
    check.add(off);
    checkPoints.push_back(run.points[n]);
    run.checkMaxMm = std::max(run.checkMaxMm, off);
  }
  run.allRmsMm = all.root();
  run.checkRmsMm = check.root();
  run.checkFlatnessMm = checkPoints.size() < 3 ? 0.0 : fitPlane(checkPoints).residuals.rms;
}

}  // namespace

BoardRun runBoard(const QmReconsTensor& head, const std::vector<Corner>& corners) {
  BoardRun run{};
  for (std::size_t mode = 0; mode < kModes; ++mode) run.modes[mode] = runMode(head, corners, mode);
  for (const Corner& corner : corners) {
    std::array<Vec2, 3> pixels{};
    for (int camera = 0; camera < 3; ++camera) {
      pixels[static_cast<std::size_t>(camera)] = projectCorner(head, corner, camera, PROJECT_EXACT);
    }
    run.projected.push_back(pixels);
    run.points.push_back(intersect(head, corner));
  }
  measurePoints(corners, run);
  return run;
}

}  // namespace queltool

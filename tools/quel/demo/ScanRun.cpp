#include "demo/ScanRun.h"

#include <Eigen/Geometry>
#include <algorithm>
#include <chrono>
#include <thread>

#include "files/Failure.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace queltool {

namespace {

constexpr int kMostThreads = 16;
constexpr auto kTimedFor = std::chrono::milliseconds(400);

static_assert(sizeof(Vec3) == 3 * sizeof(double) && sizeof(Vec2) == 2 * sizeof(double));

// Rotation of the decomposed projection of a camera.
Eigen::Matrix3d rotationOf(const QmReconsTensor& head, int camera) {
  double k[3][3];
  double inverse[3][3];
  double r[3][3];
  double t[3];
  if (qmRTdecomposeProj(head.projections[camera], k, inverse, r, t) != 1) throw Failure("a projection is no camera");
  return Eigen::Map<const Eigen::Matrix<double, 3, 3, Eigen::RowMajor>>(&r[0][0]);
}

// Scanner to world: the scanner's view direction becomes the mean direction of the cameras, its upright that of camera
// 1, and the middle of the scan comes to stand behind the world's centre by a quarter of the working distance, so that
// all of it is seen.
qmMathTransform standInView(const QmReconsTensor& head, const std::vector<Vec3>& scan) {
  const Eigen::Vector3d forward =
      (rotationOf(head, 0).row(2) + rotationOf(head, 1).row(2) + rotationOf(head, 2).row(2)).transpose().normalized();
  const Eigen::Vector3d down = rotationOf(head, 1).row(1).transpose();
  const Eigen::Vector3d right = down.cross(forward).normalized();
  Eigen::Matrix3d rotation;
  rotation << right, -forward.cross(right), -forward;

  Eigen::Vector3d middle = Eigen::Vector3d::Zero();
  for (const Vec3& point : scan) middle += Eigen::Vector3d(point.data()) / static_cast<double>(scan.size());
  const Eigen::Vector3d target = Eigen::Vector3d(head.worldCentre) + 0.25 * head.workingDistance * forward;
  const Eigen::Vector3d translation = target - rotation * middle;
  qmMathTransform transform{};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) transform.rotation[row][column] = rotation(row, column);
    transform.translation[row] = translation[row];
  }
  return transform;
}

class Projector {
 public:
  Projector(const QmReconsTensor& head, const qmMathTransform& transform, const std::vector<Vec3>& scan, ScanRun& run)
      : head_(head), transform_(transform), scan_(scan) {
    for (std::size_t i = 0; i < 3; ++i) {
      run.pixels[i].assign(scan.size(), Vec2{});
      pixels_[i] = reinterpret_cast<double(*)[2]>(run.pixels[i].data());
    }
  }

  void once(std::int32_t threads) const {
    const auto* points = reinterpret_cast<const double(*)[3]>(scan_.data());
    if (qmTransAndProjPoints2ImagesMT(&transform_, head_, points, 0, static_cast<std::int64_t>(scan_.size()),
                                      PROJECT_FAST, threads, pixels_) != 1) {
      throw Failure("the scan does not project");
    }
  }

  // Of the median pass, so that what else the machine does counts little.
  double pointsPerSecond(std::int32_t threads) const {
    using Clock = std::chrono::steady_clock;
    once(threads);
    std::vector<double> seconds;
    const Clock::time_point begin = Clock::now();
    for (Clock::time_point last = begin; last - begin < kTimedFor;) {
      once(threads);
      const Clock::time_point now = Clock::now();
      seconds.push_back(std::chrono::duration<double>(now - last).count());
      last = now;
    }
    const auto median = seconds.begin() + static_cast<std::ptrdiff_t>(seconds.size() / 2);
    std::nth_element(seconds.begin(), median, seconds.end());
    return static_cast<double>(scan_.size()) / *median;
  }

 private:
  const QmReconsTensor& head_;
  const qmMathTransform& transform_;
  const std::vector<Vec3>& scan_;
  double (*pixels_[3])[2] = {};
};

}  // namespace

ScanRun runScan(const QmReconsTensor& head, const std::vector<Vec3>& scan) {
  const qmMathTransform transform = standInView(head, scan);
  ScanRun run{};
  run.threads = std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
  const Projector projector(head, transform, scan, run);
  run.pointsPerSecondOneThread = projector.pointsPerSecond(1);
  run.pointsPerSecondAllThreads = projector.pointsPerSecond(run.threads);
  for (std::size_t i = 0; i < 3; ++i) {
    run.inImage[i] =
        static_cast<std::size_t>(std::count_if(run.pixels[i].begin(), run.pixels[i].end(), [&head](const Vec2& p) {
          return p[0] >= 0.0 && p[1] >= 0.0 && p[0] < head.imageWidth && p[1] < head.imageHeight;
        }));
  }
  for (const Vec3& point : scan) {
    Vec3 moved{};
    qmMathTransformVec3(&transform, point.data(), moved.data());
    run.points.push_back(moved);
  }
  return run;
}

}  // namespace queltool

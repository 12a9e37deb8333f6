#include "demo/BoardRun.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "files/Failure.h"
#include "models/FeatureRun.h"
#include "quel/measure/Triangulation.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

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

// Where the rays of each corner's pixels meet.
std::vector<Vec3> meetingPoints(const QmReconsTensor& head, const std::vector<Corner>& corners) {
  std::array<std::vector<Vec2>, 3> pixels;
  for (const Corner& corner : corners) {
    for (std::size_t i = 0; i < 3; ++i) pixels[i].push_back(corner.pixels[i]);
  }
  const auto found =
      quel::triangulate(quel::Head::fromRecord(head), {pixels[0], pixels[1], pixels[2]}, {.fit = quel::Fit::Rays});
  if (!found) throw Failure(found.error().message());
  for (const quel::Status status : found.value().status) {
    if (!quel::hasValue(status)) throw Failure("the rays of a measured corner do not meet before the cameras");
  }
  return found.value().points;
}

double distance(const Vec3& a, const Vec3& b) { return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]); }

void measurePoints(const std::vector<Corner>& corners, BoardRun& run) {
  MeanSquare all;
  MeanSquare check;
  std::vector<Vec3> checkPoints;
  for (std::size_t n = 0; n < corners.size(); ++n) {
    const double off = distance(run.points[n], corners[n].board);
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
  }
  run.points = meetingPoints(head, corners);
  measurePoints(corners, run);
  return run;
}

}  // namespace queltool

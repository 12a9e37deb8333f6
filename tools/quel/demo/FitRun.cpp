#include "demo/FitRun.h"

#include <cmath>
#include <string>

#include "files/Failure.h"

namespace queltool {

namespace {

struct CheckCorner {
  Vec3 board;
  tag_qmRTCorres corres;
};

std::vector<CheckCorner> checkCorners(const tag_qmReconsTensorData& head, const std::vector<Corner>& corners) {
  std::vector<CheckCorner> checks;
  for (const Corner& corner : corners) {
    if (!corner.check) continue;
    const auto corres = quel::undistorted(head, corner.pixels);
    if (!corres) throw Failure("a measured corner has no undistorted position");
    checks.push_back({corner.board, *corres});
  }
  if (checks.empty()) throw Failure("the board has no check corners");
  return checks;
}

double rmsMm(quel::Fit fit, const tag_qmReconsTensorData& head, const std::vector<CheckCorner>& corners,
             const quel::FitCameras& cameras) {
  double sum = 0.0;
  for (const CheckCorner& corner : corners) {
    const auto fitted = quel::fitPoint(fit, head, corner.corres, cameras);
    if (!fitted) throw Failure(std::string("a corner of the board has no ") + quel::nameOf(fit) + " fit");
    for (std::size_t i = 0; i < 3; ++i) sum += std::pow(fitted->point[i] - corner.board[i], 2);
  }
  return std::sqrt(sum / static_cast<double>(corners.size()));
}

}  // namespace

FitRun runFits(const tag_qmReconsTensorData& head, const std::vector<Corner>& corners) {
  const std::vector<CheckCorner> checks = checkCorners(head, corners);
  FitRun run{};
  for (std::size_t method = 0; method < quel::kClosedFits.size(); ++method) {
    for (std::size_t choice = 0; choice < quel::kFitChoices.size(); ++choice) {
      run.checkRmsMm[method][choice] = rmsMm(quel::kClosedFits[method], head, checks, quel::kFitChoices[choice]);
    }
  }
  return run;
}

}  // namespace queltool

#include "quel/measure/PointFit.h"

#include <cmath>

#include "quel/measure/fitSolution.h"
#include "quel/measure/meetingRays.h"
#include "quelcore/tensor/qmReconsFitCorresToTensor.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel {

namespace {

// What a fit without a candidate leaves as its squared error: the largest float.
constexpr double kNoCandidate = 3.4028234663852886e+38;

std::optional<FitSolution> fitThree(Fit method, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras) {
  FitSolution fit{};
  double b[2];
  double c[2];
  const auto run = method == Fit::Linear ? qmRTFitCorresToTensorPlanarLinear : qmRTFitCorresToTensorPlanar;
  if (run(head, corres, cameras.reference, cameras.firstTarget, cameras.secondTarget, fit.reference.data(), b, c,
          fit.squaredError, fit.depth) != 1) {
    return std::nullopt;
  }
  return fit;
}

// The parallax at which the planar transfer meets `target`, in the least-squares sense of its two coordinates.
double planarParallax(const tag_qmReconsTensorData& head, const FitCameras& cameras, const Vec2& reference,
                      const double (&target)[2]) {
  const auto& h = head.planarTransfer[cameras.reference][cameras.firstTarget];
  const auto& e = head.epipole[cameras.reference][cameras.firstTarget];
  double m[3];
  for (int i = 0; i < 3; ++i) m[i] = h[i][0] * reference[0] + h[i][1] * reference[1] + h[i][2];
  double along = 0.0;
  double squared = 0.0;
  for (int i = 0; i < 2; ++i) {
    const double direction = e[i] - target[i] * e[2];
    along += direction * (target[i] * m[2] - m[i]);
    squared += direction * direction;
  }
  return along / squared;
}

// The depth of the singular fit counts from another plane than the one that the reconstruction takes, so the point is
// taken where it lies in the target.
std::optional<FitSolution> fitSingular(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                       const FitCameras& cameras) {
  const int r = cameras.reference;
  const int b = cameras.firstTarget;
  FitSolution fit{};
  double target[2];
  double singularDepth = 0.0;
  if (qmRTFitCorresToTensorSingular(head, corres, r, b, target, fit.squaredError, singularDepth) != 1) {
    return std::nullopt;
  }
  fit.reference = {(corres.points[r].x - head.imageCentre[r][0]) / head.imageScale[r],
                   (corres.points[r].y - head.imageCentre[r][1]) / head.imageScale[r]};
  fit.depth = planarParallax(head, cameras, fit.reference, target) / head.planarDepthScale[r][b];
  return fit;
}

bool isFinite(const FittedPoint& fitted) {
  return std::isfinite(fitted.point[0]) && std::isfinite(fitted.point[1]) && std::isfinite(fitted.point[2]) &&
         std::isfinite(fitted.errorPx);
}

}  // namespace

std::optional<FitSolution> solveFit(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras) {
  const auto solution =
      fit == Fit::Singular ? fitSingular(head, corres, cameras) : fitThree(fit, head, corres, cameras);
  return solution && solution->squaredError < kNoCandidate ? solution : std::nullopt;
}

Vec3 worldPoint(const tag_qmReconsTensorData& head, const FitCameras& cameras, const FitSolution& fit) {
  const auto& back = head.pairReconstruction[cameras.reference][cameras.firstTarget];
  double x[4];
  for (int i = 0; i < 4; ++i) {
    x[i] = back[i][0] * fit.reference[0] + back[i][1] * fit.reference[1] + back[i][2] + back[i][3] * fit.depth;
  }
  Vec3 point{};
  for (std::size_t i = 0; i < 3; ++i) point[i] = head.worldCentre[i] + head.worldScale * (x[i] / x[3]);
  return point;
}

const char* nameOf(Fit fit) {
  switch (fit) {
    case Fit::Linear:
      return "linear";
    case Fit::Planar:
      return "planar";
    case Fit::Singular:
      return "singular";
    case Fit::Rays:
      return "rays";
  }
  return "";
}

std::optional<FittedPoint> fitPoint(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras) {
  std::optional<FittedPoint> fitted;
  if (fit == Fit::Rays) {
    fitted = meetRays(head, corres, cameras);
  } else if (const auto solution = solveFit(fit, head, corres, cameras)) {
    fitted = {worldPoint(head, cameras, *solution), std::sqrt(solution->squaredError)};
  }
  return fitted && isFinite(*fitted) ? fitted : std::nullopt;
}

std::optional<tag_qmRTCorres> undistorted(const tag_qmReconsTensorData& head, const std::array<Vec2, 3>& pixels) {
  std::array<Vec2, 3> ideal{};
  for (std::size_t i = 0; i < 3; ++i) {
    if (quelplatform::undistortOnePt(pixels[i].data(), &head.distortParams[i], nullptr, ideal[i].data()) != 1) {
      return std::nullopt;
    }
  }
  return correspondenceOf(ideal);
}

tag_qmRTCorres correspondenceOf(const std::array<Vec2, 3>& pixels) {
  tag_qmRTCorres corres{};
  for (std::size_t i = 0; i < 3; ++i) corres.points[i] = {pixels[i][0], pixels[i][1], 0.0};
  return corres;
}

}  // namespace quel

#include "quel/measure/fitSlopes.h"

#include <cmath>

#include "quel/measure/fitSolution.h"

namespace quel {

namespace {

// Pixels to each side. The fits bend over thousands of pixels and round in the ninth place of one.
constexpr double kStep = 0.05;

Vec3 slope(const Vec3& ahead, const Vec3& behind, double width) {
  return {(ahead[0] - behind[0]) / width, (ahead[1] - behind[1]) / width, (ahead[2] - behind[2]) / width};
}

double& coordinate(tag_qmRTCorres& corres, std::size_t camera, std::size_t axis) {
  return axis == 0 ? corres.points[camera].x : corres.points[camera].y;
}

bool playsNoPart(Fit fit, const FitCameras& cameras, std::size_t camera) {
  return fit == Fit::Singular && static_cast<int>(camera) == cameras.secondTarget;
}

std::optional<Vec3> slopeByFits(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                const FitCameras& cameras, std::size_t camera, std::size_t axis) {
  tag_qmRTCorres moved = corres;
  coordinate(moved, camera, axis) += kStep;
  const auto ahead = fitPoint(fit, head, moved, cameras);
  moved = corres;
  coordinate(moved, camera, axis) -= kStep;
  const auto behind = fitPoint(fit, head, moved, cameras);
  if (!ahead || !behind) return std::nullopt;
  return slope(ahead->point, behind->point, 2.0 * kStep);
}

// Normalised positions of a correspondence.
using Positions = std::array<Vec2, 3>;

Positions normalised(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres) {
  Positions p{};
  for (std::size_t k = 0; k < 3; ++k) {
    p[k] = {(corres.points[k].x - head.imageCentre[k][0]) / head.imageScale[k],
            (corres.points[k].y - head.imageCentre[k][1]) / head.imageScale[k]};
  }
  return p;
}

// The planar fit makes the squared distances of its targets least over the parallax l: it is where half their
// derivative after l,
//
//   F = sum over targets of (p - q) . p',    p = (m + l e) / (m + l e)_3,
//
// vanishes. So l moves with a pixel by -F_pixel / F_l, and the fit itself, which rounding may refuse near its pole,
// need not be asked again.
class PlanarCondition {
 public:
  PlanarCondition(const tag_qmReconsTensorData& head, const FitCameras& cameras) : head_(head), cameras_(cameras) {}

  double at(double l, const Positions& p) const {
    return ofTarget(l, p, cameras_.firstTarget) + ofTarget(l, p, cameras_.secondTarget);
  }

  // How far the target positions move per unit of l.
  double speed(double l, const Positions& p) const {
    const Moving b = movingTo(l, p, cameras_.firstTarget);
    const Moving c = movingTo(l, p, cameras_.secondTarget);
    return std::hypot(std::hypot(b.velocity[0], b.velocity[1]), std::hypot(c.velocity[0], c.velocity[1]));
  }

 private:
  struct Moving {
    Vec2 position;
    Vec2 velocity;
  };

  Moving movingTo(double l, const Positions& p, int target) const {
    const auto& h = head_.planarTransfer[cameras_.reference][target];
    const auto& e = head_.epipole[cameras_.reference][target];
    const Vec2& from = p[static_cast<std::size_t>(cameras_.reference)];
    double n[3];
    for (int i = 0; i < 3; ++i) n[i] = h[i][0] * from[0] + h[i][1] * from[1] + h[i][2] + l * e[i];
    const Vec2 position = {n[0] / n[2], n[1] / n[2]};
    return {position, {(e[0] - position[0] * e[2]) / n[2], (e[1] - position[1] * e[2]) / n[2]}};
  }

  double ofTarget(double l, const Positions& p, int target) const {
    const Moving m = movingTo(l, p, target);
    const Vec2& q = p[static_cast<std::size_t>(target)];
    return (m.position[0] - q[0]) * m.velocity[0] + (m.position[1] - q[1]) * m.velocity[1];
  }

  const tag_qmReconsTensorData& head_;
  const FitCameras& cameras_;
};

std::optional<FitSlopes> planarSlopes(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                      const FitCameras& cameras) {
  const auto solution = solveFit(Fit::Planar, head, corres, cameras);
  if (!solution) return std::nullopt;
  const PlanarCondition condition(head, cameras);
  const Positions at = normalised(head, corres);
  const double unit = head.planarDepthScale[cameras.reference][cameras.firstTarget];
  const double l = solution->depth * unit;
  const double step = kStep / head.imageScale[cameras.firstTarget] / condition.speed(l, at);
  const double bend = (condition.at(l + step, at) - condition.at(l - step, at)) / (2.0 * step);

  const auto moved = [&](std::size_t camera, std::size_t axis, double pixels) {
    Positions there = at;
    there[camera][axis] += pixels / head.imageScale[camera];
    return there;
  };
  FitSlopes slopes{};
  for (std::size_t camera = 0; camera < 3; ++camera) {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const Positions ahead = moved(camera, axis, kStep);
      const Positions behind = moved(camera, axis, -kStep);
      const double dl = -(condition.at(l, ahead) - condition.at(l, behind)) / 2.0 / bend;
      const auto reference = static_cast<std::size_t>(cameras.reference);
      slopes[camera][axis] = slope(worldPoint(head, cameras, {ahead[reference], (l + dl) / unit, 0.0}),
                                   worldPoint(head, cameras, {behind[reference], (l - dl) / unit, 0.0}), 2.0 * kStep);
    }
  }
  return slopes;
}

}  // namespace

std::optional<FitSlopes> slopesOf(Fit fit, const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                  const FitCameras& cameras) {
  if (fit == Fit::Planar) return planarSlopes(head, corres, cameras);
  FitSlopes slopes{};
  for (std::size_t camera = 0; camera < 3; ++camera) {
    for (std::size_t axis = 0; axis < 2 && !playsNoPart(fit, cameras, camera); ++axis) {
      const auto moved = slopeByFits(fit, head, corres, cameras, camera, axis);
      if (!moved) return std::nullopt;
      slopes[camera][axis] = *moved;
    }
  }
  return slopes;
}

}  // namespace quel

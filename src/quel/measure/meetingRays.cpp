#include "quel/measure/meetingRays.h"

#include <algorithm>
#include <cmath>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmMath/qmMathSolve.h"

namespace quel {

namespace {

struct Ray {
  Vec3 origin;
  Vec3 direction;
};

using RaysOfHead = std::array<Ray, 3>;

// Directions whose sines are all below this tell no distance.
constexpr double kParallel = 1e-6;

Vec3 difference(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

double lengthOf(const Vec3& v) { return std::sqrt(dot(v, v)); }

double sineBetween(const Vec3& a, const Vec3& b) {
  return lengthOf({a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]});
}

std::optional<RaysOfHead> raysOf(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres) {
  RaysOfHead rays{};
  for (int camera = 0; camera < 3; ++camera) {
    Ray& ray = rays[static_cast<std::size_t>(camera)];
    const double pixel[1][2] = {{corres.points[camera].x, corres.points[camera].y}};
    double direction[1][3];
    if (!std::isfinite(pixel[0][0]) || !std::isfinite(pixel[0][1]) ||
        qmRTget3dRaysFromImgPts(&head, 1, pixel, camera, ray.origin.data(), direction) != 1) {
      return std::nullopt;
    }
    std::copy_n(direction[0], 3, ray.direction.begin());
  }
  return rays;
}

bool areParallel(const RaysOfHead& rays) {
  const double sines[] = {sineBetween(rays[0].direction, rays[1].direction),
                          sineBetween(rays[0].direction, rays[2].direction),
                          sineBetween(rays[1].direction, rays[2].direction)};
  return !(*std::max_element(std::begin(sines), std::end(sines)) > kParallel);
}

// The part of `v` across `direction`.
Vec3 across(const Vec3& direction, const Vec3& v) {
  const double along = dot(direction, v);
  return {v[0] - along * direction[0], v[1] - along * direction[1], v[2] - along * direction[2]};
}

// The point with the least sum of squared distances from the rays, each divided by `distances`. Positions count from
// the first origin, so that a head far from the world's origin loses no digits.
std::optional<Vec3> meet(const RaysOfHead& rays, const Vec3& distances) {
  double system[9] = {};
  double right[3] = {};
  for (std::size_t k = 0; k < 3; ++k) {
    const double weight = 1.0 / (distances[k] * distances[k]);
    const Vec3& d = rays[k].direction;
    const Vec3 offset = across(d, difference(rays[k].origin, rays[0].origin));
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = 0; j < 3; ++j) system[3 * i + j] += weight * ((i == j ? 1.0 : 0.0) - d[i] * d[j]);
      right[i] += weight * offset[i];
    }
  }
  double* rows[3];
  double solution[3];
  qmMathMatStaticInit(3, 3, rows, system);
  if (qmMathSolveBySvd(rows, 3, 3, right, 0, 0, solution) != 1) return std::nullopt;
  return Vec3{rays[0].origin[0] + solution[0], rays[0].origin[1] + solution[1], rays[0].origin[2] + solution[2]};
}

Vec3 distancesFrom(const RaysOfHead& rays, const Vec3& point) {
  return {lengthOf(difference(point, rays[0].origin)), lengthOf(difference(point, rays[1].origin)),
          lengthOf(difference(point, rays[2].origin))};
}

}  // namespace

// A pixel is an angle: the farther camera tells less about the point. So the point is found once, then weighed by its
// distances from the cameras.
std::optional<FittedPoint> meetRays(const tag_qmReconsTensorData& head, const tag_qmRTCorres& corres,
                                    const FitCameras& cameras) {
  const auto rays = raysOf(head, corres);
  if (!rays || areParallel(*rays)) return std::nullopt;
  const auto first = meet(*rays, {1.0, 1.0, 1.0});
  const auto point = first ? meet(*rays, distancesFrom(*rays, *first)) : std::nullopt;
  if (!point) return std::nullopt;
  const Vec3 distances = distancesFrom(*rays, *point);
  double sum = 0.0;
  for (std::size_t k = 0; k < 3; ++k) {
    const Vec3 off = across((*rays)[k].direction, difference(*point, (*rays)[k].origin));
    sum += dot(off, off) / (distances[k] * distances[k]);
  }
  return FittedPoint{*point, std::sqrt(sum) * head.imageScale[cameras.firstTarget]};
}

}  // namespace quel

#include "quel/cameras/Distortion.h"

#include <Eigen/QR>
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "quel/cameras/LensInverse.h"

namespace quel {

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

constexpr int kAllTerms = 9;
constexpr int kFitSteps = 64;
constexpr int kResidualSteps = 256;

struct Sample {
  Vec2 ideal;
  Vec2 displacement;
};

using Samples = std::vector<Sample>;

// Of a Brown-Conrady lens, ideal pixels that the camera sees, on a grid of `steps` over the image and half its size
// around it.
Samples sampleIdeal(const Camera& camera, int steps) {
  Samples samples;
  for (int row = 0; row <= steps; ++row) {
    for (int column = 0; column <= steps; ++column) {
      const Vec2 ideal = {(2.0 * column / steps - 0.5) * camera.width, (2.0 * row / steps - 0.5) * camera.height};
      if (!seenInImage(camera, ideal)) continue;
      const Vec2 distorted = distortedPixel(camera, ideal);
      samples.push_back({ideal, {distorted[0] - ideal[0], distorted[1] - ideal[1]}});
    }
  }
  return samples;
}

// Of any lens, ideal pixels of a grid of `steps` over the very image with its edges and corners; nothing where one of
// them has none.
std::optional<Samples> sampleDistorted(const Camera& camera, int steps) {
  Samples samples;
  Vec2 near = {camera.cx, camera.cy};
  for (int row = 0; row <= steps; ++row) {
    for (int n = 0; n <= steps; ++n) {
      const int column = row % 2 == 0 ? n : steps - n;  // There and back, so that neighbours follow each other.
      const Vec2 pixel = {camera.width * static_cast<double>(column) / steps - 0.5,
                          camera.height * static_cast<double>(row) / steps - 0.5};
      const UndoneLens undone = samples.empty() ? undoLens(camera, pixel) : undoLensNear(camera, pixel, near);
      if (!undone.ideal) return std::nullopt;
      near = *undone.ideal;
      samples.push_back({near, {pixel[0] - near[0], pixel[1] - near[1]}});
    }
  }
  return samples;
}

using Terms = Eigen::Matrix<double, 2, kAllTerms>;

// What one unit of each coefficient (k1 k2 k3 p1 p2 e0 e1 e2 e3) adds to a pixel at (dx, dy) from the principal point.
// Lengths are in units of the focal length, so that the columns of the system are of like size.
Terms termsAt(double dx, double dy) {
  const double r2 = dx * dx + dy * dy;
  const double r4 = r2 * r2;
  const double cross = 2.0 * dx * dy;
  Terms terms;
  terms << dx * r2, dx * r4, dx * r4 * r2, r2 + 2.0 * dx * dx, cross, dx, dy, dx * r4 * r4, dx * r4 * r4 * r2,  //
      dy * r2, dy * r4, dy * r4 * r2, cross, r2 + 2.0 * dy * dy, 0.0, 0.0, dy * r4 * r4, dy * r4 * r4 * r2;
  return terms;
}

double focalLength(const Camera& camera) { return std::sqrt(camera.fx * camera.fy); }

tag_qmDistortParams aboutPrincipalPoint(const Camera& camera) {
  tag_qmDistortParams params{};
  params.xp = camera.cx;
  params.yp = camera.cy;
  params.distortOption = 1;
  return params;
}

// The first `used` coefficients that best explain `samples`, in pixels.
tag_qmDistortParams fitTerms(const Camera& camera, const Samples& samples, int used) {
  const double f = focalLength(camera);
  const auto rows = static_cast<Eigen::Index>(2 * samples.size());
  Eigen::MatrixXd system(rows, used);
  Eigen::VectorXd right(rows);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const auto row = static_cast<Eigen::Index>(2 * i);
    const Vec2& ideal = samples[i].ideal;
    system.middleRows<2>(row) = termsAt((ideal[0] - camera.cx) / f, (ideal[1] - camera.cy) / f).leftCols(used);
    right.segment<2>(row) << samples[i].displacement[0] / f, samples[i].displacement[1] / f;
  }
  Eigen::Matrix<double, kAllTerms, 1> c = Eigen::Matrix<double, kAllTerms, 1>::Zero();
  if (!samples.empty()) c.head(used) = system.colPivHouseholderQr().solve(right);

  tag_qmDistortParams params = aboutPrincipalPoint(camera);
  const double f2 = f * f;
  params.k1 = c[0] / f2;
  params.k2 = c[1] / (f2 * f2);
  params.k3 = c[2] / (f2 * f2 * f2);
  params.p1 = c[3] / f;
  params.p2 = c[4] / f;
  params.distortExtra[0] = c[5];
  params.distortExtra[1] = c[6];
  params.distortExtra[2] = c[7] / (f2 * f2 * f2 * f2);
  params.distortExtra[3] = c[8] / (f2 * f2 * f2 * f2 * f2);
  return params;
}

constexpr DistortionFit kNoFit = {false, HUGE_VAL, HUGE_VAL, 0.0};

// What a model without a value misses is infinite.
double missed(const Sample& sample, const tag_qmDistortParams& params) {
  double distorted[2] = {kNan, kNan};
  qmDistortDistortOnePt(sample.ideal.data(), &params, nullptr, distorted);
  const double distance = std::hypot(distorted[0] - sample.ideal[0] - sample.displacement[0],
                                     distorted[1] - sample.ideal[1] - sample.displacement[1]);
  return std::isfinite(distance) ? distance : HUGE_VAL;
}

// Nothing is known of a model where there are no samples.
DistortionFit residual(const Samples& samples, const tag_qmDistortParams& params) {
  if (samples.empty()) return kNoFit;
  DistortionFit fit{false, 0.0, 0.0, 0.0};
  double sum = 0.0;
  for (const Sample& sample : samples) {
    const double distance = missed(sample, params);
    sum += distance * distance;
    fit.maxPx = std::max(fit.maxPx, distance);
  }
  fit.rmsPx = std::sqrt(sum / static_cast<double>(samples.size()));
  return fit;
}

tag_qmDistortParams fitted(const Camera& camera, DistortionFit& fit) {
  const auto few = sampleDistorted(camera, kFitSteps);
  const auto many = few ? sampleDistorted(camera, kResidualSteps) : std::nullopt;
  if (!many) {
    fit = kNoFit;
    return aboutPrincipalPoint(camera);
  }
  const tag_qmDistortParams params = fitTerms(camera, *few, kAllTerms);
  fit = residual(*many, params);
  return params;
}

}  // namespace

bool isPinhole(const Camera& c) {
  return c.lens.model == LensModel::BrownConrady && c.k1 == 0.0 && c.k2 == 0.0 && c.k3 == 0.0 && c.p1 == 0.0 &&
         c.p2 == 0.0;
}

tag_qmDistortParams convertDistortion(const Camera& camera, DistortionFit& fit) {
  fit = DistortionFit{};
  if (camera.lens.model == LensModel::HeadPolynomial) return headPolynomial(camera.lens);
  if (camera.lens.model != LensModel::BrownConrady) return fitted(camera, fit);
  if (isPinhole(camera)) return aboutPrincipalPoint(camera);
  if (camera.fx != camera.fy || camera.skew != 0.0) return fitted(camera, fit);

  tag_qmDistortParams params = aboutPrincipalPoint(camera);
  const double f = camera.fx;
  const double f2 = f * f;
  params.k1 = camera.k1 / f2;
  params.k2 = camera.k2 / (f2 * f2);
  params.k3 = camera.k3 / (f2 * f2 * f2);
  params.p1 = camera.p2 / f;
  params.p2 = camera.p1 / f;
  return params;
}

tag_qmDistortParams weakDistortion(const Camera& camera, DistortionFit& fit) {
  const tag_qmDistortParams params = fitTerms(camera, sampleIdeal(camera, kFitSteps), 1);
  fit = residual(sampleIdeal(camera, kResidualSteps), params);
  return params;
}

}  // namespace quel

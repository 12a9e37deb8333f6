#include "quel/formats/LensFit.h"

#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <algorithm>
#include <cmath>
#include <vector>

#include "quel/cameras/Distortion.h"
#include "quel/cameras/LensInverse.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel {

namespace {

constexpr double kExactPx = 1e-9;
constexpr int kFitSteps = 32;
constexpr int kResidualSteps = 128;
constexpr int kIterations = 50;
constexpr std::size_t kOfMatrix = 4;  // fx, fy, cx, cy.
constexpr std::size_t kOpenCvCount = 14;

// Where a ray goes in the image.
struct Sample {
  Vec2 normalised;
  Vec2 pixel;
};
using Samples = std::vector<Sample>;

Vec2 normalisedBy(const Camera& camera, const Vec2& ideal) {
  const double y = (ideal[1] - camera.cy) / camera.fy;
  return {(ideal[0] - camera.cx - camera.skew * y) / camera.fx, y};
}

// Depths at which a LUT counts: one where there is none.
std::vector<float> depthsOf(const tag_qmReconsTensorData& head, int index) {
  const auto middle = static_cast<float>(head.reconstBoxCenterZ), half = static_cast<float>(head.reconstBoxHalfSizeZ);
  if (head.distortParams[index].luts == nullptr || half <= 0.0F) return {middle};
  return {middle - half, middle, middle + half};
}

// Pixels on a grid of `steps` over the image with their rays; nothing where one has none.
std::optional<Samples> sampled(const Camera& camera, const tag_qmReconsTensorData& head, int index, int steps) {
  Samples samples;
  for (const float depth : depthsOf(head, index)) {
    for (int row = 0; row <= steps; ++row) {
      for (int column = 0; column <= steps; ++column) {
        const Vec2 pixel = {camera.width * static_cast<double>(column) / steps - 0.5,
                            camera.height * static_cast<double>(row) / steps - 0.5};
        Vec2 ideal{};
        if (quelplatform::undistortOnePt(pixel.data(), &head.distortParams[index], &depth, ideal.data()) != 1)
          return std::nullopt;
        samples.push_back({normalisedBy(camera, ideal), pixel});
      }
    }
  }
  return samples;
}

// The camera of fx, fy, cx, cy and the first coefficients of OpenCV.
Camera cameraWith(const Camera& before, const Eigen::VectorXd& p) {
  Camera camera = before;
  camera.skew = 0.0;
  camera.fx = p[0];
  camera.fy = p[1];
  camera.cx = p[2];
  camera.cy = p[3];
  camera.lens = {LensModel::OpenCv, std::vector<double>(kOpenCvCount, 0.0), {}};
  for (Eigen::Index i = kOfMatrix; i < p.size(); ++i)
    camera.lens.parameters[static_cast<std::size_t>(i) - kOfMatrix] = p[i];
  return camera;
}

Eigen::VectorXd missesOf(const Camera& camera, const Samples& samples) {
  Eigen::VectorXd result(static_cast<Eigen::Index>(2 * samples.size()));
  for (std::size_t n = 0; n < samples.size(); ++n) {
    const auto [x, y] = samples[n].normalised;
    const Vec2 seen = distortedPixel(camera, {camera.fx * x + camera.cx, camera.fy * y + camera.cy});
    result[static_cast<Eigen::Index>(2 * n)] = seen[0] - samples[n].pixel[0];
    result[static_cast<Eigen::Index>(2 * n + 1)] = seen[1] - samples[n].pixel[1];
  }
  return result;
}

double largestMiss(const Camera& camera, const Samples& samples) {
  const Eigen::VectorXd misses = missesOf(camera, samples);
  double most = 0.0;
  for (Eigen::Index n = 0; n < misses.size(); n += 2) {
    const double distance = std::hypot(misses[n], misses[n + 1]);
    if (!(distance <= most)) most = distance;
  }
  return most;
}

Eigen::MatrixXd slopesOf(const Camera& camera, const Eigen::VectorXd& p, const Samples& samples) {
  Eigen::MatrixXd slopes(static_cast<Eigen::Index>(2 * samples.size()), p.size());
  for (Eigen::Index k = 0; k < p.size(); ++k) {
    const double step = k < static_cast<Eigen::Index>(kOfMatrix) ? 1e-3 : 1e-6;
    Eigen::VectorXd more = p, less = p;
    more[k] += step;
    less[k] -= step;
    slopes.col(k) =
        (missesOf(cameraWith(camera, more), samples) - missesOf(cameraWith(camera, less), samples)) / (2.0 * step);
  }
  return slopes;
}

// The way of Levenberg and Marquardt, damped along each parameter by its own weight.
Eigen::VectorXd improved(const Camera& camera, Eigen::VectorXd p, const Samples& samples) {
  double damping = 1e-6;
  Eigen::VectorXd misses = missesOf(cameraWith(camera, p), samples);
  for (int n = 0; n < kIterations; ++n) {
    const Eigen::MatrixXd slopes = slopesOf(camera, p, samples);
    // Term by term: the usual product of matrices would wake up threads for so little.
    Eigen::MatrixXd normal = slopes.transpose().lazyProduct(slopes);
    normal.diagonal() *= 1.0 + damping;
    const Eigen::VectorXd step = normal.ldlt().solve(slopes.transpose().lazyProduct(misses));
    if (!step.allFinite()) break;
    const Eigen::VectorXd moved = missesOf(cameraWith(camera, p - step), samples);
    if (!(moved.squaredNorm() < misses.squaredNorm())) {
      if (damping > 1e3) break;
      damping *= 10.0;
      continue;
    }
    const bool arrived = moved.squaredNorm() > (1.0 - 1e-9) * misses.squaredNorm();
    p -= step;
    misses = moved;
    damping *= 0.1;
    if (arrived) break;
  }
  return p;
}

// Coefficients of Brown and Conrady about the principal point, by lengths in units of the focal length.
bool setBrownConrady(Camera& camera, const tag_qmDistortParams& p) {
  const double f = camera.fx, f2 = f * f;
  const double* e = p.distortExtra;
  const bool bends = p.k1 != 0.0 || p.k2 != 0.0 || p.k3 != 0.0 || p.p1 != 0.0 || p.p2 != 0.0;
  const bool further = std::any_of(e, e + 4, [](double value) { return value != 0.0; });
  const bool isCentred = std::abs(p.xp - camera.cx) <= kExactPx && std::abs(p.yp - camera.cy) <= kExactPx;
  const bool isSquare = std::abs(camera.fx - camera.fy) <= kExactPx && camera.skew == 0.0;
  if (further || (bends && !(isCentred && isSquare && p.distortOption != 2))) return false;
  camera.k1 = p.k1 * f2;
  camera.k2 = p.k2 * f2 * f2;
  camera.k3 = p.k3 * f2 * f2 * f2;
  camera.p1 = p.p2 * f;
  camera.p2 = p.p1 * f;
  return true;
}

}  // namespace

Result<Camera> cameraOf(const Head& head, int index) {
  const auto found = head.camera(index);
  if (!found) return found.error();
  if (found->width == 0) return Error{"the head's camera type is unknown, and so is the size of its images"};
  Camera camera;
  camera.name = found->name;
  camera.width = found->width;
  camera.height = found->height;
  camera.fx = found->K[0][0];
  camera.fy = found->K[1][1];
  camera.cx = found->K[0][2];
  camera.cy = found->K[1][2];
  camera.skew = std::abs(found->K[0][1]) <= kExactPx ? 0.0 : found->K[0][1];
  camera.rotation = found->R;
  camera.translation = found->t;
  const tag_qmDistortParams& params = head.record().distortParams[index];
  if (!setBrownConrady(camera, params)) camera.lens = headPolynomialLens(params);
  return camera;
}

bool isPlain(const Camera& camera) { return camera.lens.model == LensModel::BrownConrady && camera.skew == 0.0; }

std::optional<FittedLens> fittedLens(const Head& head, int index, std::span<const std::size_t> counts) {
  const auto camera = cameraOf(head, index);
  if (!camera) return std::nullopt;
  const auto few = sampled(*camera, head.record(), index, kFitSteps);
  const auto many = few ? sampled(*camera, head.record(), index, kResidualSteps) : std::nullopt;
  if (!many) return std::nullopt;
  Eigen::VectorXd p = Eigen::Vector4d(camera->fx, camera->fy, camera->cx, camera->cy);
  FittedLens best;
  best.maxPx = HUGE_VAL;
  for (const std::size_t count : counts) {
    const Eigen::Index size = p.size();
    p.conservativeResize(static_cast<Eigen::Index>(kOfMatrix + count));
    p.tail(p.size() - size).setZero();
    p = improved(*camera, p, *few);
    const Camera fitted = cameraWith(*camera, p);
    const double most = largestMiss(fitted, *many);
    if (most < best.maxPx) best = {fitted, count, most};
    if (best.maxPx <= kGreatestResidual) break;
  }
  return best;
}

}  // namespace quel

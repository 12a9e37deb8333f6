#include "quel/cameras/Camera.h"

#include <cmath>
#include <limits>

#include "quel/cameras/LensInverse.h"
#include "quelplatform/qmDistort/qmDistort.h"

namespace quel {

namespace {

Vec2 normalised(const Camera& camera, const Vec2& pixel) {
  const double y = (pixel[1] - camera.cy) / camera.fy;
  return {(pixel[0] - camera.cx - camera.skew * y) / camera.fx, y};
}

Vec2 inPixels(const Camera& camera, const Vec2& p) {
  return {camera.fx * p[0] + camera.skew * p[1] + camera.cx, camera.fy * p[1] + camera.cy};
}

Vec2 brownConrady(const Camera& camera, const Vec2& p) {
  const auto [x, y] = p;
  const double r2 = x * x + y * y;
  const double radial = 1.0 + r2 * (camera.k1 + r2 * (camera.k2 + r2 * camera.k3));
  return {x * radial + 2.0 * camera.p1 * x * y + camera.p2 * (r2 + 2.0 * x * x),
          y * radial + camera.p1 * (r2 + 2.0 * y * y) + 2.0 * camera.p2 * x * y};
}

Vec2 byHeadPolynomial(const Lens& lens, const Vec2& ideal) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  const tag_qmDistortParams params = headPolynomial(lens);
  Vec2 pixel = {kNan, kNan};
  qmDistortDistortOnePt(ideal.data(), &params, nullptr, pixel.data());
  return pixel;
}

}  // namespace

tag_qmDistortParams headPolynomial(const Lens& lens) {
  const std::vector<double>& p = lens.parameters;
  tag_qmDistortParams params{};
  params.k1 = p[0];
  params.k2 = p[1];
  params.k3 = p[2];
  params.p1 = p[3];
  params.p2 = p[4];
  params.xp = p[5];
  params.yp = p[6];
  for (std::size_t i = 0; i < 4; ++i) params.distortExtra[i] = p[7 + i];
  params.distortOption = p[11] == 2.0 ? 2 : 1;
  return params;
}

Lens headPolynomialLens(const tag_qmDistortParams& p) {
  const double* e = p.distortExtra;
  return {LensModel::HeadPolynomial,
          {p.k1, p.k2, p.k3, p.p1, p.p2, p.xp, p.yp, e[0], e[1], e[2], e[3], p.distortOption == 2 ? 2.0 : 1.0},
          {}};
}

Vec3 inCamera(const Camera& camera, const Vec3& world) {
  Vec3 result{};
  for (std::size_t i = 0; i < 3; ++i) result[i] = dot(camera.rotation[i], world) + camera.translation[i];
  return result;
}

Vec3 centreOf(const Camera& camera) {
  Vec3 result{};
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) result[i] -= camera.rotation[k][i] * camera.translation[k];
  }
  return result;
}

Vec2 idealPixel(const Camera& camera, const Vec3& world) {
  const Vec3 p = inCamera(camera, world);
  return inPixels(camera, {p[0] / p[2], p[1] / p[2]});
}

Vec2 distortedPixel(const Camera& camera, const Vec2& ideal) {
  if (camera.lens.model == LensModel::HeadPolynomial) return byHeadPolynomial(camera.lens, ideal);
  const Vec2 p = normalised(camera, ideal);
  return inPixels(camera,
                  camera.lens.model == LensModel::BrownConrady ? brownConrady(camera, p) : bent(camera.lens, p));
}

std::optional<Vec2> undistortedPixel(const Camera& camera, const Vec2& distorted) {
  return undoLens(camera, distorted).ideal;
}

bool oneToOneAt(const Camera& camera, const Vec2& ideal) {
  if (camera.lens.model != LensModel::BrownConrady) return unfoldedTo(camera, ideal);
  const auto [x, y] = normalised(camera, ideal);
  const double r2 = x * x + y * y;
  return 1.0 + r2 * (3.0 * camera.k1 + r2 * (5.0 * camera.k2 + r2 * 7.0 * camera.k3)) > 0.0;
}

bool seenInImage(const Camera& camera, const Vec2& ideal) {
  const auto [x, y] = distortedPixel(camera, ideal);
  return oneToOneAt(camera, ideal) && x >= -0.5 && y >= -0.5 && x <= camera.width - 0.5 && y <= camera.height - 0.5;
}

}  // namespace quel

// One calibrated camera: intrinsics, pose and lens, which is a Brown-Conrady one unless it says otherwise.
//
// Pixels count from the centre of the top-left pixel, x to the right, y down. Lengths are millimetres. A world point X
// stands at rotation X + translation before the camera, which looks along its z axis. Distortion acts on normalised
// coordinates (x, y) = (X/Z, Y/Z):
//
//   r2 = x x + y y,  S = 1 + k1 r2 + k2 r2^2 + k3 r2^3
//   x' = x S + 2 p1 x y + p2 (r2 + 2 x x)
//   y' = y S + p1 (r2 + 2 y y) + 2 p2 x y
//   pixel = (fx x' + skew y' + cx, fy y' + cy)
//
// Lens.h tells what other lenses do; an ideal pixel is where a camera of the same matrix without a lens sees a point.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "quel/base/Vectors.h"
#include "quel/cameras/Lens.h"

namespace quel {

#pragma GCC visibility push(default)

struct Camera {
  std::string name;
  std::int32_t width = 0;               ///< Pixels.
  std::int32_t height = 0;              ///< Pixels.
  double fx = 0.0;                      ///< Pixels.
  double fy = 0.0;                      ///< Pixels.
  double cx = 0.0;                      ///< Pixels.
  double cy = 0.0;                      ///< Pixels.
  double skew = 0.0;                    ///< Pixels of x per unit of normalised y.
  double k1 = 0.0, k2 = 0.0, k3 = 0.0;  ///< Of a Brown-Conrady lens; another has its own in `lens`.
  double p1 = 0.0, p2 = 0.0;
  Mat3 rotation{};
  Vec3 translation{};
  Lens lens = {};
};

/// rotation X + translation.
Vec3 inCamera(const Camera& camera, const Vec3& world);

/// Where the camera stands in the world.
Vec3 centreOf(const Camera& camera);

/// Pinhole pixel of a world point; not finite for a point on the camera's principal plane.
Vec2 idealPixel(const Camera& camera, const Vec3& world);

/// Distorted pixel of an ideal one, by the full model; not finite where the lens sends the ray nowhere.
Vec2 distortedPixel(const Camera& camera, const Vec2& ideal);

/// The ideal pixel that `distorted` is the image of, to 1e-9 px: the one that is reached from the principal point along
/// the straight line in the image. Nothing where the lens folds over on the way, or where the ray stands more than 55
/// degrees off the optical axis.
std::optional<Vec2> undistortedPixel(const Camera& camera, const Vec2& distorted);

/// True where the model can be undone: of a Brown-Conrady lens where its radial part still grows with the radius, of
/// another where it does not fold over between the optical axis and there.
bool oneToOneAt(const Camera& camera, const Vec2& ideal);

/// True when the distorted pixel of `ideal` lies in the image and the model can be undone there.
bool seenInImage(const Camera& camera, const Vec2& ideal);

#pragma GCC visibility pop

}  // namespace quel

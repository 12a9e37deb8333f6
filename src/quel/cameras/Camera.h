// One calibrated camera in the usual form: intrinsics, pose and Brown-Conrady distortion.
//
// Pixels count from the centre of the top-left pixel, x to the right, y down. Lengths are millimetres. A world point X
// stands at rotation X + translation before the camera, which looks along its z axis. Distortion acts on normalised
// coordinates (x, y) = (X/Z, Y/Z):
//
//   r2 = x x + y y,  S = 1 + k1 r2 + k2 r2^2 + k3 r2^3
//   x' = x S + 2 p1 x y + p2 (r2 + 2 x x)
//   y' = y S + p1 (r2 + 2 y y) + 2 p2 x y
//   pixel = (fx x' + skew y' + cx, fy y' + cy)
#pragma once

#include <cstdint>
#include <string>

#include "quel/base/Vectors.h"

namespace quel {

#pragma GCC visibility push(default)

struct Camera {
  std::string name;
  std::int32_t width = 0;   ///< Pixels.
  std::int32_t height = 0;  ///< Pixels.
  double fx = 0.0;          ///< Pixels.
  double fy = 0.0;          ///< Pixels.
  double cx = 0.0;          ///< Pixels.
  double cy = 0.0;          ///< Pixels.
  double skew = 0.0;        ///< Pixels of x per unit of normalised y.
  double k1 = 0.0, k2 = 0.0, k3 = 0.0;
  double p1 = 0.0, p2 = 0.0;
  Mat3 rotation{};
  Vec3 translation{};
};

/// rotation X + translation.
Vec3 inCamera(const Camera& camera, const Vec3& world);

/// Where the camera stands in the world.
Vec3 centreOf(const Camera& camera);

/// Pinhole pixel of a world point; not finite for a point on the camera's principal plane.
Vec2 idealPixel(const Camera& camera, const Vec3& world);

/// Distorted pixel of an ideal one, by the full model.
Vec2 distortedPixel(const Camera& camera, const Vec2& ideal);

/// True where the radial part of the model still grows with the radius, so that it can be undone.
bool oneToOneAt(const Camera& camera, const Vec2& ideal);

/// True when the distorted pixel of `ideal` lies in the image and the model can be undone there.
bool seenInImage(const Camera& camera, const Vec2& ideal);

#pragma GCC visibility pop

}  // namespace quel

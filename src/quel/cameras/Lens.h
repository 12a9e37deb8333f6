// How a lens bends the rays of a camera: from the normalised position (x, y) = (X/Z, Y/Z) of a ray to where it goes in
// units of the focal length. The pixel follows from that by the camera's matrix,
//
//   pixel = (fx x' + skew y' + cx, fy y' + cy).
//
// With r2 = x x + y y, theta the ray's angle off the axis and u = theta (x, y) / sqrt(r2):
//
//   BrownConrady          S = 1 + k1 r2 + k2 r2^2 + k3 r2^3,  x' = x S + 2 p1 x y + p2 (r2 + 2 x x),
//                         y' = y S + p1 (r2 + 2 y y) + 2 p2 x y; its coefficients stand in the camera itself
//   OpenCv                S = (1 + k1 r2 + k2 r2^2 + k3 r2^3) / (1 + k4 r2 + k5 r2^2 + k6 r2^3) with the same
//   tangential
//                         pair, + s1 r2 + s2 r2^2 in x' and s3 r2 + s4 r2^2 in y', then tilted by tauX and tauY
//                         (radians)
//   OpenCvFisheye         (x', y') = u (1 + k1 theta^2 + k2 theta^4 + k3 theta^6 + k4 theta^8)
//   Stereographic         (x', y') = 2 tan(theta / 2) (x, y) / sqrt(r2)
//   Cahvor                the ray p is moved to p + mu (p - (p . o) o), mu = r0 + r1 tau + r2 tau^2,
//                         tau = p . p / (p . o)^2 - 1, o = (sin alpha cos beta, sin beta, cos alpha cos beta)
//   SplinedStereographic  as Stereographic, moved by a surface of B-splines over what that gives
//   Fov                   (x', y') = atan(2 r tan(omega / 2)) / (r omega) (x, y)
//   ThinPrismFisheye      u (1 + k1 t + k2 t^2 + k3 t^3 + k4 t^4), t = u . u, + the tangential pair on u, + sx1 t, sy1
//   t HeadPolynomial        the head's own model (see qmDistort.h) in pixels, about its own point (xp, yp); `option` 2
//                         says that it takes distorted pixels to ideal ones
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "quel/base/Vectors.h"

namespace quel {

#pragma GCC visibility push(default)

enum class LensModel : std::int32_t {
  BrownConrady,
  OpenCv,
  OpenCvFisheye,
  Stereographic,
  Cahvor,
  SplinedStereographic,
  Fov,
  ThinPrismFisheye,
  HeadPolynomial
};

/// The grid of control points of a SplinedStereographic lens, evenly spaced over the field of view, with those beyond
/// its edges that B-splines need.
struct SplineGrid {
  std::int32_t order = 3;    ///< 2 or 3.
  std::int32_t columns = 0;  ///< At least 4.
  std::int32_t rows = 0;     ///< At least 4.
  double fovDegrees = 0.0;   ///< The field of view in x, above 0 and below 360 degrees.
};

/// A lens. Of `parameters` there are as many as `lensParameterNames` tells, in that order; of a splined lens two (x, y)
/// for each control point, row by row; none for BrownConrady.
struct Lens {
  LensModel model = LensModel::BrownConrady;
  std::vector<double> parameters = {};
  SplineGrid grid = {};  ///< Of a splined lens alone.
};

/// What files call a model, such as "opencv-fisheye".
std::string_view lensModelName(LensModel model);

/// The model of that name; nothing when there is none.
std::optional<LensModel> lensModelNamed(std::string_view name);

/// All models, in their order.
std::span<const LensModel> lensModels();

/// What the parameters of a model are called; empty for a splined lens and for one without parameters.
std::span<const std::string_view> lensParameterNames(LensModel model);

/// Why `lens` is none: a wrong count of parameters, one that is not finite, a grid out of its range. Empty where it is
/// sound.
std::string whyNoLens(const Lens& lens);

#pragma GCC visibility pop

/// Where a lens of any model but BrownConrady and HeadPolynomial sends the ray at the normalised position `p`; not
/// finite where it sends it nowhere. Hidden in the library: `distortedPixel` of a camera is the door.
Vec2 bent(const Lens& lens, const Vec2& p);

}  // namespace quel

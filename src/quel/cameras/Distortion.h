// From a camera's lens to the head's lens model in pixels. Hidden in the library.
#pragma once

#include "quel/cameras/Camera.h"
#include "quel/cameras/HeadOptions.h"
#include "quelplatform/qmDistort/qmDistort.h"

namespace quel {

/// The largest error, in pixels, with which a model of few coefficients may stand for a lens.
inline constexpr double kGreatestResidual = 0.005;

/// True where the lens does nothing.
bool isPinhole(const Camera& camera);

/// The pixel model of `camera`, about its principal point, without LUT, with `distortOption` 1. With fx = fy = f and no
/// skew the coefficients are those of a Brown-Conrady camera divided by powers of f, and the tangential pair swaps.
/// Otherwise all nine coefficients (three radial, two tangential, two affine, two of higher order) are fitted by least
/// squares over the image, and `fit` tells what is left: infinitely much where the lens has no way back over all of it.
tag_qmDistortParams convertDistortion(const Camera& camera, DistortionFit& fit);

/// As above, but the fit has only k1 at its disposal: the weak model that a LUT set completes.
tag_qmDistortParams weakDistortion(const Camera& camera, DistortionFit& fit);

}  // namespace quel

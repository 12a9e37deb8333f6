// From a camera's lens to the head's lens model in pixels.
#pragma once

#include "quel/cameras/Camera.h"
#include "quelplatform/qmDistort/qmDistort.h"

namespace quel {

/// How well the pixel model stands for the camera's own, over all pixels of the image.
struct DistortionFit {
  bool exact = true;   ///< The models are the same function: fx = fy and no skew. The residuals are then 0.
  double rmsPx = 0.0;  ///< Root of the mean squared distance between the two distorted pixels.
  double maxPx = 0.0;
  double lutPitch = 0.0;  ///< Pixels between the cells of LUTs that hold the whole lens; 0 where there are none. The
                          ///< residuals are then those of the LUTs, over 100,000 random pixels of the image.
};

/// The largest error, in pixels, with which a model of few coefficients may stand for a lens.
inline constexpr double kGreatestResidual = 0.005;

/// The pixel model of `camera`, about its principal point, without LUT, with `distortOption` 1. With fx = fy = f and no
/// skew the coefficients are those of a Brown-Conrady camera divided by powers of f, and the tangential pair swaps.
/// Otherwise all nine coefficients (three radial, two tangential, two affine, two of higher order) are fitted by least
/// squares over the image, and `fit` tells what is left: infinitely much where the lens has no way back over all of it.
tag_qmDistortParams convertDistortion(const Camera& camera, DistortionFit& fit);

/// As above, but the fit has only k1 at its disposal: the weak model that a LUT set completes.
tag_qmDistortParams weakDistortion(const Camera& camera, DistortionFit& fit);

}  // namespace quel

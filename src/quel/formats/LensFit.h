// The lens of a head's camera in the coefficients that other programs know. Hidden in the library.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "quel/cameras/Camera.h"
#include "quel/head/Head.h"

namespace quel {

/// A camera of `head` with its matrix, size, pose and, unless it has LUTs, its very lens: a Brown-Conrady one where the
/// head's model is one (to 1e-9 px), else the head's polynomial.
Result<Camera> cameraOf(const Head& head, int camera);

/// Whether `camera` is a pinhole, or has a Brown-Conrady lens and no skew.
bool isPlain(const Camera& camera);

/// A camera of `head` with a lens of OpenCV, fitted over the image.
struct FittedLens {
  Camera camera;                 ///< Without skew.
  std::size_t coefficients = 0;  ///< How many of OpenCV's were of use.
  double maxPx = 0.0;            ///< The largest error over the image.
};

/// The best camera for camera `index` of `head` with each count of coefficients until one errs by at most 0.005 px, or
/// the last one. Of a LUT what it says at the middle of the head's box, above and below counts. Nothing where the lens
/// cannot be followed over the image.
std::optional<FittedLens> fittedLens(const Head& head, int index, std::span<const std::size_t> counts);

}  // namespace quel

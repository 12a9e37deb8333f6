// Looking up the displacement that a LUT set adds at an ideal pixel.
//
// A pixel's place in the grid is ((x - origin) / pitch), in cells. It is inside from the first cell's position to the
// last one's, both included. A cell or layer whose weight is 0 is not needed and may be without value.
#pragma once

#include <optional>

#include "quelplatform/qmDistort/LensPolynomial.h"

namespace quelplatform {

/// A cell of this value, or NaN, holds no value.
inline constexpr float kNoLutValue = 0x1.fffffep+127f;

/// A displacement and its derivative with respect to the pixel. Where a neighbour is not needed the derivative counts
/// it as equal.
struct LutSample {
  Pixel displacement;
  Jacobian slope;
};

enum class OutsideGrid { IsNothing, TakesTheEdge };

/// Bilinear in the image, linear between the layers; a null depth takes the reference layer. Nothing outside the grid
/// (unless `outside` says otherwise), outside the layers, where a needed cell holds no value, or from a set without
/// both tables.
std::optional<LutSample> interpolatedLut(const tag_qmDistortLuts& luts, Pixel pixel, const float* depth,
                                         OutsideGrid outside = OutsideGrid::IsNothing);

/// The nearest cell of the nearest layer; halfway goes to the higher one. Nothing outside the grid or the layers, where
/// that cell holds no value, or from a set without both tables.
std::optional<Pixel> nearestLut(const tag_qmDistortLuts& luts, Pixel pixel, const float* depth);

}  // namespace quelplatform

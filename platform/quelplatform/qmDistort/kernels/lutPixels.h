// Kernels: the displacements of a LUT set on top of the lens polynomial, for many pixels.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

namespace quelplatform {

/// Layers are found by a walk, so a set of more is not for the kernels.
inline constexpr std::int32_t kMostLutLayers = 64;

/// What a look-up needs of a LUT set that has both tables, images with cells and 1 to `kMostLutLayers` layers;
/// `tag_qmDistortLuts` says more.
struct LutView {
  const qmImageRecord* tables[2];  ///< `layers` images each: displacements along x and y.
  std::int32_t columns, rows, layers;
  std::int32_t referenceLayer;
  double origin[2], pitch[2];
  const float* depths;  ///< Of the layers, ascending; null where they have none.
  float noValue;        ///< A cell of this value, or NaN, holds no value.

  /// 1 / `pitch` where that is exact, so that multiplying by it rounds as the division does; 0 where it is not.
  double exactInverse[2] = {0.0, 0.0};
};

/// Pixels on their way: where they look into the LUTs, and what the polynomial made of them.
struct LutPixels {
  const double (*ideal)[2];
  const float* depths;  ///< One a pixel; null takes the reference layer for all.
  const double (*polynomial)[2];
  std::int64_t count;
  double (*out)[2];         ///< May be `ideal`.
  std::uint8_t* succeeded;  ///< One a pixel, unless null.
};

/// out = polynomial + displacement, bilinear in the image and linear between layers. Where a pixel or its depth lies
/// outside the LUTs, a cell that is needed holds no value, or the sum is not finite, `out` is untouched. Returns how
/// many these are.
using InterpolatedLutPixels = std::int64_t(const LutView& luts, const LutPixels& pixels);

/// The same with the nearest cell of the nearest layer, except that `out` becomes the polynomial's pixel there.
using NearestLutPixels = std::int64_t(const LutView& luts, const LutPixels& pixels);

QUEL_DECLARE_KERNEL(InterpolatedLutPixels, interpolatedLutPixels)
QUEL_DECLARE_KERNEL(NearestLutPixels, nearestLutPixels)

inline constexpr quelkernels::Kernel<InterpolatedLutPixels> kInterpolatedLutPixels =
    QUEL_KERNEL_OF(interpolatedLutPixels);
inline constexpr quelkernels::Kernel<NearestLutPixels> kNearestLutPixels = QUEL_KERNEL_OF(nearestLutPixels);

}  // namespace quelplatform

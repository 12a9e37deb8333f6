// The lens model: from an ideal (pinhole) pixel to the distorted pixel that the camera sees.
//
// Pixels count from the centre of the top-left pixel, x to the right, y down. The model works in pixels about (xp, yp):
// with dx = x - xp, dy = y - yp, r2 = dx dx + dy dy, e = distortExtra and
// S = k1 r2 + k2 r2^2 + k3 r2^3 + e2 r2^4 + e3 r2^5 (e4 is reserved, 0):
//
//   x' = x + dx S + p1 (r2 + 2 dx dx) + 2 p2 dx dy + e0 dx + e1 dy
//   y' = y + dy S + p2 (r2 + 2 dy dy) + 2 p1 dx dy
//
// distortOption 2: the polynomial maps the distorted pixel to the ideal one, and distorting is its inverse. Any other
// value: it maps the ideal pixel to the distorted one, in closed form.
//
// A LUT adds a displacement on top, looked up at the ideal pixel: table 0 is x, table 1 is y; one image per depth
// layer, bilinear in the image, linear between layers. docs/lens-model.md tells the whole story, conversions included.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

/// A set of distortion look-up tables. Made and freed by `DistortLutsManager` alone; shared, and read-only once loaded.
struct tag_qmDistortLuts {
  /// Each null or an array of `tableCount` images, one a depth layer: 0 is the x displacement, 1 the y displacement in
  /// pixels; 2 and 3 are null unless a file holds them. All images have one size.
  qmImageRecord* tables[4];
  std::int32_t reserved;        ///< 0.
  std::int32_t lutVersion;      ///< Sets below version 2 hold no NaN: a cell without value is the largest float there.
  std::int32_t tableCount;      ///< Number of depth layers.
  std::int32_t referenceLayer;  ///< The layer nearest to depth 0, used where no depth is given.
  double gridOrigin[2];         ///< Ideal pixel (x, y) of cell (0, 0).
  double gridPitch[2];          ///< Pixels between cells, x and y.
  float* layerDepths;           ///< `tableCount` depths, ascending: Z in the LUT frame.
};

/// The distortion model of one camera.
struct tag_qmDistortParams {
  double k1, k2, k3;              ///< Radial coefficients, pixel^-2, pixel^-4, pixel^-6.
  double p1, p2;                  ///< Tangential coefficients, pixel^-1.
  double xp, yp;                  ///< Principal point, pixels.
  double distortExtra[5];         ///< e0, e1 (affine), e2, e3 (radial, pixel^-8 and pixel^-10), e4 (reserved, 0).
  const tag_qmDistortLuts* luts;  ///< LUT set in use, or null; owned by `DistortLutsManager`.
  std::int32_t distortOption;     ///< See above.
};

namespace quelplatform {

/// How far the polynomial may miss the pixel that it is to meet where it is inverted, pixels along each axis.
inline constexpr double kDistortInverseTolerance = 1e-9;

/// How long the last step of the quick inverse may be, pixels along each axis. Steps shrink quadratically, so the pixel
/// is far closer than this.
inline constexpr double kDistortFastLastStep = 1e-3;

}  // namespace quelplatform

/// Maps the ideal pixel `in` to the distorted pixel `out` through the model and its LUT. `depth` is Z in the LUT frame;
/// null uses the LUT's reference layer. Returns 1 or 0. Promises:
///   1. For any `distortOption` but 2 the polynomial is evaluated in closed form, its terms in the order above.
///   2. For `distortOption` 2 the polynomial takes the distorted pixel to `in` within `kDistortInverseTolerance`,
///      and does not fold over between the principal point and that pixel. 0 when no such pixel is found.
///   3. The LUT reaches from the first cell's position to the last one's and from the first layer to the last, all
///      included (a single layer holds for its own depth alone); cells and layers whose weight is 0 are not needed.
///      0 outside, when a cell that is needed has no value (NaN or the largest float), or when the set has no
///      tables.
///   4. 0 when the result is not finite, and when `in`, `params` or `out` is null.
///   5. Where the result is 0, `out` is untouched. `in` and `out` may be the same.
///   6. Nothing is kept between calls: safe from several threads.
QUELPLATFORM_API std::int32_t qmDistortDistortOnePt(const double in[2], const tag_qmDistortParams* params,
                                                    const float* depth, double out[2]) noexcept;

/// The quick form. Promises:
///   1. For `distortOption` 2 it takes four Newton steps, which count as arrived when the last one was at most
///      `kDistortFastLastStep`.
///   2. Of the LUT it takes the nearest cell of the nearest layer (halfway goes to the higher one), which is then
///      the only one that is needed.
///   3. Returns 0 in the same cases, with the polynomial's pixel in `out`: what the steps reached, or `in` where
///      they left all numbers. For null pointers `out` is untouched.
QUELPLATFORM_API std::int32_t qmDistortDistortOnePtFast(const double in[2], const tag_qmDistortParams* params,
                                                        const float* depth, double out[2]) noexcept;

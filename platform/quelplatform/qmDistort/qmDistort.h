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

/// Maps the ideal pixel `in` to the distorted pixel `out` through the model and its LUT. `depth` is Z in the LUT frame;
/// null uses the LUT's reference layer. Returns 1; or 0 with `out` untouched when
///   - `distortOption` is 2 and no distorted pixel is found that the polynomial takes to `in` within 1e-9 pixels, or
///     it folds over between the principal point and that pixel;
///   - there is a LUT and the pixel lies outside its grid, the depth outside its layers (a single layer holds for its
///     own depth alone), a cell that is needed has no value (NaN or the largest float), or the set has no tables. The
///     grid reaches from the first cell's position to the last one's, both included; cells and layers whose weight is 0
///     are not needed;
///   - the result is not finite, or `in`, `params` or `out` is null.
/// `in` and `out` may be the same. Safe from several threads.
QUELPLATFORM_API std::int32_t qmDistortDistortOnePt(const double in[2], const tag_qmDistortParams* params,
                                                    const float* depth, double out[2]) noexcept;

/// The quick form: four Newton steps for `distortOption` 2, which count as arrived when the last one was at most 0.001
/// pixels, and the nearest cell of the nearest layer of the LUT (halfway goes to the higher one), which is then the
/// only one that is needed. Returns 0 in the same cases, with the polynomial's pixel in `out`: what the steps reached,
/// or `in` where they left all numbers. For null pointers `out` is untouched.
QUELPLATFORM_API std::int32_t qmDistortDistortOnePtFast(const double in[2], const tag_qmDistortParams* params,
                                                        const float* depth, double out[2]) noexcept;

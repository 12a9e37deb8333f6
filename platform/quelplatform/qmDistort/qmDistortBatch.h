// The distortion of many pixels in one call.
//
// A platform need not have this header: a library that does not find it makes one call per pixel, with the same bits.
#pragma once

#include "quelplatform/qmDistort/qmDistort.h"

/// What `qmDistortDistortOnePt` does, for each of `count` pixels, to the same bits: `depths[n]` goes with `in[n]`; null
/// `depths` uses the LUT's reference layer for all. `succeeded[n]` becomes 1 or 0, unless `succeeded` is null; where it
/// is 0 `out[n]` is untouched. `in` and `out` may be the same, but not overlap otherwise. Returns how many pixels
/// failed: all of them when `in`, `params` or `out` is null.
QUELPLATFORM_API std::int64_t qmDistortDistortPts(const double (*in)[2], const tag_qmDistortParams* params,
                                                  const float* depths, std::int64_t count, double (*out)[2],
                                                  std::uint8_t* succeeded) noexcept;

/// The same for `qmDistortDistortOnePtFast`, which writes `out[n]` where it fails, too.
QUELPLATFORM_API std::int64_t qmDistortDistortPtsFast(const double (*in)[2], const tag_qmDistortParams* params,
                                                      const float* depths, std::int64_t count, double (*out)[2],
                                                      std::uint8_t* succeeded) noexcept;

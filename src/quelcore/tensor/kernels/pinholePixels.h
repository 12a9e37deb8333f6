// Kernel: points moved and projected into the images of three cameras without distortion.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelcore {

/// A rigid motion, the rows of [R | t], and the projections of three cameras, of which rows 0 to 2 are used.
struct PinholeView {
  double motion[3][4];
  const double (*projections[3])[4];
};

/// Where the pixels go, and how.
struct PinholeImages {
  double (*pixels[3])[2];
  bool around;  ///< Past the caches: each array is aligned to 64 bytes then.
};

/// q = ((m0 x + m1 y) + m2 z) + m3 with the rows of the motion, (u, v, w) the same with those of a projection of q, and
/// the pixel (u / w, v / w), for `count` points, first into camera 0, then 1, then 2. Where w is exactly 0 the pixel is
/// untouched. Returns how many of these there are in all cameras.
using PinholePixels = std::int64_t(const PinholeView& view, const double (*points)[3], std::int64_t count,
                                   const PinholeImages& images);

QUEL_DECLARE_KERNEL(PinholePixels, pinholePixels)

inline constexpr quelkernels::Kernel<PinholePixels> kPinholePixels = QUEL_KERNEL_OF(pinholePixels);

}  // namespace quelcore

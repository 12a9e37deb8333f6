// Kernel: a block of points into the image of one camera without distortion.
#pragma once

#include "quelcore/tensor/kernels/movePoints.h"

namespace quelcore {

/// pixels[n] = (u / w, v / w) with (u, v, w) = P (point, 1), each row ((p0 x + p1 y) + p2 z) + p3, for `count` points,
/// at most `kBlockOfPoints`. Where w is exactly 0 the pixel is untouched. Returns how many these were.
using PinholePixels = std::int64_t(const double P[4][4], const PointBlock& points, std::int64_t count,
                                   double (*pixels)[2]);

QUEL_DECLARE_KERNEL(PinholePixels, pinholePixels)

inline constexpr quelkernels::Kernel<PinholePixels> kPinholePixels = QUEL_KERNEL_OF(pinholePixels);

}  // namespace quelcore

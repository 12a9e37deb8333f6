// Kernel: the depths of moved points in the frame of the LUTs.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelcore {

/// depths[n] = ((r0 x + r1 y) + r2 z) + r3 of the moved point, rounded to single precision: `row` is the third row of
/// the motion into the frame of the LUTs, and a point moves as in `pinholePixels`.
using DepthsOfPoints = void(const double motion[3][4], const double row[4], const double (*points)[3],
                            std::int64_t count, float* depths);

QUEL_DECLARE_KERNEL(DepthsOfPoints, depthsOfPoints)

inline constexpr quelkernels::Kernel<DepthsOfPoints> kDepthsOfPoints = QUEL_KERNEL_OF(depthsOfPoints);

}  // namespace quelcore

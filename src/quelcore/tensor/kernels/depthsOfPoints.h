// Kernel: the depths of a block of points in the frame of the LUTs.
#pragma once

#include "quelcore/tensor/kernels/movePoints.h"

namespace quelcore {

/// depths[n] = ((r0 x + r1 y) + r2 z) + r3, rounded to single precision: the third row of the motion into the frame of
/// the LUTs. Up to the next multiple of 8 the array is filled with numbers of no meaning.
using DepthsOfPoints = void(const double row[4], const PointBlock& points, std::int64_t count,
                            float depths[kBlockOfPoints]);

QUEL_DECLARE_KERNEL(DepthsOfPoints, depthsOfPoints)

inline constexpr quelkernels::Kernel<DepthsOfPoints> kDepthsOfPoints = QUEL_KERNEL_OF(depthsOfPoints);

}  // namespace quelcore

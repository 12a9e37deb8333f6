// Kernel: points moved by a rigid motion, each coordinate in an array of its own.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelcore {

/// Points that one run of a kernel takes, so that they stay in the first cache on their way through all cameras.
inline constexpr std::int64_t kBlockOfPoints = 256;

/// A block of points, coordinate by coordinate.
struct PointBlock {
  alignas(64) double x[kBlockOfPoints];
  alignas(64) double y[kBlockOfPoints];
  alignas(64) double z[kBlockOfPoints];
};

/// moved[n] = ((m0 x + m1 y) + m2 z) + m3 with the rows of `motion`, for `count` points, at most `kBlockOfPoints`. Up
/// to the next multiple of 8 the block is filled with numbers of no meaning.
using MovePoints = void(const double motion[3][4], const double (*points)[3], std::int64_t count, PointBlock& moved);

QUEL_DECLARE_KERNEL(MovePoints, movePoints)

inline constexpr quelkernels::Kernel<MovePoints> kMovePoints = QUEL_KERNEL_OF(movePoints);

}  // namespace quelcore

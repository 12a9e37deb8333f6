// Kernel: the sums over points that line and plane fits are made of, where plain products do.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelplatform {

inline constexpr int kFitLanes = 8;
inline constexpr int kFitBlock = 128;  // points

/// Sums of numbers in lanes, number i in lane i mod 8, each with what its roundings lost.
struct FitLanes {
  double sum[kFitLanes];
  double lost[kFitLanes];
};

/// Where points are seen from: p becomes p scale, `scale` a power of two, and its distance p scale - at.
struct FitView {
  double at[3];
  double scale;
};

/// Sums over points as seen, and over products of their distances: xx, xy, xz, yy, yz, zz.
struct FitSums {
  FitLanes point[3];
  FitLanes product[6];
};

/// Adds whole blocks of points. Within a block the products of a lane are summed plainly from 0 on, one after the
/// other; the sum is then added to what the lane had.
using AddFitBlocks = void(const double (*points)[3], std::int64_t blocks, const FitView& view, FitSums& sums);

QUEL_DECLARE_KERNEL(AddFitBlocks, addFitBlocks)

inline constexpr quelkernels::Kernel<AddFitBlocks> kAddFitBlocks = QUEL_KERNEL_OF(addFitBlocks);

}  // namespace quelplatform

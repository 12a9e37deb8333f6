// How the points of one sub-patch are put into bins.
#pragma once

#include <cstdint>

#include "quelcore/patches/qmvector.h"
#include "quelcore/records/qmPatch.h"

namespace quelcore {

/// The points of one sub-patch, `count` of them, and the image that their positions lie in.
struct SubPatch {
  const double (*points3D)[3];
  const double (*points2D)[2];  ///< Null for a patch without image positions.
  std::uint32_t count;
  std::uint8_t tag;
  std::uint32_t imageWidth;
  std::uint32_t imageHeight;
};

/// Appends the bins of a sub-patch to `bins`, `start` counting from its own first point, and fills `order`, which has
/// room for its points: entry i is the point that belongs at place i. False when there are no points, when an image
/// position lies outside the cells, and when memory is exhausted; `bins` may then hold more than before. Bins by image
/// cells have no boxes yet; on the way there they keep a number for each point in `scratch`.
bool binByImageCells(const SubPatch& points, std::int32_t* scratch, std::uint32_t* order,
                     qmvector<qmPatchBinInfo>& bins);
bool binBySpace(const SubPatch& points, std::uint32_t* order, qmvector<qmPatchBinInfo>& bins);

/// The boxes of bins whose points stand in order now.
void boxBins(const double (*points3D)[3], qmPatchBinInfo* bins, std::size_t count);

}  // namespace quelcore

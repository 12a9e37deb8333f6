// Clouds of points sorted into the bins of a patch's index.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "files/Values.h"
#include "quelcore/records/qmPatch.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// A cloud with its index: points stand in the order of the bins.
struct IndexedCloud {
  std::vector<Vec3> points;
  std::vector<Vec2> pixels;          ///< Where the camera sees each point; empty for an index by space.
  std::vector<qmPatchBinInfo> bins;  ///< Runs of points, each with its box.
  std::size_t leftOut;               ///< Points in no bin: not finite, or not in the image.
  double seconds;                    ///< That the index took.

  /// Points of the smallest and of the largest bin.
  std::uint32_t smallestBin() const;
  std::uint32_t largestBin() const;
};

/// Sorts the finite ones of `points` by where they lie in space; others would spoil the boxes. Throws `Failure` when
/// there are none, or too many for a patch.
IndexedCloud indexBySpace(std::vector<Vec3> points);

/// Sorts those of `points` that lie in the image of a camera by the image's cells of 32 x 32 pixels. Throws `Failure`
/// when there are none.
IndexedCloud indexByImage(const QmReconsTensor& head, const std::vector<Vec3>& points, std::int32_t camera,
                          _ProjectDistortMode mode);

}  // namespace queltool

// Clouds of points sorted into the bins of a patch's index.
#pragma once

#include <cstdint>
#include <vector>

#include "files/Values.h"
#include "quel/geometry/ImageIndex.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

using IndexedCloud = quel::ImageIndex;

/// Sorts the finite ones of `points` by where they lie in space; others would spoil the boxes. Throws `Failure` when
/// there are none, or too many for a patch.
IndexedCloud indexBySpace(const std::vector<Vec3>& points);

/// Sorts those of `points` that lie in the image of a camera by the image's cells of 32 x 32 pixels. Throws `Failure`
/// when there are none.
IndexedCloud indexByImage(const QmReconsTensor& head, const std::vector<Vec3>& points, std::int32_t camera,
                          _ProjectDistortMode mode);

}  // namespace queltool

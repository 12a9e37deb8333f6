// Puts part of a head's distortion into LUTs. Hidden in the library.
#pragma once

#include <array>
#include <cstddef>

#include "quel/cameras/HeadMaker.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quel {

/// Gives camera `i` of `head` the polynomial `params` and a LUT set of type 0 on `grid` beside it. False when the set
/// cannot be made.
bool giveLuts(MadeHead& head, std::size_t i, const HeadOptions& options, const tag_qmDistortParams& params,
              const quelplatform::LutGrid& grid, const quelplatform::LutDisplacement& displacement);

/// Replaces the polynomial of camera `i` of `head` by a weak one and gives it a LUT set of type 0 that holds the
/// rest, so that both together are the full model of `camera` to the accuracy of bilinear interpolation. A cell where
/// the full model cannot be undone has no value. False when the set cannot be made.
bool moveIntoLuts(MadeHead& head, const Camera& camera, std::size_t i, const HeadOptions& options);

}  // namespace quel

// Puts part of a head's distortion into LUTs. Hidden in the library.
#pragma once

#include <array>

#include "quel/cameras/HeadMaker.h"

namespace quel {

/// Replaces the polynomials of `head` by weak ones and gives each camera a LUT set of type 0 that holds the rest, so
/// that both together are the full model to the accuracy of bilinear interpolation. A cell where the full model cannot
/// be undone has no value. False when a set cannot be made.
bool moveIntoLuts(MadeHead& head, const std::array<Camera, 3>& cameras, const HeadOptions& options);

}  // namespace quel

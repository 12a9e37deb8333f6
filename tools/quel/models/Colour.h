// Colours by their shares of red, green and blue.
#pragma once

#include "quel/geometry/Colour.h"

namespace queltool {

using quel::Colour;
using quel::kDiverging;

/// From dark blue (0) over green to yellow (1), evenly bright to the eye.
Colour scaleColour(double share);

}  // namespace queltool

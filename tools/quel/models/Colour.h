// Colours by their shares of red, green and blue.
#pragma once

namespace queltool {

struct Colour {
  double red, green, blue;
  double alpha = 1.0;
};

/// From dark blue (0) over green to yellow (1), evenly bright to the eye.
Colour scaleColour(double share);

}  // namespace queltool

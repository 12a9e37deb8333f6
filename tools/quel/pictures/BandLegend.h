// The legend of colours that stand for ranges.
#pragma once

#include <string>
#include <vector>

#include "pictures/Picture.h"

namespace queltool {

struct LegendBand {
  Colour colour;
  std::string range;  ///< What the colour stands for, with numbers and unit; where it has no end, that is said.
  std::string name = {};
  std::string note = {};  ///< How much of what is drawn lies there.
};

/// Draws the bands, which ascend, as a bar in `box`, the highest on top, each with its words.
void drawBands(Picture& picture, const Box& box, const std::vector<LegendBand>& bands);

/// Draws a bar of the colours of `scaleColour` between two shares, from left to right, with words at its ends; the left
/// ones begin at `at`.
void drawScale(Picture& picture, const Vec2& at, double from, double to, const std::string& first,
               const std::string& last);

/// A number with the sign that a legend gives it: a real minus, and a plus where `isSigned`.
std::string legendNumber(double value, bool isSigned, int digits = 4);

/// The same of bounds, which ascend, with as many digits as it takes for none to be off by more than a hundredth of the
/// least distance between two.
std::vector<std::string> legendNumbers(const std::vector<double>& bounds, bool isSigned);

}  // namespace queltool

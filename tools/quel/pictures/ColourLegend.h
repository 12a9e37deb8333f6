// The legend of the table of deviation colours.
#pragma once

#include <string>
#include <vector>

#include "models/ColourTable.h"
#include "pictures/Picture.h"

namespace queltool {

/// The percentages that each band of the table stands for, in words, ascending; the outermost are open.
std::vector<std::string> rangesOf(const ColourTable& table);

/// Draws the bands of the table that is in force as a bar in `box`, the highest on top, with percentages and names.
/// `notes` stand behind the names, one for each band, ascending, and may be empty.
void drawColourLegend(Picture& picture, const Box& box, const std::vector<std::string>& notes);

}  // namespace queltool

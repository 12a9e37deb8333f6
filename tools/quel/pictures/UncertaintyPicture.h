// The uncertainty of points over the volume of a head as a picture.
#pragma once

#include <string>

#include "files/FileUses.h"
#include "models/Uncertainty.h"

namespace queltool {

/// Draws the three sections of the volume to one scale, coloured by the standard deviation of a point, with lines of
/// equal deviation. Throws `Failure`.
void drawUncertainty(const OutputFile& file, const Uncertainty& uncertainty, const std::string& subtitle);

}  // namespace queltool

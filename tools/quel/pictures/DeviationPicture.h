// Deviations of a cloud in colour.
#pragma once

#include "models/DeviationRun.h"
#include "pictures/DeviationColours.h"

namespace queltool {

/// Draws the points that have a deviation, as they are seen along the plane's normal, or where they spread most, with
/// their legend. As PNG or SVG by the name of `file`; throws `Failure` when it cannot be written.
void drawDeviations(const OutputFile& file, const DeviationRun& run, DeviationPalette palette);

}  // namespace queltool

// Deviations, tolerances and shares as people read them.
#pragma once

#include <array>
#include <string>

#include "models/Deviations.h"

namespace queltool {

/// In the unit of the site, with the digits that somebody types, for it is a limit by which points are counted.
std::string lengthText(double millimetres);

/// "12 points, 1.50 %"
std::string shareText(std::size_t count, std::size_t all);

/// Of what lies below the tolerance, in it and above it.
std::array<std::string, 3> captionsOf(const Tolerance& tolerance);

}  // namespace queltool

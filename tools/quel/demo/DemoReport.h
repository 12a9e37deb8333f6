// What the demonstration found: as text, as tables and as JSON.
#pragma once

#include <string>

#include "demo/Demonstration.h"
#include "files/Json.h"

namespace queltool {

/// Prints the figures.
void printReport(const Demonstration& found);

/// Each corner: where it is, where it was measured and how far its projection is off.
std::string cornersCsv(const Demonstration& found);

/// How far projected corners are off in each mode of distortion.
std::string modesCsv(const Demonstration& found);

/// Every figure.
Json figuresOf(const Demonstration& found);

}  // namespace queltool

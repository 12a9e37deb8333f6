// The units of length that an option --unit takes.
#pragma once

#include <string>
#include <vector>

namespace queltool {

std::vector<std::string> namesOfUnits();

/// The millimetres of the unit of one of these names.
double millimetresOf(const std::string& unit);

}  // namespace queltool

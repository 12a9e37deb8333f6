// What importing and exporting calibrations have in common.
#pragma once

#include <string>
#include <vector>

#include "quel/formats/Import.h"

namespace queltool {

/// The names of the formats, and the format of one of them.
std::vector<std::string> namesOfFormats();
quel::CalibrationFormat formatNamed(const std::string& name);

}  // namespace queltool

#include "commands/Calibrations.h"

#include <algorithm>

namespace queltool {

std::vector<std::string> namesOfFormats() {
  std::vector<std::string> names;
  for (const auto format : quel::calibrationFormats()) names.emplace_back(quel::calibrationFormatName(format));
  return names;
}

quel::CalibrationFormat formatNamed(const std::string& name) {
  const auto formats = quel::calibrationFormats();
  return *std::find_if(formats.begin(), formats.end(),
                       [&](quel::CalibrationFormat format) { return quel::calibrationFormatName(format) == name; });
}

}  // namespace queltool

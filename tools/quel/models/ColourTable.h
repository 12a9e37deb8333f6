// The table of deviation colours for the tool: what it holds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "models/Colour.h"

class DeviationColorScheme;

namespace queltool {

/// A band of percentages below `bound`.
struct ColourBand {
  std::uint16_t bound;
  std::string name;
  Colour colour;
};

struct ColourTable {
  std::filesystem::path file;     ///< Where the site's table lies, whether it is there or not.
  bool isDefault;                 ///< There is no file, or none with entries.
  std::vector<ColourBand> bands;  ///< Ascending; never empty.
};

/// The table that is in force. Throws `Failure` when the home directory is not known.
ColourTable readColourTable();

/// The bytes of a file that holds the table that is in force, which is for the home directory of another site. Throws
/// `Failure`.
std::string fileOfColourTable();

/// The part of a tolerance band that a colour of the table stands for, in percent, and its position in the table.
struct Graded {
  double percent;
  std::size_t level;
};

/// A deviation against the limits of its tolerance, by the table that is in force. The limits are finite and apart,
/// and the upper one is not 0 where only that counts. Beyond 65535 percent the last band that such a percentage has
/// holds.
Graded gradeDeviation(double lower, double upper, double deviation, bool oneSided);

/// The table that is in force, as the library keeps it.
DeviationColorScheme& deviationColours();

}  // namespace queltool

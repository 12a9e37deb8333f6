// Tables of numbers with named columns, as the subcommands hand them out.
#pragma once

#include <string>
#include <vector>

#include "files/FileUses.h"

namespace queltool {

struct NumberTable {
  std::vector<std::string> names;  ///< Of the columns.
  std::vector<double> values;      ///< One row behind the other; NaN where there is none.
};

/// Writes the table as the format of `file` says: PLY or CSV, which goes to standard output for an empty name. In CSV
/// numbers are the shortest text that reads back as the same double, and NaN is an empty field. Throws `Failure`.
void writeTable(const NumberTable& table, const OutputFile& file);

}  // namespace queltool

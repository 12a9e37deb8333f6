// Tables of numbers in plain text, one row a line.
//
// Semicolons, tabs, blanks or commas separate. With a line of names in front columns are taken by name, else by place.
// A comma is a decimal comma where something else separates; then no number of the file may have a point, and all rows
// have as many columns. Empty lines, lines that begin with '#' and a byte-order mark are skipped. A line has
// at most 1000 columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// The columns of a table that are wanted.
struct TextColumns {
  std::vector<std::string> names;
  const char* countInWords;         ///< How many these are.
  bool lengths;                     ///< In millimetres; else pixels, which have no other unit.
  std::vector<std::string> chosen;  ///< Other names, or places from 1 on, in the same order; empty for none.
  const char* choice = "columns";   ///< What who reads the error gives `chosen` by.
  double perPlainUnit = 1.0;        ///< Wanted units of a number whose column names no unit.
};

/// The wanted numbers of all rows of a text, row by row; no row is no error. An empty field of a column that goes by
/// its name is NaN. The error has the line as its place, where there is one.
Result<std::vector<double>> parseTextTable(std::string_view content, const TextColumns& columns);

#pragma GCC visibility pop

}  // namespace quel

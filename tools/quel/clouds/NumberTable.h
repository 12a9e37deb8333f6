// Tables of numbers with named columns, as the subcommands hand them out.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "files/FileUses.h"
#include "files/OutputStream.h"

namespace queltool {

/// Writes a table row by row as the format of its file says: PLY or CSV, which goes to standard output for an empty
/// name. In CSV numbers are the shortest text that reads back as the same double, and NaN is an empty field. No more
/// than a block of it is in memory. Everything throws `Failure`.
class TableWriter {
 public:
  /// `names` are those of the columns; `rows` says how many rows there will be.
  TableWriter(const OutputFile& file, const std::vector<std::string>& names, std::size_t rows);

  /// Adds the next row, a value for each column; NaN where there is none.
  void add(std::span<const double> row);

  /// Puts the file in its place.
  void finish() { out_.finish(); }

 private:
  OutputStream out_;
  bool isCsv_;
};

struct NumberTable {
  std::vector<std::string> names;  ///< Of the columns.
  std::vector<double> values;      ///< One row behind the other; NaN where there is none.
};

/// Writes the whole table as `TableWriter` does. Throws `Failure`.
void writeTable(const NumberTable& table, const OutputFile& file);

}  // namespace queltool

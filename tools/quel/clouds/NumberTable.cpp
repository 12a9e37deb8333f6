#include "clouds/NumberTable.h"

#include <fmt/core.h>

#include <cmath>

#include "clouds/Ply.h"
#include "files/Texts.h"

namespace queltool {

namespace {

std::string formatCsv(const NumberTable& table) {
  std::string csv = joined(table.names, ',') + '\n';
  const std::size_t width = table.names.size();
  for (std::size_t n = 0; n < table.values.size(); ++n) {
    if (!std::isnan(table.values[n])) csv += fmt::format("{}", table.values[n]);
    csv += n % width + 1 == width ? '\n' : ',';
  }
  return csv;
}

}  // namespace

void writeTable(const NumberTable& table, const OutputFile& file) {
  writeOutput(file, file.format == Format::Ply ? formatPly(table.names, table.values) : formatCsv(table));
}

}  // namespace queltool

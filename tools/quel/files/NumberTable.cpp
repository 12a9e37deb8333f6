#include "files/NumberTable.h"

#include <fmt/core.h>

#include <cmath>
#include <cstdio>

#include "files/Failure.h"
#include "files/Files.h"
#include "files/Ply.h"
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

void printCsv(const std::string& csv) {
  if (std::fwrite(csv.data(), 1, csv.size(), stdout) != csv.size() || std::fflush(stdout) != 0) {
    throw Failure("standard output cannot be written");
  }
}

}  // namespace

void writeTable(const NumberTable& table, const std::filesystem::path& file) {
  if (file.empty()) return printCsv(formatCsv(table));
  const bool ply = file.extension() == ".ply";
  writeWholeFile(file, ply ? formatPly(table.names, table.values) : formatCsv(table));
}

}  // namespace queltool

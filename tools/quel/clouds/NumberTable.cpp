#include "clouds/NumberTable.h"

#include <fmt/compile.h>
#include <fmt/core.h>

#include <array>
#include <cmath>

#include "files/Texts.h"
#include "quel/clouds/Cloud.h"

namespace queltool {

namespace {

// The longest doubles take 24 characters.
constexpr std::size_t kLongestNumber = 32;

}  // namespace

TableWriter::TableWriter(const OutputFile& file, const std::vector<std::string>& names, std::size_t rows)
    : out_(file), isCsv_(file.format != Format::Ply) {
  out_.write(isCsv_ ? joined(names, ',') + '\n' : quel::plyHeader(names, rows));
}

void TableWriter::add(std::span<const double> row) {
  if (!isCsv_) return out_.write({reinterpret_cast<const char*>(row.data()), row.size_bytes()});
  std::array<char, kLongestNumber> text;
  for (std::size_t n = 0; n < row.size(); ++n) {
    char* end = text.data();
    if (!std::isnan(row[n])) end = fmt::format_to(end, FMT_COMPILE("{}"), row[n]);
    *end++ = n + 1 == row.size() ? '\n' : ',';
    out_.write({text.data(), static_cast<std::size_t>(end - text.data())});
  }
}

void writeTable(const NumberTable& table, const OutputFile& file) {
  const std::size_t width = table.names.size();
  TableWriter writer(file, table.names, width == 0 ? 0 : table.values.size() / width);
  const std::span<const double> values = table.values;
  for (std::size_t at = 0; at < values.size(); at += width) writer.add(values.subspan(at, width));
  writer.finish();
}

}  // namespace queltool

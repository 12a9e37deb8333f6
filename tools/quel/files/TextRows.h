// Tables of numbers in plain text, one row a line.
#pragma once

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "files/Values.h"

namespace queltool {

inline bool isSeparator(char c) { return c == ' ' || c == '\t' || c == '\r' || c == ',' || c == ';'; }

/// The first `Count` numbers of a line, separated by blanks, commas or semicolons; nothing when it does not begin so.
template <std::size_t Count>
std::optional<std::array<double, Count>> firstNumbers(std::string_view line) {
  std::array<double, Count> numbers{};
  const char* at = line.data();
  const char* const end = line.data() + line.size();
  for (double& value : numbers) {
    while (at != end && isSeparator(*at)) ++at;
    if (at != end && *at == '+') ++at;
    const auto [behind, error] = std::from_chars(at, end, value);
    if (error != std::errc() || (behind != end && !isSeparator(*behind))) return std::nullopt;
    at = behind;
  }
  return numbers;
}

/// The rows of a text: `Count` numbers first in each line; what stands behind them is left alone. Empty lines, lines
/// that begin with '#', and a first line without numbers (names of columns) are skipped. The error names the line;
/// `countInWords` is `Count` as it appears there. No row is no error.
template <std::size_t Count>
Result<std::vector<std::array<double, Count>>> parseTextRows(std::string_view content, const char* countInWords) {
  std::vector<std::array<double, Count>> rows;
  std::size_t number = 0;
  bool first = true;
  for (std::size_t at = 0; at < content.size();) {
    const std::size_t end = std::min(content.find('\n', at), content.size());
    std::string_view line = content.substr(at, end - at);
    at = end + 1;
    ++number;
    while (!line.empty() && isSeparator(line.front())) line.remove_prefix(1);
    if (line.empty() || line.front() == '#') continue;
    const std::optional<std::array<double, Count>> row = firstNumbers<Count>(line);
    if (row) {
      rows.push_back(*row);
    } else if (!first) {
      return Error{
          fmt::format("line {}: must begin with {} numbers, and is \"{}\"", number, countInWords, line.substr(0, 40))};
    }
    first = false;
  }
  return rows;
}

}  // namespace queltool

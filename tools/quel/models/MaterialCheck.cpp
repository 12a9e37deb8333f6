#include "models/MaterialCheck.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <set>
#include <utility>

#include "quelplatform/qmEnv/qmText.h"

namespace queltool {
namespace {

constexpr std::string_view kMark = "\xFF\xFE";

// Each is true when all of `text` is one number as the reader of material files takes it.
bool convert(std::string_view text, std::int32_t& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size();
}

bool convert(std::string_view text, double& value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ptr != text.data() + text.size() || result.ec == std::errc::invalid_argument) return false;
  // One that is too small for a double is read as 0, one that is too large not at all.
  if (result.ec != std::errc()) value = std::strtod(std::string(text).c_str(), nullptr);
  return std::isfinite(value);
}

bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

struct Token {
  std::string_view text;
  std::size_t line;
  bool atEnd;  ///< Nothing follows it, so that reading it fails.
};

// Walks the tokens of a text; after the first problem it has none.
class Tokens {
 public:
  explicit Tokens(std::string_view text, std::vector<std::string>& errors) : text_(text), errors_(errors) {}

  std::size_t line() const { return line_; }

  std::optional<Token> next(const std::string& what) {
    skipBlanks();
    if (failed_) return std::nullopt;
    if (at_ == text_.size()) return fail(fmt::format("line {}: the file ends where {} belongs", line_, what));
    const std::size_t begin = at_;
    while (at_ < text_.size() && !isBlank(text_[at_])) ++at_;
    return Token{text_.substr(begin, at_ - begin), line_, at_ == text_.size()};
  }

  template <typename Number>
  std::optional<Number> number(const std::string& what) {
    const std::optional<Token> token = next(what);
    if (!token) return std::nullopt;
    Number value{};
    const std::string_view digits = token->text.substr(token->text.starts_with('+') ? 1 : 0);
    if (token->text.starts_with("+-") || !convert(digits, value)) {
      return fail(fmt::format("line {}: {} belongs where \"{}\" stands", token->line, what, token->text.substr(0, 40)));
    }
    if (token->atEnd) return fail(fmt::format("line {}: the file ends right behind its last number", token->line));
    return value;
  }

  std::nullopt_t fail(std::string why) {
    failed_ = true;
    errors_.push_back(std::move(why));
    return std::nullopt;
  }

 private:
  void skipBlanks() {
    for (; at_ < text_.size() && isBlank(text_[at_]); ++at_) line_ += text_[at_] == '\n' ? 1 : 0;
  }

  std::string_view text_;
  std::vector<std::string>& errors_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  bool failed_ = false;
};

using Pair = std::pair<std::int32_t, std::int32_t>;

struct HeaderLine {
  Pair pair;
  std::int32_t rows;
  std::size_t line;
};

bool readHeader(Tokens& tokens, std::vector<HeaderLine>& header) {
  const auto count = tokens.number<std::int32_t>("the number of tables");
  for (std::int32_t i = 0; count && i < *count; ++i) {
    const auto head = tokens.number<std::int32_t>("the head of a table");
    const auto lens = tokens.number<std::int32_t>("the lens of a table");
    const auto rows = tokens.number<std::int32_t>("the number of rows of a table");
    if (!rows) return false;
    header.push_back({{*head, *lens}, *rows, tokens.line()});
  }
  return count.has_value();
}

// The tables in the order in which their rows are read: ascending, the first of equal pairs.
std::vector<HeaderLine> readingOrder(const std::vector<HeaderLine>& header, std::vector<std::string>& warnings) {
  std::vector<HeaderLine> order;
  std::set<Pair> seen;
  for (const HeaderLine& line : header) {
    if (!seen.insert(line.pair).second) {
      warnings.push_back(fmt::format("line {}: head {} with lens {} stands in an earlier line, which counts", line.line,
                                     line.pair.first, line.pair.second));
      continue;
    }
    if (!order.empty() && line.pair < order.back().pair) {
      warnings.push_back(fmt::format(
          "line {}: head {} with lens {} stands behind a greater pair; rows are read in ascending order of the pairs",
          line.line, line.pair.first, line.pair.second));
    }
    order.push_back(line);
  }
  std::stable_sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.pair < b.pair; });
  return order;
}

void readRows(Tokens& tokens, const HeaderLine& table, MaterialReport& report) {
  std::set<std::string, std::less<>> names;
  for (std::int32_t row = 0; row < table.rows; ++row) {
    const auto name = tokens.next(
        fmt::format("row {} of {} of head {} with lens {}", row + 1, table.rows, table.pair.first, table.pair.second));
    for (const char* which : {"the first", "the second", "the third"}) {
      tokens.number<double>(fmt::format("{} number of a material", which));
    }
    if (!tokens.number<std::int32_t>("the last number of a material, a whole one,")) return;
    ++report.rows;
    if (!names.emplace(name->text).second) {
      report.warnings.push_back(
          fmt::format("line {}: \"{}\" stands in an earlier row of its table, which counts", name->line, name->text));
    }
  }
}

std::u16string unitsOf(std::string_view bytes) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    units[i] = static_cast<char16_t>(static_cast<unsigned char>(bytes[2 * i]) |
                                     static_cast<unsigned char>(bytes[2 * i + 1]) << 8);
  }
  return units;
}

void checkText(std::string_view text, MaterialReport& report) {
  Tokens tokens(text, report.errors);
  const std::optional<Token> magic = tokens.next("\"QmM1\"");
  if (!magic) return;
  if (magic->text != "QmM1") {
    tokens.fail(fmt::format("line {}: begins with \"{}\" and not with \"QmM1\", so it is no material file", magic->line,
                            magic->text.substr(0, 40)));
    return;
  }
  std::vector<HeaderLine> header;
  if (!readHeader(tokens, header)) return;
  const std::vector<HeaderLine> order = readingOrder(header, report.warnings);
  report.tables = order.size();
  for (const HeaderLine& table : order) {
    if (report.errors.empty()) readRows(tokens, table, report);
  }
}

}  // namespace

std::string utf8OfMaterials(std::string_view bytes) {
  if (!bytes.starts_with(kMark)) return std::string(bytes);
  return toNarrow(unitsOf(bytes.substr(kMark.size())));
}

MaterialReport checkMaterials(std::string_view bytes) {
  MaterialReport report;
  report.isWide = bytes.starts_with(kMark);
  const std::string text = utf8OfMaterials(bytes);
  if (!report.isWide && toNarrow(toWide(std::string_view(text))) != text) {
    report.errors.emplace_back("the file is neither 16-bit text nor UTF-8");
    return report;
  }
  checkText(text, report);
  return report;
}

}  // namespace queltool

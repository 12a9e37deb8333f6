#include "quel/clouds/TextLines.h"

#include <fmt/core.h>

#include <charconv>

#include "quel/base/Result.h"
#include "quel/base/Vectors.h"

namespace quel {

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

std::string_view withoutBlanks(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && isBlank(text[i])) ++i;
  return text.substr(i);
}

}  // namespace

bool TextLines::next() {
  std::string_view line;
  while (bytes_.line(line)) {
    ++line_;
    whole_ = rest_ = withoutBlanks(line);
    if (!rest_.empty()) return true;
  }
  whole_ = rest_ = {};
  return false;
}

bool TextLines::nextOf() {
  while (next()) {
    if (rest_.front() != '#') return true;
  }
  return false;
}

std::string_view TextLines::word() {
  std::size_t end = 0;
  while (end < rest_.size() && !isBlank(rest_[end])) ++end;
  const std::string_view word = rest_.substr(0, end);
  rest_ = withoutBlanks(rest_.substr(end));
  return word;
}

double TextLines::number() {
  const std::string_view text = word();
  double value = 0.0;
  if (!text.empty() && toNumber(text, value)) return value;
  throw Error{text.empty() ? "the line has too few values" : fmt::format("\"{}\" is no number", shown(text))};
}

std::uint64_t TextLines::count(const char* what) {
  const std::string_view text = word();
  std::uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc() && end == text.data() + text.size()) return value;
  fail(fmt::format("\"{}\" is no count of {}", shown(text), what));
}

void TextLines::fail(const std::string& what) const { throw Error{fmt::format("line {}: {}", line_, what)}; }

std::vector<std::string_view> wordsOf(std::string_view line) {
  std::vector<std::string_view> words;
  for (std::size_t i = 0; i < line.size();) {
    while (i < line.size() && isBlank(line[i])) ++i;
    const std::size_t begin = i;
    while (i < line.size() && !isBlank(line[i])) ++i;
    if (i > begin) words.push_back(line.substr(begin, i - begin));
  }
  return words;
}

bool toNumber(std::string_view word, double& value) {
  if (!word.empty() && word.front() == '+') word.remove_prefix(1);
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && end == word.data() + word.size();
}

}  // namespace quel

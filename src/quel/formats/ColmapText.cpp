#include "quel/formats/ColmapText.h"

#include <algorithm>
#include <charconv>

#include "quel/formats/Document.h"

namespace quel {

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::vector<std::string_view> wordsOf(std::string_view line) {
  std::vector<std::string_view> words;
  for (std::size_t at = line.find_first_not_of(kBlanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
    words.push_back(line.substr(at, end - at));
    at = line.find_first_not_of(kBlanks, end);
  }
  return words;
}

}  // namespace

std::string WordLine::word(const char* what) {
  if (atEnd()) refuse(std::string("ends where ") + what + " belongs");
  return std::string(words_[next_++]);
}

double WordLine::number(const char* what) {
  const std::string text = word(what);
  const auto value = finiteNumber(text);
  if (!value) refuse(std::string(what) + " must be a finite number, and is \"" + text.substr(0, 40) + "\"");
  return *value;
}

std::int64_t WordLine::whole(const char* what) {
  const std::string text = word(what);
  std::int64_t value = 0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size()) {
    refuse(std::string(what) + " must be a whole number, and is \"" + text.substr(0, 40) + "\"");
  }
  return value;
}

Pose WordLine::pose() {
  std::array<double, 4> q{};
  for (double& value : q) value = number("a quaternion (qw qx qy qz)");
  Vec3 t{};
  for (double& value : t) value = number("a translation (tx ty tz)");
  if (q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3] < 1e-12) refuse("has a quaternion of length 0");
  return {rotationOfQuaternion(q), t};
}

std::vector<double> WordLine::numbers(const char* what) {
  std::vector<double> values;
  while (!atEnd()) values.push_back(number(what));
  return values;
}

void WordLine::refuse(const std::string& what) const { throw BadFile{{what, {}, lineText(line_)}}; }

std::vector<WordLine> linesOf(std::string_view text) {
  std::vector<WordLine> lines;
  std::int32_t line = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::vector<std::string_view> words = wordsOf(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    ++line;
    if (words.empty() || words.front().front() != '#') lines.emplace_back(std::move(words), line);
  }
  while (!lines.empty() && lines.back().atEnd()) lines.pop_back();
  return lines;
}

}  // namespace quel

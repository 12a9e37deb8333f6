#include "quel/formats/ColmapText.h"

#include <algorithm>
#include <charconv>

#include "quel/formats/Document.h"

namespace quel {

namespace {

constexpr std::string_view kBlanks = " \t\r";

}  // namespace

bool WordLine::atEnd() const { return rest_.find_first_not_of(kBlanks) == std::string_view::npos; }

std::string WordLine::word(const char* what) {
  if (atEnd()) refuse(std::string("ends where ") + what + " belongs");
  rest_.remove_prefix(rest_.find_first_not_of(kBlanks));
  const std::size_t end = std::min(rest_.find_first_of(kBlanks), rest_.size());
  const std::string text(rest_.substr(0, end));
  rest_.remove_prefix(end);
  return text;
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

std::optional<WordLine> LineReader::next() {
  while (!rest_.empty()) {
    const std::size_t end = std::min(rest_.find('\n'), rest_.size());
    const std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(std::min(end + 1, rest_.size()));
    ++line_;
    const std::size_t first = line.find_first_not_of(kBlanks);
    if (first == std::string_view::npos || line[first] != '#') return WordLine(line, line_);
  }
  return std::nullopt;
}

std::optional<WordLine> LineReader::nextFilled() {
  auto line = next();
  while (line && line->atEnd()) line = next();
  return line;
}

}  // namespace quel

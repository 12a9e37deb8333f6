#include "quel/formats/Document.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace quel {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::vector<std::string_view> wordsOf(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t at = text.find_first_not_of(kBlanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::vector<double> numbersIn(const Field& field) {
  std::vector<double> values;
  if (field.isList()) {
    for (const Field& item : field.items()) values.push_back(item.number());
    return values;
  }
  const std::string text = field.text();
  for (const std::string_view word : wordsOf(text)) {
    const auto value = finiteNumber(word);
    if (!value) field.refuse("must be numbers, and holds \"" + std::string(word.substr(0, 40)) + "\"");
    values.push_back(*value);
  }
  return values;
}

Matrix ofRows(const Field& field) {
  Matrix matrix;
  for (const Field& row : field.items()) {
    const std::vector<double> values = numbersIn(row);
    if (matrix.rows > 0 && values.size() != matrix.columns) row.refuse("must be as long as the first row");
    matrix.columns = values.size();
    matrix.values.insert(matrix.values.end(), values.begin(), values.end());
    ++matrix.rows;
  }
  return matrix;
}

Matrix ofShape(const Field& field) {
  constexpr std::int32_t kMost = 100000;
  Matrix matrix;
  matrix.rows = static_cast<std::size_t>(field.at({"rows"}).wholeNumber(0, kMost));
  matrix.columns = static_cast<std::size_t>(field.at({"cols"}).wholeNumber(0, kMost));
  matrix.values = numbersIn(field.at({"data"}));
  if (matrix.values.size() != matrix.rows * matrix.columns) {
    field.refuse("must have rows x cols numbers, and has " + std::to_string(matrix.values.size()));
  }
  return matrix;
}

}  // namespace

void ValueCount::add(std::int32_t line) {
  constexpr std::size_t kMost = 200000;
  if (++count_ > kMost) throw BadFile{{"has more values than a calibration", {}, lineText(line)}};
}

std::string lineText(std::int32_t line) { return "line " + std::to_string(line); }

std::optional<double> finiteNumber(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  double value = 0.0;
  const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (failure != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

Node& newMember(Node& map, const std::string& key, std::int32_t line) {
  constexpr std::size_t kMostMembers = 1000;
  const auto isSame = [&](const auto& member) { return member.first == key; };
  if (std::any_of(map.members.begin(), map.members.end(), isSame)) {
    throw BadFile{{"the key \"" + key.substr(0, 40) + "\" stands twice", {}, lineText(line)}};
  }
  if (map.members.size() == kMostMembers) throw BadFile{{"has more keys than a calibration", {}, lineText(line)}};
  return map.members.emplace_back(key, Node()).second;
}

Node parseDocument(std::string_view text) {
  if (text.size() > kMaxCalibrationSize) throw BadFile{{"is larger than 16 MiB, so it is no calibration"}};
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  std::size_t at = text.find_first_not_of(kBlanks);
  while (at != std::string_view::npos && text[at] == '#') {
    at = text.find_first_not_of(kBlanks, std::min(text.find('\n', at), text.size()));
  }
  if (at == std::string_view::npos) throw BadFile{{"is empty"}};
  if (text[at] == '<') return parseXml(text);
  return text[at] == '{' ? parseLiteral(text) : parseYaml(text);
}

std::optional<Field> Field::find(std::initializer_list<std::string_view> keys) const {
  for (const std::string_view key : keys) {
    for (const auto& [name, node] : node_->members) {
      if (name == key) return Field(node, name_.empty() ? name : name_ + "." + name);
    }
  }
  return std::nullopt;
}

Field Field::at(std::initializer_list<std::string_view> keys) const {
  if (!isMap()) refuse("must have the key \"" + std::string(*keys.begin()) + "\", and has no keys");
  const auto found = find(keys);
  if (!found) refuse("lacks the key \"" + std::string(*keys.begin()) + "\"");
  return *found;
}

std::string Field::text() const {
  if (node_->kind != Node::Kind::Text) refuse("must be one value");
  return node_->text;
}

double Field::number() const {
  const std::string word = text();
  const auto value = finiteNumber(word);
  if (!value) refuse("must be a finite number, and is \"" + word.substr(0, 40) + "\"");
  return *value;
}

std::int32_t Field::wholeNumber(std::int32_t least, std::int32_t most) const {
  const double value = number();
  if (!(value >= least && value <= most) || value != std::floor(value)) {
    refuse("must be a whole number from " + std::to_string(least) + " to " + std::to_string(most));
  }
  return static_cast<std::int32_t>(value);
}

bool Field::flag() const {
  const std::string word = text();
  if (word == "1" || word == "true" || word == "True") return true;
  if (word == "0" || word == "false" || word == "False") return false;
  refuse("must be 0 or 1");
}

std::vector<Field> Field::items() const {
  if (!isList()) refuse("must be a list");
  std::vector<Field> fields;
  for (std::size_t i = 0; i < node_->items.size(); ++i) {
    fields.emplace_back(node_->items[i], name_ + "[" + std::to_string(i) + "]");
  }
  return fields;
}

Matrix Field::matrix() const {
  if (isMap()) return ofShape(*this);
  if (isList() && !node_->items.empty() && node_->items.front().kind == Node::Kind::List) return ofRows(*this);
  Matrix matrix{0, 1, numbersIn(*this)};
  matrix.rows = matrix.values.size();
  return matrix;
}

std::vector<double> Field::numbers(std::size_t count) const {
  Matrix values = matrix();
  if (values.values.size() != count) {
    refuse("must be " + std::to_string(count) + " numbers, and holds " + std::to_string(values.values.size()));
  }
  return std::move(values.values);
}

void Field::refuse(const std::string& what) const {
  throw BadFile{{(name_.empty() ? "the document" : name_) + ": " + what, {}, lineText(node_->line)}};
}

}  // namespace quel

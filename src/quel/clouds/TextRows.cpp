#include "quel/clouds/TextRows.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "quel/base/Letters.h"

namespace quel {

namespace {

constexpr std::size_t kLongestNumber = 64;
constexpr std::size_t kMostColumns = 1000;

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

std::string_view unquoted(std::string_view text) {
  const bool quoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
  return quoted ? trimmed(text.substr(1, text.size() - 2)) : text;
}

std::optional<double> parsed(std::string_view text) {
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// The number of a field, with a decimal point or a decimal comma.
std::optional<double> valueOf(std::string_view field) {
  const std::size_t comma = field.find(',');
  if (comma == field.npos) return parsed(field);
  if (field.size() > kLongestNumber || field.find('.') != field.npos) return std::nullopt;
  std::string text(field);
  text[comma] = '.';
  return parsed(text);
}

bool isNumber(std::string_view field) { return valueOf(field).has_value(); }

bool hasCommaBefore(std::string_view line, bool blank) {
  for (std::size_t at = line.find(','); at != line.npos && at + 1 < line.size(); at = line.find(',', at + 1)) {
    if (isBlank(line[at + 1]) == blank) return true;
  }
  return false;
}

// Whether the commas of a line that they separate may be decimal ones as well, as in "0,5, 1,2": what stands between
// those with a blank behind them are numbers.
bool mayBeDecimalToo(std::string_view line) {
  if (!hasCommaBefore(line, true) || !hasCommaBefore(line, false)) return false;
  for (std::size_t at = 0; at <= line.size();) {
    std::size_t end = line.find(',', at);
    while (end != line.npos && end + 1 < line.size() && !isBlank(line[end + 1])) end = line.find(',', end + 1);
    end = std::min(end, line.size());
    const std::string_view word = trimmed(line.substr(at, end - at));
    if (!word.empty() && !isNumber(word)) return false;
    at = end + 1;
  }
  return true;
}

struct Unit {
  const char* name;
  double millimetres;
};
constexpr Unit kUnits[] = {{"mm", 1.0},          {"cm", 10.0},  {"m", 1000.0}, {"\xC2\xB5m", 0.001},
                           {"\xCE\xBCm", 0.001}, {"um", 0.001}, {"in", 25.4}};
constexpr const char* kKnownUnits = "mm, cm, m, \xC2\xB5m and in";

std::optional<double> factorOf(const std::string& unit, bool lengths) {
  if (unit.empty() || (!lengths && unit == "px")) return 1.0;
  for (const Unit& each : kUnits) {
    if (lengths && unit == each.name) return each.millimetres;
  }
  return std::nullopt;
}

// A name as it is compared, and the unit behind it in brackets.
struct NameAndUnit {
  std::string name;
  std::string unit;
};

NameAndUnit inBrackets(const std::string& text) {
  const std::size_t open = text.find_first_of("[(");
  if (open == text.npos || open == 0 || (text.back() != ']' && text.back() != ')')) return {text, ""};
  const std::string name(trimmed(std::string_view(text).substr(0, open)));
  const std::string unit(trimmed(std::string_view(text).substr(open + 1, text.size() - open - 2)));
  return {name, unit};
}

// Behind an underscore it is a unit only if it is known as one.
NameAndUnit nameAndUnit(const std::string& text, bool lengths) {
  const std::size_t underscore = text.rfind('_');
  if (underscore != text.npos && underscore != 0 && factorOf(text.substr(underscore + 1), lengths) &&
      text.back() != '_') {
    return {text.substr(0, underscore), text.substr(underscore + 1)};
  }
  return inBrackets(text);
}

}  // namespace

TextRows::TextRows(Bytes& bytes, const TextColumns& columns) : bytes_(bytes), columns_(columns) {
  const std::string_view mark = bytes_.ahead(3);
  if (mark.starts_with("\xFF\xFE") || mark.starts_with("\xFE\xFF")) {
    throw Error{"is 16-bit text; save it as UTF-8"};
  }
  if (mark == "\xEF\xBB\xBF") bytes_.skip(mark.size());
  if (!columns.chosen.empty() && columns.chosen.size() != columns.names.size()) {
    throw Error{
        fmt::format("needs {} columns, and {} gives {}", columns.countInWords, columns.choice, columns.chosen.size())};
  }
}

void TextRows::refuse(const std::string& why) const { throw Error{fmt::format("line {}: {}", line_, why)}; }

bool TextRows::nextLine(std::string_view& line) {
  while (bytes_.line(line)) {
    line = trimmed(line);
    ++line_;
    if (!line.empty() && line.front() != '#') return true;
  }
  return false;
}

// A line says itself what separates in it. Blanks do unless commas must: where one begins or ends a word or a word has
// two, or where they separate the names.
TextRows::Split TextRows::splitOf(std::string_view line) const {
  if (line.find(';') != line.npos) return Split::Semicolons;
  const bool hasTab = line.find('\t') != line.npos;
  if (hasTab && (!begun_ || headerSplit_ == Split::Tabs)) return Split::Tabs;
  if (line.find(',') == line.npos) return Split::Blanks;
  if (!hasTab && named_ && headerSplit_ == Split::Commas) return Split::Commas;
  bool blanks = false;
  for (std::size_t at = 0; at < line.size();) {
    const std::size_t end = std::min(line.find_first_of(" \t", at), line.size());
    const std::string_view word = line.substr(at, end - at);
    if (!word.empty() && (word.front() == ',' || word.back() == ',')) return Split::Commas;
    if (std::count(word.begin(), word.end(), ',') > 1) return Split::Commas;
    blanks = blanks || end != line.size();
    at = end + 1;
  }
  return blanks ? Split::Blanks : Split::Commas;
}

void TextRows::addField(std::string_view field) {
  if (fields_.size() == kMostColumns) refuse(fmt::format("has more than {} columns", kMostColumns));
  fields_.push_back(field);
}

void TextRows::splitAt(std::string_view line, char separator) {
  for (std::size_t at = 0; at <= line.size();) {
    const std::size_t end = std::min(line.find(separator, at), line.size());
    addField(unquoted(trimmed(line.substr(at, end - at))));
    at = end + 1;
  }
}

// A unit in brackets belongs to the name in front of it.
void TextRows::splitAtBlanks(std::string_view line) {
  for (std::size_t at = 0; at < line.size();) {
    const std::size_t end = std::min(line.find_first_of(" \t", at), line.size());
    const std::string_view word = line.substr(at, end - at);
    if (!word.empty() && !fields_.empty() && (word.front() == '[' || word.front() == '(')) {
      fields_.back() = std::string_view(fields_.back().data(), word.data() + word.size() - fields_.back().data());
    } else if (!word.empty()) {
      addField(unquoted(word));
    }
    at = end + 1;
  }
}

void TextRows::split(std::string_view line) {
  fields_.clear();
  split_ = splitOf(line);
  if (split_ == Split::Blanks) return splitAtBlanks(line);
  splitAt(line, split_ == Split::Tabs ? '\t' : split_ == Split::Semicolons ? ';' : ',');
}

// Names stand in the first line, without a number among them.
bool TextRows::takeNames() {
  if (std::any_of(fields_.begin(), fields_.end(), isNumber)) return false;
  named_ = true;
  headerSplit_ = split_;
  width_ = fields_.size();
  for (const std::string_view field : fields_) {
    std::string name = lowerCase(std::string(field));
    if (names_.empty() && name.starts_with("//")) name = std::string(trimmed(std::string_view(name).substr(2)));
    names_.push_back(std::move(name));
  }
  return true;
}

TextRows::Place TextRows::withUnit(std::size_t index) const {
  if (index >= names_.size()) return {index, columns_.perPlainUnit};
  const NameAndUnit found = nameAndUnit(names_[index], columns_.lengths);
  if (found.unit.empty()) return {index, columns_.perPlainUnit};
  const std::optional<double> factor = factorOf(found.unit, columns_.lengths);
  if (factor) return {index, *factor};
  throw Error{fmt::format("the column \"{}\" is in \"{}\"; known are {}", names_[index], found.unit,
                          columns_.lengths ? kKnownUnits : "pixels (px)")};
}

TextRows::Place TextRows::placeOf(const std::string& name) const {
  const std::string wanted = lowerCase(name);
  std::optional<std::size_t> place;
  std::string near;
  for (std::size_t i = 0; i < names_.size(); ++i) {
    if (names_[i] != wanted && nameAndUnit(names_[i], columns_.lengths).name != wanted) {
      if (names_[i].starts_with(wanted + "_")) near = fmt::format("; \"{}\" has no unit that is known", names_[i]);
      continue;
    }
    if (place)
      throw Error{
          fmt::format("names the column \"{}\" twice; {} chooses by place, such as 1,2,3", name, columns_.choice)};
    place = i;
  }
  if (place) return withUnit(*place);
  throw Error{
      fmt::format("names no column \"{}\"{}; {} chooses others, by name or by place", name, near, columns_.choice)};
}

void TextRows::choosePlaces() {
  const std::vector<std::string>& wanted = columns_.chosen.empty() ? columns_.names : columns_.chosen;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    std::size_t number = 0;
    const char* const end = wanted[i].data() + wanted[i].size();
    const auto [behind, error] = std::from_chars(wanted[i].data(), end, number);
    if (!columns_.chosen.empty() && error == std::errc() && behind == end && number > 0) {
      places_.push_back(withUnit(number - 1));
    } else if (named_) {
      places_.push_back(placeOf(wanted[i]));
    } else if (columns_.chosen.empty()) {
      places_.push_back(withUnit(i));
    } else {
      throw Error{fmt::format("has no line of names, and {} names \"{}\"; give places, such as 1,2,3", columns_.choice,
                              wanted[i])};
    }
  }
  for (std::size_t i = 1; i < places_.size(); ++i) {
    const auto isSame = [&](const Place& other) { return other.index == places_[i].index; };
    if (std::any_of(places_.begin(), places_.begin() + static_cast<std::ptrdiff_t>(i), isSame)) {
      throw Error{fmt::format("{} gives one column twice", columns_.choice)};
    }
  }
}

// What the commas and points of the line are; only the whole file tells whether they go together.
void TextRows::watch(std::string_view line) {
  if (split_ == Split::Commas) {
    if (separatingComma_ == 0) separatingComma_ = line_;
    if (decimalComma_ == 0 && mayBeDecimalToo(line)) decimalComma_ = line_;
    return;
  }
  if (width_ == 0) width_ = fields_.size();
  if (fields_.size() != width_ && otherWidth_ == 0) otherWidth_ = line_;
  const auto has = [this](char c) {
    return std::any_of(fields_.begin(), fields_.end(),
                       [c](std::string_view field) { return field.find(c) != field.npos && isNumber(field); });
  };
  if (point_ == 0 && line.find('.') != line.npos && has('.')) point_ = line_;
  if (decimalComma_ == 0 && line.find(',') != line.npos && has(',')) decimalComma_ = line_;
}

// A number that no name is for, as where decimal commas have been taken for separators. Text may have separators in it.
void TextRows::refuseMoreThanNames() const {
  if (!named_ || split_ == Split::Blanks || fields_.size() <= names_.size()) return;
  if (std::none_of(fields_.begin() + static_cast<std::ptrdiff_t>(names_.size()), fields_.end(), isNumber)) return;
  refuse(fmt::format("has {} fields, but there are {} names", fields_.size(), names_.size()));
}

void TextRows::refuseTwoMeanings() const {
  if (decimalComma_ == 0) return;
  const std::size_t other = separatingComma_ != 0 ? separatingComma_ : point_ != 0 ? point_ : otherWidth_;
  if (other == 0) return;
  const char* const why = separatingComma_ != 0 ? "separates in line {}"
                          : point_ != 0         ? "a number has a point in line {}"
                                                : "line {} has another count of columns";
  throw Error{fmt::format("line {}: a comma seems to be a decimal comma, but {}; write numbers with points",
                          decimalComma_, fmt::format(fmt::runtime(why), other))};
}

bool TextRows::names(const std::vector<std::string>& wanted) {
  std::string_view line;
  if (!nextLine(line)) return false;
  split(line);
  begun_ = true;
  return takeNames() && std::all_of(wanted.begin(), wanted.end(), [this](const std::string& each) {
           return std::find(names_.begin(), names_.end(), each) != names_.end();
         });
}

bool TextRows::next(std::span<double> numbers) {
  std::string_view line;
  if (!nextLine(line)) {
    refuseTwoMeanings();
    return false;
  }
  split(line);
  if (!std::exchange(begun_, true) && takeNames()) return next(numbers);
  if (places_.empty()) choosePlaces();
  watch(line);
  refuseMoreThanNames();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::string_view field = places_[i].index < fields_.size() ? fields_[places_[i].index] : std::string_view();
    const bool empty = named_ && field.empty() && places_[i].index < fields_.size();
    const std::optional<double> value = empty ? std::numeric_limits<double>::quiet_NaN() : valueOf(field);
    if (!value && named_) {
      refuse(fmt::format("the column \"{}\" must be a number, and is \"{}\"", columns_.names[i], field.substr(0, 40)));
    }
    if (!value) {
      refuse(fmt::format("must begin with {} numbers, and is \"{}\"", columns_.countInWords, line.substr(0, 40)));
    }
    numbers[i] = places_[i].factor == 1.0 ? *value : *value * places_[i].factor;
  }
  return true;
}

}  // namespace quel

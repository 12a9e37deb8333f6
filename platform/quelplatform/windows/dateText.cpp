#include "quelplatform/windows/dateText.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <array>
#include <vector>

#include "quelplatform/windows/calendar.h"

namespace quelplatform {

namespace {

struct Number {
  int value;
  int digits;

  bool isYear() const { return digits >= 3; }
};

struct Token {
  enum Kind { Digits, Word, Colon, Dot, Separator } kind;
  Number number{0, 0};
  DateWord word{DateWord::Skipped, 0};
};

using Tokens = std::vector<Token>;

constexpr std::size_t kLongestWord = 40;
constexpr int kMostDigits = 4;

// --- From text to tokens -------------------------------------------------------------------------------------------

// One character off the front of `text`, which is not empty.
UChar32 take(std::u16string_view& text) {
  std::size_t at = 0;
  UChar32 character = 0;
  U16_NEXT(text.data(), at, text.size(), character);
  text.remove_prefix(at);
  return character;
}

bool takeNumber(std::u16string_view& text, Token& token) {
  token.kind = Token::Digits;
  while (!text.empty()) {
    std::u16string_view rest = text;
    const int digit = u_charDigitValue(take(rest));
    if (digit < 0) break;
    if (++token.number.digits > kMostDigits) return false;
    token.number.value = token.number.value * 10 + digit;
    text = rest;
  }
  return true;
}

bool isLetterIn(std::u16string_view text) {
  return !text.empty() && (u_isalpha(text[0]) || u_getCombiningClass(text[0]));
}

// True when a word cannot end between the first two units of `text`. Between ideographs it can.
bool isOneWord(std::u16string_view text) {
  return isLetterIn(text) && isLetterIn(text.substr(1)) && u_hasBinaryProperty(text[0], UCHAR_IDEOGRAPHIC) == 0;
}

// The longest known word that `text` begins with; dots and blanks in it do not count.
bool takeWord(std::u16string_view& text, const DateNames& names, Token& token) {
  token.kind = Token::Word;
  std::size_t length = 0;
  for (std::size_t end = 1; end <= text.size() && end <= kLongestWord; ++end) {
    if (isOneWord(text.substr(end - 1))) continue;
    const auto found = names.words.find(plainWord(text.substr(0, end)));
    if (found == names.words.end()) continue;
    token.word = found->second;
    length = end;
  }
  text.remove_prefix(length);
  return length != 0;
}

bool isSeparator(char16_t unit) { return unit == u'-' || unit == u'/' || unit == u','; }

// False for a character that dates do not have.
bool takeToken(std::u16string_view& text, const DateNames& names, Tokens& tokens) {
  std::u16string_view rest = text;
  const UChar32 first = take(rest);
  Token token{};
  if (u_charDigitValue(first) >= 0) {
    if (!takeNumber(text, token)) return false;
  } else if (first <= 0xFFFF && isLetterIn(text)) {
    if (!takeWord(text, names, token)) return false;
  } else {
    text = rest;
    if (u_isUWhiteSpace(first) || first == 0x200E || first == 0x200F) return true;  // Blanks, marks of direction.
    if (first > 0xFFFF) return false;
    const auto unit = static_cast<char16_t>(first);
    if (unit != u':' && unit != u'.' && !isSeparator(unit)) return false;
    token.kind = unit == u':' ? Token::Colon : unit == u'.' ? Token::Dot : Token::Separator;
  }
  tokens.push_back(token);
  return true;
}

bool tokensOf(std::u16string_view text, const DateNames& names, Tokens& tokens) {
  while (!text.empty()) {
    if (!takeToken(text, names, tokens)) return false;
  }
  return true;
}

// --- From tokens to date and time ----------------------------------------------------------------------------------

struct Found {
  std::vector<Number> dateNumbers;
  std::vector<int> time;  ///< Hour, minute, second, as many as there are.
  int month = 0;          ///< The one that was named.
  int half = 0;           ///< Of the day: 1 morning, 2 afternoon.

  bool dateIsComplete() const { return dateNumbers.size() + (month != 0 ? 1 : 0) >= 3; }
};

bool isKind(const Tokens& tokens, std::size_t at, Token::Kind kind) {
  return at < tokens.size() && tokens[at].kind == kind;
}

bool isHalf(const Tokens& tokens, std::size_t at) {
  return isKind(tokens, at, Token::Word) &&
         (tokens[at].word.kind == DateWord::Morning || tokens[at].word.kind == DateWord::Afternoon);
}

// Takes a time that begins with the number at `at`, its parts joined by `joint`.
bool takeTime(const Tokens& tokens, std::size_t& at, Token::Kind joint, Found& found) {
  if (!found.time.empty()) return false;
  found.time.push_back(tokens[at++].number.value);
  while (isKind(tokens, at, joint) && isKind(tokens, at + 1, Token::Digits) && found.time.size() < 3) {
    found.time.push_back(tokens[at + 1].number.value);
    at += 2;
  }
  return joint == Token::Colon || found.time.size() > 1;
}

bool takeDigits(const Tokens& tokens, std::size_t& at, Found& found) {
  if (isKind(tokens, at + 1, Token::Colon)) return takeTime(tokens, at, Token::Colon, found);
  if (isHalf(tokens, at + 1)) return takeTime(tokens, at, Token::Colon, found);
  const bool afterHalf = at > 0 && isHalf(tokens, at - 1) && found.time.empty();
  if (found.dateIsComplete() || (afterHalf && !found.dateNumbers.empty())) {
    return takeTime(tokens, at, Token::Dot, found);
  }
  found.dateNumbers.push_back(tokens[at++].number);
  return true;
}

bool takeMeaning(const DateWord& word, Found& found) {
  switch (word.kind) {
    case DateWord::Month:
      if (found.month != 0) return false;
      found.month = word.month;
      return true;
    case DateWord::Morning:
    case DateWord::Afternoon:
      if (found.half != 0) return false;
      found.half = word.kind == DateWord::Morning ? 1 : 2;
      return true;
    default:
      return true;
  }
}

bool find(const Tokens& tokens, Found& found) {
  for (std::size_t at = 0; at < tokens.size();) {
    if (tokens[at].kind == Token::Colon) return false;
    if (tokens[at].kind == Token::Digits) {
      if (!takeDigits(tokens, at, found)) return false;
    } else {
      if (tokens[at].kind == Token::Word && !takeMeaning(tokens[at].word, found)) return false;
      ++at;
    }
  }
  return found.dateNumbers.size() <= 3;
}

struct Day {
  int year, month, day;
};

bool isValid(const Day& day) {
  return day.year >= kFirstYear && day.year <= kLastYear && isDay(day.year, day.month, day.day);
}

int fullYear(Number year) {
  if (year.digits > 2) return year.value;
  return year.value + (year.value < 30 ? 2000 : 1900);
}

Day inOrder(const std::vector<Number>& numbers, std::u16string_view order) {
  Day day{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (order[i] == u'd') day.day = numbers[i].value;
    if (order[i] == u'M') day.month = numbers[i].value;
    if (order[i] == u'y') day.year = fullYear(numbers[i]);
  }
  return day;
}

// Only a year has three digits or more; beside a month alone it must have them, or it would be a day.
bool fitsOrder(const std::vector<Number>& numbers, std::u16string_view order) {
  const bool yearIsLong = order == u"My" || order == u"yM";
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (order[i] != u'y' ? numbers[i].isYear() : yearIsLong && !numbers[i].isYear()) return false;
  }
  return true;
}

template <std::size_t Count>
std::optional<Day> firstValid(const std::vector<Number>& numbers, const std::array<std::u16string, Count>& orders,
                              const Day& others) {
  for (const std::u16string& order : orders) {
    if (!fitsOrder(numbers, order)) continue;
    Day day = inOrder(numbers, order);
    if (order.find(u'y') == std::u16string::npos) day.year = others.year;
    if (order.find(u'M') == std::u16string::npos) day.month = others.month;
    if (order.find(u'd') == std::u16string::npos) day.day = others.day;
    if (isValid(day)) return day;
  }
  return std::nullopt;
}

std::optional<Day> dayOf(const Found& found, const std::u16string& order, int currentYear) {
  const std::vector<Number>& numbers = found.dateNumbers;
  const Day others{currentYear, found.month, 1};
  using Orders = std::array<std::u16string, 4>;
  if (found.month != 0) {
    if (numbers.size() == 2) return firstValid(numbers, Orders{u"dy", u"yd", u"dy", u"yd"}, others);
    if (numbers.size() == 1) return firstValid(numbers, Orders{u"d", u"y", u"d", u"y"}, others);
    return std::nullopt;
  }
  if (numbers.size() == 3) return firstValid(numbers, Orders{order, u"Mdy", u"dMy", u"yMd"}, others);
  if (numbers.size() != 2) return std::nullopt;
  const bool dayFirst = order.find(u'd') < order.find(u'M');
  const std::u16string local = dayFirst ? u"dM" : u"Md";
  return firstValid(numbers, Orders{local, dayFirst ? u"Md" : u"dM", u"My", u"yM"}, others);
}

// Seconds since midnight.
std::optional<int> secondsOf(const Found& found) {
  std::array<int, 3> time{};
  for (std::size_t i = 0; i < found.time.size(); ++i) time[i] = found.time[i];
  auto [hour, minute, second] = time;
  if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  if (found.half != 0) {
    if (found.time.empty()) return std::nullopt;
    if (found.half == 1 && hour > 12) return std::nullopt;
    if (hour == 12 && found.half == 1) hour = 0;
    if (hour < 12 && found.half == 2) hour += 12;
  }
  return (hour * 60 + minute) * 60 + second;
}

}  // namespace

std::optional<double> variantDateOf(std::u16string_view text, const DateNames& names, int currentYear) {
  Tokens tokens;
  Found found;
  if (!tokensOf(text, names, tokens) || !find(tokens, found)) return std::nullopt;
  const std::optional<int> seconds = secondsOf(found);
  if (!seconds) return std::nullopt;
  const double timeOfDay = *seconds / 86400.0;
  if (found.dateNumbers.empty() && found.month == 0) {
    return found.time.empty() ? std::nullopt : std::optional(timeOfDay);
  }
  const std::optional<Day> day = dayOf(found, names.order, currentYear);
  if (!day) return std::nullopt;
  const auto days = static_cast<double>(variantDay(day->year, day->month, day->day));
  return days < 0 ? days - timeOfDay : days + timeOfDay;
}

}  // namespace quelplatform

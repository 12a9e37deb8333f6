#include "quelplatform/ground/text/wideNumber.h"

#include <stdlib.h>  // strtod_l

#include <locale.h>
#include <clocale>
#include <cstddef>
#include <limits>
#include <string>

#include "quelplatform/ground/text/blanks.h"

namespace quelplatform {

namespace {

bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }
bool isSign(char16_t unit) { return unit == u'+' || unit == u'-'; }

std::u16string_view withoutBlanks(std::u16string_view text) {
  while (!text.empty() && isBlankOrLineFeed(text.front())) text.remove_prefix(1);
  return text;
}

bool takeMinus(std::u16string_view& text) {
  const bool minus = text.starts_with(u'-');
  if (!text.empty() && isSign(text.front())) text.remove_prefix(1);
  return minus;
}

std::size_t digitsFrom(std::u16string_view text, std::size_t begin) {
  std::size_t end = begin;
  while (end < text.size() && isDigit(text[end])) ++end;
  return end - begin;
}

// Length of the decimal number that `text` begins with; 0 when it begins with none.
std::size_t decimalLength(std::u16string_view text) {
  std::size_t end = !text.empty() && isSign(text.front()) ? 1 : 0;
  std::size_t digits = digitsFrom(text, end);
  end += digits;
  if (end < text.size() && text[end] == u'.') {
    const std::size_t fraction = digitsFrom(text, end + 1);
    digits += fraction;
    end += 1 + fraction;
  }
  if (digits == 0) return 0;
  if (end >= text.size() || (text[end] != u'e' && text[end] != u'E')) return end;
  const std::size_t exponent = end + 1 + (end + 1 < text.size() && isSign(text[end + 1]) ? 1 : 0);
  const std::size_t exponentDigits = digitsFrom(text, exponent);
  return exponentDigits == 0 ? end : exponent + exponentDigits;
}

}  // namespace

std::uint32_t wrappedInteger(std::u16string_view text) noexcept {
  text = withoutBlanks(text);
  const bool minus = takeMinus(text);
  std::uint32_t value = 0;
  for (; !text.empty() && isDigit(text.front()); text.remove_prefix(1)) value = value * 10 + (text.front() - u'0');
  return minus ? 0 - value : value;
}

std::int32_t clampedInteger(std::u16string_view text) noexcept {
  constexpr std::int64_t lowest = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t highest = std::numeric_limits<std::int32_t>::max();
  text = withoutBlanks(text);
  const bool minus = takeMinus(text);
  std::int64_t value = 0;
  for (; !text.empty() && isDigit(text.front()) && value <= highest; text.remove_prefix(1)) {
    value = value * 10 + (text.front() - u'0');
  }
  if (minus) value = -value;
  return static_cast<std::int32_t>(value < lowest ? lowest : value > highest ? highest : value);
}

double decimalNumber(std::u16string_view text) {
  static const locale_t plain = newlocale(LC_ALL_MASK, "C", locale_t{});
  text = withoutBlanks(text);
  std::string number;
  for (const char16_t unit : text.substr(0, decimalLength(text))) number.push_back(static_cast<char>(unit));
  return number.empty() ? 0.0 : strtod_l(number.c_str(), nullptr, plain);
}

}  // namespace quelplatform

#include "quelcore/base/wideNumber.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace quelcore {

std::u16string decimalText(std::uint32_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value);
  return std::u16string(digits, end.ptr);
}

namespace {

constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();

// The number that the digits at the beginning of `text` make, or the first one beyond 32 bits.
std::uint64_t leadingNumber(std::u16string_view text) {
  std::uint64_t value = 0;
  for (const char16_t unit : text) {
    if (!isDigit(unit)) break;
    value = std::min(10 * value + (unit - u'0'), kLargest + 1);
  }
  return value;
}

}  // namespace

std::uint32_t leadingUnsigned(std::u16string_view text) noexcept {
  return static_cast<std::uint32_t>(std::min(leadingNumber(text), kLargest));
}

std::optional<std::uint32_t> extractedUnsigned(std::u16string_view text) noexcept {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  const bool negative = text.starts_with(u'-');
  if (negative || text.starts_with(u'+')) text.remove_prefix(1);
  if (text.empty() || !isDigit(text[0])) return std::nullopt;
  const std::uint64_t value = leadingNumber(text);
  if (value > kLargest) return std::nullopt;
  return static_cast<std::uint32_t>(negative ? 0 - value : value);
}

namespace {

std::u16string_view withoutBlanks(std::u16string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

void skipSign(std::u16string_view& text) {
  if (text.starts_with(u'-') || text.starts_with(u'+')) text.remove_prefix(1);
}

/// Takes the digits off the front of `text` and returns their number.
std::size_t skipDigits(std::u16string_view& text) {
  const auto end = std::find_if_not(text.begin(), text.end(), isDigit);
  const auto count = static_cast<std::size_t>(end - text.begin());
  text.remove_prefix(count);
  return count;
}

}  // namespace

bool isWholeNumber(std::u16string_view text) noexcept {
  text = withoutBlanks(text);
  const bool negative = text.starts_with(u'-');
  skipSign(text);
  const std::uint64_t value = leadingNumber(text);
  return skipDigits(text) > 0 && text.empty() && value <= (negative ? kLargest / 2 + 1 : kLargest);
}

bool isRealNumber(std::u16string_view text) noexcept {
  text = withoutBlanks(text);
  skipSign(text);
  std::size_t digits = skipDigits(text);
  if (text.starts_with(u'.')) {
    text.remove_prefix(1);
    digits += skipDigits(text);
  }
  if (digits > 0 && (text.starts_with(u'e') || text.starts_with(u'E'))) {
    text.remove_prefix(1);
    skipSign(text);
    if (skipDigits(text) == 0) return false;
  }
  return digits > 0 && text.empty();
}

}  // namespace quelcore

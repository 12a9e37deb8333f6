#include "quelcore/text/wideNumber.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace quelcore {

std::u16string decimalText(std::uint32_t value) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, value);
  return std::u16string(digits, end.ptr);
}

std::uint32_t leadingUnsigned(std::u16string_view text) noexcept {
  constexpr std::uint64_t kLargest = std::numeric_limits<std::uint32_t>::max();
  std::uint64_t value = 0;
  for (const char16_t unit : text) {
    if (unit < u'0' || unit > u'9') break;
    value = std::min(10 * value + (unit - u'0'), kLargest);
  }
  return static_cast<std::uint32_t>(value);
}

}  // namespace quelcore

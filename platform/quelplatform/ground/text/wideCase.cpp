#include "quelplatform/ground/text/wideCase.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <cstddef>

#include "quelplatform/ground/text/asciiCase.h"

namespace quelplatform {

char16_t lowerUnit(char16_t unit) noexcept {
  if (unit < 0x80) return asciiLower(unit);
  const UChar32 lower = u_tolower(static_cast<UChar32>(unit));
  return lower <= 0xFFFF ? static_cast<char16_t>(lower) : unit;
}

char16_t upperUnit(char16_t unit) noexcept {
  if (unit < 0x80) return asciiUpper(unit);
  const UChar32 upper = u_toupper(static_cast<UChar32>(unit));
  return upper <= 0xFFFF ? static_cast<char16_t>(upper) : unit;
}

int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept {
  const std::size_t shorter = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < shorter; ++i) {
    const int difference = lowerUnit(a[i]) - lowerUnit(b[i]);
    if (difference != 0) return difference;
  }
  return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

}  // namespace quelplatform

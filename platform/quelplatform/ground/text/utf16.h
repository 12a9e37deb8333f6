// UTF-16, a character at a time and as bytes.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

#include "quelplatform/ground/text/utf8.h"

namespace quelplatform {

constexpr bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

/// Takes one character off the front of `text`, which is not empty. A lone surrogate gives U+FFFD.
inline char32_t takeUtf16(std::u16string_view& text) {
  const char16_t first = text.front();
  text.remove_prefix(1);
  if (!isHighSurrogate(first)) return isLowSurrogate(first) ? kReplacementCharacter : first;
  if (text.empty() || !isLowSurrogate(text.front())) return kReplacementCharacter;
  const char16_t second = text.front();
  text.remove_prefix(1);
  return 0x10000 + ((first & 0x3FFu) << 10) + (second & 0x3FFu);
}

/// Puts `character`, which is no surrogate, behind `out`.
inline void appendUtf16(std::u16string& out, char32_t character) {
  if (character < 0x10000) {
    out.push_back(static_cast<char16_t>(character));
    return;
  }
  out.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
  out.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
}

/// The units of UTF-16 bytes, lower byte first unless `big`. Half a unit at the end does not count.
inline std::u16string utf16Units(std::string_view bytes, bool big) {
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]);
    const auto second = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = static_cast<char16_t>(big ? (first << 8) | second : first | (second << 8));
  }
  return units;
}

/// Puts the bytes of `units`, likewise, behind `out`.
inline void appendUtf16Bytes(std::string& out, std::u16string_view units, bool big) {
  out.reserve(out.size() + 2 * units.size());
  for (const char16_t unit : units) {
    const std::array<char, 2> pair = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    out.push_back(pair[big ? 1 : 0]);
    out.push_back(pair[big ? 0 : 1]);
  }
}

}  // namespace quelplatform

// UTF-16 as bytes.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quelplatform {

inline constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
inline constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

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

}  // namespace quelplatform

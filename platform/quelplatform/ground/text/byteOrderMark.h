// The byte-order mark at the head of a file.
#pragma once

#include <string_view>

namespace quelplatform {

inline constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
inline constexpr std::string_view kUtf16LittleMark = "\xFF\xFE";
inline constexpr std::string_view kUtf16BigMark = "\xFE\xFF";

/// The mark that the bytes of a file begin with, one of the above; empty when they begin with none.
constexpr std::string_view markOf(std::string_view bytes) {
  for (const std::string_view mark : {kUtf8Mark, kUtf16LittleMark, kUtf16BigMark}) {
    if (bytes.starts_with(mark)) return mark;
  }
  return {};
}

constexpr bool isUtf16Mark(std::string_view mark) { return mark == kUtf16LittleMark || mark == kUtf16BigMark; }

}  // namespace quelplatform

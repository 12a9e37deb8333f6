// Blanks, in 8-bit and 16-bit text alike. No locale plays in.
#pragma once

#include <string_view>

namespace quelplatform {

/// True for what may stand around the words of a line; the line feed is not among them, for it ends the line.
template <typename Char>
constexpr bool isBlank(Char c) {
  return c == Char(' ') || c == Char('\t') || c == Char('\r') || c == Char('\v') || c == Char('\f');
}

/// As above, and the line feed.
template <typename Char>
constexpr bool isBlankOrLineFeed(Char c) {
  return isBlank(c) || c == Char('\n');
}

/// `text` without blanks at its end.
template <typename Char>
constexpr std::basic_string_view<Char> withoutTrailingBlanks(std::basic_string_view<Char> text) {
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

/// `text` without blanks around it.
template <typename Char>
constexpr std::basic_string_view<Char> trimmed(std::basic_string_view<Char> text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  return withoutTrailingBlanks(text);
}

}  // namespace quelplatform

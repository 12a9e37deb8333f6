// Text without regard to the case of ASCII letters, in 8-bit and 16-bit units alike. No locale plays in.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quelplatform {

template <typename Char>
constexpr Char asciiLower(Char c) {
  return c >= Char('A') && c <= Char('Z') ? static_cast<Char>(c + ('a' - 'A')) : c;
}

template <typename Char>
constexpr Char asciiUpper(Char c) {
  return c >= Char('a') && c <= Char('z') ? static_cast<Char>(c - ('a' - 'A')) : c;
}

/// True when both texts are equal but for the case of ASCII letters.
constexpr bool sameButAsciiCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (asciiLower(a[i]) != asciiLower(b[i])) return false;
  }
  return true;
}

/// `text` in small letters.
inline std::string asciiLowered(std::string_view text) {
  std::string lowered(text);
  for (char& c : lowered) c = asciiLower(c);
  return lowered;
}

}  // namespace quelplatform

// UTF-8, a character at a time. Defined here, because whole documents go through it byte by byte.
#pragma once

#include <string>
#include <string_view>

namespace quelplatform {

/// What stands for text that is no character.
inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// How the first byte of a UTF-8 sequence limits what may follow. A length of 0: no sequence begins so.
struct Utf8Rule {
  int length;
  unsigned char lowestSecond;
  unsigned char highestSecond;
};

constexpr Utf8Rule utf8RuleOf(unsigned char first) {
  if (first < 0x80) return {1, 0x80, 0xBF};
  if (first < 0xC2) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

/// Takes one character off the front of `text`, which is not empty. A malformed sequence is taken up to where it broke
/// off, at least one byte, and gives U+FFFD.
inline char32_t takeUtf8(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  text.remove_prefix(1);
  Utf8Rule rule = utf8RuleOf(first);
  if (rule.length == 0) return kReplacementCharacter;
  if (rule.length == 1) return first;

  char32_t value = first & (0xFFu >> (rule.length + 1));
  for (int i = 1; i < rule.length; ++i) {
    if (text.empty()) return kReplacementCharacter;
    const auto next = static_cast<unsigned char>(text.front());
    if (next < rule.lowestSecond || next > rule.highestSecond) return kReplacementCharacter;
    text.remove_prefix(1);
    value = (value << 6) | (next & 0x3Fu);
    rule.lowestSecond = 0x80;
    rule.highestSecond = 0xBF;
  }
  return value;
}

/// Puts `character`, which is no surrogate, behind `out`.
inline void appendUtf8(std::string& out, char32_t character) {
  const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(static_cast<unsigned char>(byte))); };
  if (character < 0x80) {
    put(character);
    return;
  }
  if (character < 0x800) {
    put(0xC0 | (character >> 6));
  } else {
    if (character < 0x10000) {
      put(0xE0 | (character >> 12));
    } else {
      put(0xF0 | (character >> 18));
      put(0x80 | ((character >> 12) & 0x3F));
    }
    put(0x80 | ((character >> 6) & 0x3F));
  }
  put(0x80 | (character & 0x3F));
}

}  // namespace quelplatform

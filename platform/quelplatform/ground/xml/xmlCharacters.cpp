#include "quelplatform/ground/xml/xmlCharacters.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "quelplatform/ground/text/utf8.h"

namespace quelplatform {

namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr std::array kNameStart = {
    Range{':', ':'},       Range{'A', 'Z'},       Range{'_', '_'},       Range{'a', 'z'},
    Range{0xC0, 0xD6},     Range{0xD8, 0xF6},     Range{0xF8, 0x2FF},    Range{0x370, 0x37D},
    Range{0x37F, 0x1FFF},  Range{0x200C, 0x200D}, Range{0x2070, 0x218F}, Range{0x2C00, 0x2FEF},
    Range{0x3001, 0xD7FF}, Range{0xF900, 0xFDCF}, Range{0xFDF0, 0xFFFD}, Range{0x10000, 0xEFFFF}};
constexpr std::array kNameFurther = {Range{'-', '.'}, Range{'0', '9'}, Range{0xB7, 0xB7}, Range{0x300, 0x36F},
                                     Range{0x203F, 0x2040}};

template <typename Ranges>
constexpr bool isIn(const Ranges& ranges, char32_t character) {
  return std::any_of(ranges.begin(), ranges.end(),
                     [character](Range range) { return character >= range.first && character <= range.last; });
}

constexpr bool isCharacter(char32_t character) {
  if (character < 0x20) return character == '\t' || character == '\n' || character == '\r';
  return character < 0xD800 || (character > 0xDFFF && character < 0xFFFE) ||
         (character > 0xFFFF && character <= 0x10FFFF);
}

// What ASCII characters are, looked up: nearly all of nearly all documents.
constexpr std::size_t kAscii = 0x80;
using AsciiKind = std::array<bool, kAscii>;

template <typename Test>
constexpr AsciiKind asciiKind(Test test) {
  AsciiKind kind = {};
  for (std::size_t i = 0; i < kAscii; ++i) kind[i] = test(static_cast<char32_t>(i));
  return kind;
}

constexpr AsciiKind kAsciiCharacter = asciiKind(isCharacter);
constexpr AsciiKind kAsciiNameStart = asciiKind([](char32_t character) { return isIn(kNameStart, character); });
constexpr AsciiKind kAsciiName =
    asciiKind([](char32_t character) { return isIn(kNameStart, character) || isIn(kNameFurther, character); });

bool isAscii(char c) { return static_cast<unsigned char>(c) < kAscii; }

bool isOf(const AsciiKind& kind, char c) { return isAscii(c) && kind[static_cast<unsigned char>(c)]; }

// Takes the ASCII characters of a kind off the front.
void skipAscii(std::string_view& text, const AsciiKind& kind) {
  std::size_t count = 0;
  while (count < text.size() && isOf(kind, text[count])) ++count;
  text.remove_prefix(count);
}

// Whether eight characters are all ASCII that XML has. The top bit of a sum of two bytes below 0x80 tells whether it
// reaches 0x80; none carries into the next byte.
constexpr std::size_t kEight = 8;
bool areAsciiCharacters(const char* eight) {
  constexpr std::uint64_t kEach = 0x0101010101010101U, kTops = kAscii * kEach;
  const auto differs = [](std::uint64_t bytes, char from) {
    return (bytes ^ static_cast<unsigned char>(from) * kEach) + (kAscii - 1) * kEach;
  };
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, eight, kEight);
  const std::uint64_t control = ~(bytes + (kAscii - ' ') * kEach);
  const std::uint64_t bad = control & differs(bytes, '\t') & differs(bytes, '\n') & differs(bytes, '\r');
  return ((bytes & kTops) | (bad & kTops)) == 0;
}

// Takes the ASCII characters that XML has off the front.
void skipAsciiCharacters(std::string_view& text) {
  while (text.size() >= kEight && areAsciiCharacters(text.data())) text.remove_prefix(kEight);
  skipAscii(text, kAsciiCharacter);
}

}  // namespace

bool isXmlCharacter(char32_t character) { return isCharacter(character); }

std::size_t firstNoXmlCharacter(std::string_view text) {
  std::string_view rest = text;
  for (skipAsciiCharacters(rest); !rest.empty(); skipAsciiCharacters(rest)) {
    const std::string_view before = rest;
    const char32_t character = takeUtf8(rest);
    const bool malformed = character == kReplacementCharacter && !before.starts_with("\xEF\xBF\xBD");
    if (malformed || !isXmlCharacter(character)) return text.size() - before.size();
  }
  return text.size();
}

std::size_t xmlNameLength(std::string_view text) {
  std::string_view rest = text;
  if (!text.empty() && isOf(kAsciiNameStart, text.front())) skipAscii(rest, kAsciiName);
  for (; !rest.empty(); skipAscii(rest, kAsciiName)) {
    const std::size_t length = text.size() - rest.size();
    if (isAscii(rest.front())) return length;  // what ends nearly all names
    const char32_t character = takeUtf8(rest);
    if (!isIn(kNameStart, character) && (length == 0 || !isIn(kNameFurther, character))) return length;
  }
  return text.size();
}

}  // namespace quelplatform

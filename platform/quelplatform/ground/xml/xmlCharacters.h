// The characters of XML 1.0.
#pragma once

#include <cstddef>
#include <string_view>

namespace quelplatform {

constexpr bool isXmlBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

/// True for what a document may hold, as itself or as a character reference.
bool isXmlCharacter(char32_t character);

/// Offset of the first byte in `text` that belongs to no such character in UTF-8; its size when there is none.
std::size_t firstNoXmlCharacter(std::string_view text);

/// Number of bytes that the name in front of `text` has; 0 when there is none. `text` is UTF-8.
std::size_t xmlNameLength(std::string_view text);

}  // namespace quelplatform

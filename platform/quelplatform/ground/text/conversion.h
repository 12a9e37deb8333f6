// Conversion between UTF-8 and UTF-16. Any input converts; nothing is thrown but std::bad_alloc.
#pragma once

#include <string>
#include <string_view>

namespace quelplatform {

/// Every malformed sequence of `utf8` (as much of it as could begin a character, at least one byte) gives one U+FFFD.
std::u16string utf16Of(std::string_view utf8);

/// A lone surrogate gives U+FFFD.
std::string utf8Of(std::u16string_view utf16);

}  // namespace quelplatform

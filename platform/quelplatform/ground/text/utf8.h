// UTF-8, a character at a time.
#pragma once

#include <string_view>

namespace quelplatform {

/// Takes one character off the front of `text`, which is not empty. A malformed sequence is taken up to where it broke
/// off, at least one byte, and gives U+FFFD.
char32_t takeUtf8(std::string_view& text);

}  // namespace quelplatform

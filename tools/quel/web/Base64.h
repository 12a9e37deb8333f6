// Bytes as text.
#pragma once

#include <string>
#include <string_view>

namespace queltool {

/// `bytes` in the alphabet A-Z a-z 0-9 + /, filled up with "=" to a multiple of four characters.
std::string base64(std::string_view bytes);

/// The bytes that pairs of hexadecimal digits stand for, in base64.
std::string base64OfHex(std::string_view hex);

}  // namespace queltool

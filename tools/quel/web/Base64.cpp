#include "web/Base64.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace queltool {

std::string base64(std::string_view bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    const std::size_t here = std::min<std::size_t>(3, bytes.size() - i);
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k) group = group << 8 | (k < here ? static_cast<unsigned char>(bytes[i + k]) : 0U);
    for (std::size_t k = 0; k < 4; ++k) text += k <= here ? kDigits[group >> (18 - 6 * k) & 63] : '=';
  }
  return text;
}

std::string base64OfHex(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    unsigned value = 0;
    std::from_chars(hex.data() + i, hex.data() + i + 2, value, 16);
    bytes += static_cast<char>(value);
  }
  return base64(bytes);
}

}  // namespace queltool

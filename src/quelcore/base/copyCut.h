// Copying text into a caller's buffer of a given size.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>

namespace quelcore {

/// Copies as much of `text` as `buffer` of `size` units holds with its NUL; nothing for a null buffer or a size
/// below 1. Returns the full length: the text was cut where that is not below `size`.
template <typename Unit>
std::int32_t copyCut(const std::basic_string<Unit>& text, Unit* buffer, std::int32_t size) {
  if (buffer != nullptr && size > 0) {
    const std::size_t length = std::min(text.size(), static_cast<std::size_t>(size) - 1);
    text.copy(buffer, length);
    buffer[length] = Unit{};
  }
  return static_cast<std::int32_t>(text.size());
}

}  // namespace quelcore

// Whole numbers of 16-bit text, whatever the locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace quelcore {

/// The number in decimal.
std::u16string decimalText(std::uint32_t value);

/// The number that the digits at the beginning of `text` make; 0 when there are none, and the largest number when it is
/// larger than that.
std::uint32_t leadingUnsigned(std::u16string_view text) noexcept;

}  // namespace quelcore

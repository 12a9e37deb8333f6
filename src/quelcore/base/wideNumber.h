// Blanks, digits and whole numbers of 16-bit text, whatever the locale.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quelcore {

/// The space and the five control characters from tab to carriage return.
constexpr bool isBlank(char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); }

constexpr bool isDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

/// The number in decimal.
std::u16string decimalText(std::uint32_t value);

/// The number that the digits at the beginning of `text` make; 0 when there are none, and the largest number when it is
/// larger than that.
std::uint32_t leadingUnsigned(std::u16string_view text) noexcept;

/// The number that a standard stream on `text` extracts into an unsigned variable: behind blanks an optional sign and
/// digits, a minus counting down from 2^32. Nothing where there are no digits or the number is larger than 32 bits.
std::optional<std::uint32_t> extractedUnsigned(std::u16string_view text) noexcept;

/// Whether all of `text`, blanks around it aside, is one decimal integer of 32 bits, signed or unsigned.
bool isWholeNumber(std::u16string_view text) noexcept;

/// Whether all of `text`, blanks around it aside, is one decimal number, however large.
bool isRealNumber(std::u16string_view text) noexcept;

}  // namespace quelcore

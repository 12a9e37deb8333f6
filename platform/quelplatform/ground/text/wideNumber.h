// Numbers at the beginning of 16-bit text, behind blanks. What follows them does not count, and no locale plays in.
#pragma once

#include <cstdint>
#include <string_view>

namespace quelplatform {

/// An optional sign and decimal digits, modulo 2^32; 0 when there are none.
std::uint32_t wrappedInteger(std::u16string_view text) noexcept;

/// As above, but the nearest 32-bit integer for one that is too large.
std::int32_t clampedInteger(std::u16string_view text) noexcept;

/// An optional sign, digits with at most one point among them, an optional exponent; correctly rounded, an infinity for
/// a number that is too large. 0 when there are no digits. Throws std::bad_alloc.
double decimalNumber(std::u16string_view text);

}  // namespace quelplatform

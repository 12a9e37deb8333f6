// Letters without regard to case, in 16-bit text.
#pragma once

#include <string_view>

namespace quelplatform {

/// The small letter of a unit by Unicode's simple mapping; any other unit, surrogates included, is itself.
char16_t lowerUnit(char16_t unit) noexcept;

/// The capital letter of a unit, likewise.
char16_t upperUnit(char16_t unit) noexcept;

/// Negative, 0 or positive: how `a` and `b` compare unit by unit in small letters.
int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept;

}  // namespace quelplatform

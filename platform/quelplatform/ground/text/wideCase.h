// Letters without regard to case, in 16-bit text.
#pragma once

#include <string_view>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelplatform {

/// The small letter of a unit by Unicode's simple mapping; any other unit, surrogates included, is itself.
qmWChar lowerUnit(qmWChar unit) noexcept;

/// The capital letter of a unit, likewise.
qmWChar upperUnit(qmWChar unit) noexcept;

/// Negative, 0 or positive: how `a` and `b` compare unit by unit in small letters.
int compareNoCase(std::u16string_view a, std::u16string_view b) noexcept;

}  // namespace quelplatform

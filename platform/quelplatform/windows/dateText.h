// Dates and times as people write them.
#pragma once

#include <optional>
#include <string_view>

#include "quelplatform/windows/dateNames.h"

namespace quelplatform {

/// The variant date (see dates.h) that `text` says; nothing when it says none. `currentYear` is that of dates without
/// one. Throws std::bad_alloc.
std::optional<double> variantDateOf(std::u16string_view text, const DateNames& names, int currentYear);

}  // namespace quelplatform

// Names against the patterns of a file search.
#pragma once

#include <string>
#include <string_view>

namespace quelplatform {

/// A pattern or a name with its letters as capitals, for `matchesPattern` and for the order of a listing.
std::u16string capitals(std::u16string_view text);

/// True when the name fits the pattern (see fileSearch.h), both in capitals. Time grows with the product of the
/// lengths.
bool matchesPattern(std::u16string_view pattern, std::u16string_view name);

}  // namespace quelplatform

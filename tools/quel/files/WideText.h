// Text of 16-bit units, as it stands in files.
#pragma once

#include <string>
#include <string_view>

namespace queltool {

/// The text whose units, without a mark, are these bytes, the high byte of each first or last. A byte that is over is
/// no text.
std::string utf8OfUnits(std::string_view bytes, bool highFirst);

/// The text of a file whose beginning says what it is: a mark of 16-bit units of either order, one of UTF-8, or none,
/// which is UTF-8 as well.
std::string utf8OfText(std::string_view bytes);

}  // namespace queltool

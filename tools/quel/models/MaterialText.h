// The bytes of a material file as text.
#pragma once

#include <string>
#include <string_view>

namespace queltool {

/// Whether they are 16-bit text with its mark, else UTF-8.
bool isWideText(std::string_view bytes);

/// The 16-bit text of a material file without its mark as UTF-8; the text of any other file as it is.
std::string utf8OfMaterials(std::string_view bytes);

}  // namespace queltool

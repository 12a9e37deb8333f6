// Text and values within a page.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "files/Json.h"
#include "models/Colour.h"

namespace queltool {

/// A line of a table of a page; both are text as people read it.
struct PageRow {
  std::string name;
  std::string value;
};

/// `text` between tags or in quotes: what means something to HTML is written out, and what is no UTF-8, or a control
/// character, becomes U+FFFD.
std::string escaped(std::string_view text);

/// JSON text between the tags of a script, where it can neither end the script nor begin a comment.
std::string jsonInScript(const Json& json);

/// A colour as HTML writes it: "#90ee90".
std::string hexColour(const Colour& colour);

/// The asset of that name with HTML in the place of each "{name}". Everything else stays, braces of the values
/// included.
std::string filledAsset(std::string_view name, const std::vector<std::pair<std::string_view, std::string>>& values);

/// A table of two columns under a caption; a paragraph that says so where there are no rows.
std::string tableOfRows(const std::string& caption, const std::vector<PageRow>& rows);

}  // namespace queltool

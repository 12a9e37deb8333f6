// Scripts, styles and notices that pages carry, built into the tool.
#pragma once

#include <string_view>

namespace queltool {

struct Asset {
  std::string_view name;    ///< "view.js"
  std::string_view text;    ///< UTF-8 whose lines end in line feeds.
  std::string_view sha256;  ///< Of `text`, 64 hexadecimal digits, computed when the tool was built.
};

/// The asset of that name, one of those that tools/quel/web/CMakeLists.txt lists.
const Asset& asset(std::string_view name);

}  // namespace queltool

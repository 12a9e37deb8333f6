// What `quel --version` tells.
#pragma once

#include <string>

namespace queltool {

/// The versions of the tool, whose own is `tool`, and of what it is made of, a line each.
std::string versionsOf(const std::string& tool);

}  // namespace queltool

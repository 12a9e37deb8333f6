// All commands of a program, each with the names that lead to it.
#pragma once

#include <functional>
#include <string>

#include "pages/CommandPage.h"

namespace queltool {

/// Calls `visit` for `command` and all below it. A place is "/trn/make", and empty for the program itself.
using Visit = std::function<void(const CommandPage& command, const std::string& place)>;

inline void walk(const CommandPage& command, const Visit& visit, const std::string& place = "") {
  visit(command, place);
  for (const CommandPage& below : command.commands) walk(below, visit, place + "/" + below.name);
}

}  // namespace queltool

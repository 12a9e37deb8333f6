// What the parser knows of a command, as a page.
#pragma once

#include <string>

#include "commands/CommandLine.h"

namespace queltool {

/// The page of `command` with those of the commands below it. `name` is its name with those above it.
CommandPage pageOf(const CLI::App& command, const std::string& name, const ValuesOfOptions& values);

}  // namespace queltool

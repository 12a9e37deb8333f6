// The commands that make files to try other commands with.
#pragma once

#include "commands/CommandLine.h"

namespace queltool {

/// The kinds whose file is one text.
enum class Example { Cameras, Corrections, Materials, GlobalMaterials, Operations };

/// Adds the command `name` below `command`, which makes a file of that kind.
void addExample(Command& command, Example kind, const char* name);

}  // namespace queltool

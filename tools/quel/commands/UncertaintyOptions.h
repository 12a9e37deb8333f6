// The options of commands that tell how well a head measures.
#pragma once

#include "commands/CommandLine.h"
#include "models/UncertaintyRun.h"

namespace queltool {

/// Adds `--noise`, `--fit`, `--reference` and `--size`.
void addUncertainty(Command& command, UncertaintyArguments& arguments);

}  // namespace queltool

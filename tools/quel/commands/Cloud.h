// The options of the commands that take a table of points or pixels.
#pragma once

#include <string>

#include "commands/CommandLine.h"

namespace queltool {

/// The cloud that a command reads, by the name `name`, and which columns of a text it is.
void addCloud(Command& command, const std::string& name, InputFile& file);

/// Which columns of a text are taken instead of `usual`, which are `count`.
void addColumns(Command& command, InputFile& file, int count, const std::string& usual);

}  // namespace queltool

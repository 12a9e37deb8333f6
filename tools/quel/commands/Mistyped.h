// What a wrong command line may have meant.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace queltool {

/// What is wrong with the arguments that `program` could not take, as `error` says, and the command or option that is
/// nearest to one that there is none of.
std::string wordsOn(const CLI::App& program, const CLI::ParseError& error);

}  // namespace queltool

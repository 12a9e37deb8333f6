// What shells need to complete the lines of a program: its commands, its options and what they take.
#pragma once

#include <string>

#include "pages/CommandPage.h"

namespace queltool {

/// A script for each shell, which defines the completion of `program` when it is read.
std::string bashCompletionOf(const CommandPage& program);
std::string zshCompletionOf(const CommandPage& program);
std::string fishCompletionOf(const CommandPage& program);

}  // namespace queltool

// Manual pages from what there is to tell of commands.
#pragma once

#include <string>

#include "pages/CommandPage.h"

namespace queltool {

/// The manual page of the program, in the language of man(7). `version` stands at its foot.
std::string manPageOf(const CommandPage& program, const std::string& version);

/// That of one of its commands, with the commands below it.
std::string manPageOf(const CommandPage& program, const CommandPage& command, const std::string& version);

}  // namespace queltool

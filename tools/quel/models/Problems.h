// What the library's last reading on this thread has to tell: why a file could not be read, and what was read otherwise
// than it seems to stand there.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "files/Failure.h"

namespace queltool {

/// The problem in one line that begins with the file; empty when there was none.
std::string lastProblem();

/// As many remarks as the library keeps; there may have been more.
inline constexpr std::size_t kMostRemarks = 8;

/// The remarks, each in one line that begins with the file.
std::vector<std::string> lastRemarks();

/// Warns of the remarks on the standard error stream; who shows what was read owes that to whoever looks at it.
void tellRemarks();

/// The failure of a reading: its problem, or, where the reader left none, that `file` cannot be read.
Failure unreadable(const std::filesystem::path& file);

}  // namespace queltool

// Where the demonstration data lies.
#pragma once

#include <filesystem>
#include <string>

namespace queltool {

/// `given` if it is not empty; else the first folder that holds the data: the installed one, found from the executable,
/// then the source tree that this tool was built from. Throws `Failure` when there is none.
std::filesystem::path dataFolder(const std::string& given);

}  // namespace queltool

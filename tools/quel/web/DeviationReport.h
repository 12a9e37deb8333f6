// A cloud against its nominal as a page for a browser.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "models/DeviationRun.h"

namespace queltool {

/// The page names the head of `block`, a tensor file, unless that is empty. `notes` are told behind those that the run
/// makes itself. Throws `Failure`.
void writeDeviationReport(const std::filesystem::path& file, const DeviationRun& run,
                          const std::filesystem::path& block = {}, const std::vector<std::string>& notes = {});

}  // namespace queltool

// The shipped scan against a nominal that is made of it.
#pragma once

#include <filesystem>
#include <vector>

#include "models/DeviationRun.h"

namespace queltool {

/// Writes the nominal of `scan`, which was read from `file`, to `nominal`, and compares the scan with it. Throws
/// `Failure`.
DeviationRun runDeviations(const std::vector<Vec3>& scan, const std::filesystem::path& file,
                           const std::filesystem::path& nominal);

/// What a page of it must tell.
std::vector<std::string> notesOnNominal();

}  // namespace queltool

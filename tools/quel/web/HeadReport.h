// A block as a page for a browser.
#pragma once

#include <filesystem>

#include "models/UncertaintyRun.h"

namespace queltool {

/// Of the block whose tensor file is `block`. A head that cannot measure, or not as it is asked for, has a page as
/// well, which says why. Throws `Failure` where the block cannot be loaded, or the page not be written.
void writeHeadReport(const std::filesystem::path& file, const std::filesystem::path& block,
                     const UncertaintyArguments& asked = {});

}  // namespace queltool

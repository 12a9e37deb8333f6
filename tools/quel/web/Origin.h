// What stands behind a page that the tool makes.
#pragma once

#include <filesystem>
#include <vector>

#include "quelcore/records/qmReconsTensorData.h"
#include "web/DeviationPage.h"

namespace queltool {

/// The command as it was typed, and the versions of the tool and its parts.
std::vector<PageRow> originOfPage();

/// The identity of the head of a block whose tensor file is `file`.
std::vector<PageRow> identityOf(const std::filesystem::path& file, const tag_qmReconsTensorData& head);

}  // namespace queltool

// Calibration blocks on disk, as the subcommands make and load them. Everything here throws `Failure`.
#pragma once

#include <filesystem>
#include <memory>

#include "headmaker/Head.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// Stores `head` in `folder` under the name of its identity, with the LUT file if it has LUTs. An existing block stays
/// unless `overwrite`. Returns the path of the tensor file.
std::filesystem::path storeBlock(const headmaker::Head& head, const std::filesystem::path& folder, bool overwrite);

/// Loads the block whose tensor file is `file`, with its LUTs.
std::unique_ptr<QmReconsTensor> loadBlock(const std::filesystem::path& file);

}  // namespace queltool

// Calibration blocks on disk, as the subcommands make and load them. Everything here throws `Failure`.
#pragma once

#include <filesystem>
#include <memory>

#include "quel/head/BlockFiles.h"
#include "quel/head/Head.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

using quel::lutsBeside;
using quel::usesLuts;

/// Stores `head` in `folder` under the name of its identity, with the LUT file if it has LUTs, as one: a failure leaves
/// what was there. An existing block stays unless `overwrite`. Returns the path of the tensor file.
std::filesystem::path storeBlock(const quel::Head& head, const std::filesystem::path& folder, bool overwrite);

/// `quel::replaceBlock`, which no signal disturbs.
void replaceBlock(const quel::BlockFiles& from, const quel::BlockFiles& to);

/// Loads the head of the block whose tensor file is `file`, with its LUTs. Refuses LUTs that were stored with another
/// tensor file.
quel::Head loadHead(const std::filesystem::path& file);

/// The same as an object of the fixed interface.
std::unique_ptr<QmReconsTensor> loadBlock(const std::filesystem::path& file);

}  // namespace queltool

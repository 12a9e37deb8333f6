// Calibration blocks on disk, as the subcommands make and load them. Everything here throws `Failure`.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "quel/cameras/HeadMaker.h"
#include "quelcore/tensor/QmReconsTensor.h"

namespace queltool {

/// Stores `head` in `folder` under the name of its identity, with the LUT file if it has LUTs, as one: a failure leaves
/// what was there. An existing block stays unless `overwrite`. Returns the path of the tensor file.
std::filesystem::path storeBlock(const quel::MadeHead& head, const std::filesystem::path& folder, bool overwrite);

/// Where `storeBlock` puts the tensor file and the LUT file of a block.
struct BlockPaths {
  std::filesystem::path tensor;
  std::filesystem::path luts;
};

BlockPaths pathsOfBlock(const std::filesystem::path& folder, const std::string& machineId, std::int32_t number);

/// Whether a camera of `head` takes its distortion from a LUT.
bool usesLuts(const tag_qmReconsTensorData& head);

/// Where the LUT file of the block whose tensor file is `file` lies.
std::filesystem::path lutsBeside(const std::filesystem::path& file, const tag_qmReconsTensorData& head);

/// Puts the tensor file `from` in the place of `to`, with a copy of the LUT file `fromLuts` in that of `toLuts` that
/// bears the new tensor file's stamp; no LUT file where those paths are empty. A failure leaves what was there.
void replaceBlock(const std::filesystem::path& from, const std::filesystem::path& fromLuts,
                  const std::filesystem::path& to, const std::filesystem::path& toLuts);

/// Loads the block whose tensor file is `file`, with its LUTs. Refuses LUTs that were stored with another tensor file.
std::unique_ptr<QmReconsTensor> loadBlock(const std::filesystem::path& file);

}  // namespace queltool

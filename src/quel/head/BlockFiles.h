// The files of a calibration block: a tensor file (.tns), and a LUT file (.lut) where its head has LUTs.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "quel/base/Result.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace quel {

#pragma GCC visibility push(default)

struct BlockFiles {
  std::filesystem::path tensor;
  std::filesystem::path luts;  ///< Empty where there is none.
};

/// Where the block `number` of a machine lies in `folder`. Only the first 8 characters of the machine count.
BlockFiles filesOfBlock(const std::filesystem::path& folder, const std::string& machineId, std::int32_t number);

/// Whether a camera of `head` takes its distortion from a LUT.
bool usesLuts(const tag_qmReconsTensorData& head);

/// Where the LUT file of the block whose tensor file is `file` lies, be it there or not.
std::filesystem::path lutsBeside(const std::filesystem::path& file, const tag_qmReconsTensorData& head);

/// Puts the tensor file `from.tensor` in the place of `to.tensor`, with a copy of the LUT file `from.luts`, unless that
/// is empty, in the place of `to.luts` that bears the new tensor file's stamp. A failure, or a stop, leaves what was
/// there.
Result<void> replaceBlock(const BlockFiles& from, const BlockFiles& to);

#pragma GCC visibility pop

}  // namespace quel

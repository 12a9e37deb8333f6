// The names by which calibration blocks and their files go.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "quel/base/Result.h"

namespace quel {

#pragma GCC visibility push(default)

/// What belongs to the block of a machine by name.
struct BlockNames {
  std::string block;      ///< Such as "QUEL0001-1"; with a tile "QUEL0001-1-2".
  std::string file;       ///< Of the tensor file: "QUEL0001-1.tns".
  std::string lutFile;    ///< "QUEL0001-1.lut"; tiles of a block share it.
  std::string lutPrefix;  ///< With which the identifiers of the block's LUTs begin.
};

/// The names of block `number` of the machine `machineId`; `tile` 0 is the block itself. Fails when `machineId` has not
/// 1 to 8 characters or holds a NUL.
Result<BlockNames> blockNames(std::string_view machineId, std::int32_t number, std::int32_t tile = 0);

#pragma GCC visibility pop

}  // namespace quel

// What `quel info` tells people of a block.
#pragma once

#include <vector>

#include "models/Health.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// Prints every group of the tensor and the findings of its checks.
void printBlock(const tag_qmReconsTensorData& tensor, const std::vector<Check>& checks);

}  // namespace queltool

// A block as JSON, with every number in full.
#pragma once

#include <vector>

#include "files/Json.h"
#include "models/Health.h"
#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// What a block says, and the findings of its checks.
Json jsonOfBlock(const tag_qmReconsTensorData& tensor, const std::vector<Check>& checks);

}  // namespace queltool

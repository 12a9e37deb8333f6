// Which head it is, as people read it.
#pragma once

#include <string>

#include "quelcore/records/qmReconsTensorData.h"

namespace queltool {

/// The machine of the block, '?' for what cannot be printed.
std::string machineOf(const tag_qmReconsTensorData& tensor);

/// The name of the type of its cameras.
std::string typeOf(const tag_qmReconsTensorData& tensor);

}  // namespace queltool

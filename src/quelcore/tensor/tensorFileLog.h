// The log of the module that reads and writes tensor files.
#pragma once

#include "quelcore/base/ModuleLog.h"

namespace quelcore {

inline constexpr ModuleLog kTensorFileLog{"QmReconsTensorIO"};

}  // namespace quelcore

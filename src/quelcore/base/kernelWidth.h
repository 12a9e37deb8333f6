// The width of the kernels that this process uses.
#pragma once

#include "quelkernels/widths.h"

namespace quelcore {

/// What QUEL_KERNELS asks for, else the widest that the machine runs. Decided by the first call; a name that is
/// unknown, or that the machine does not run, leaves one line in the log.
quelkernels::Width kernelWidth();

/// The kernel of that width.
template <typename Function>
Function* kernel(const quelkernels::Kernel<Function>& kernel) {
  return kernel.at(kernelWidth());
}

}  // namespace quelcore

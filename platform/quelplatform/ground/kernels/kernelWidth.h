// The width of the platform's kernels.
#pragma once

#include <cstdlib>

#include "quelkernels/widths.h"

namespace quelplatform {

/// What QUEL_KERNELS asks for where that can be run, else the widest that the machine runs. Decided by the first call.
inline quelkernels::Width kernelWidth() {
  static const quelkernels::Width width = [] {
    const char* const name = std::getenv(quelkernels::kWidthVariable);
    return quelkernels::runnableWidth(name == nullptr ? "" : name).value_or(quelkernels::widest());
  }();
  return width;
}

/// The kernel of that width.
template <typename Function>
Function* kernel(const quelkernels::Kernel<Function>& kernel) {
  return kernel.at(kernelWidth());
}

}  // namespace quelplatform

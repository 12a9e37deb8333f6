// Kernel: pixels copied to where nobody reads them soon, past the caches.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelcore {

/// Copies `count` pixels. Wherever `to` lies, the bytes are those of a plain copy.
using CopyPixelsAround = void(const double (*from)[2], std::int64_t count, double (*to)[2]);

QUEL_DECLARE_KERNEL(CopyPixelsAround, copyPixelsAround)

inline constexpr quelkernels::Kernel<CopyPixelsAround> kCopyPixelsAround = QUEL_KERNEL_OF(copyPixelsAround);

}  // namespace quelcore

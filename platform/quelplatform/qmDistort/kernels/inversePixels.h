// Kernels: the pixels that the lens polynomial takes to given ones.
#pragma once

#include "quelplatform/qmDistort/kernels/polynomialPixels.h"

namespace quelplatform {

/// out[n] = the unfolded pixel that the polynomial takes to in[n], by the steps and to the bits of the single inverse.
/// Only the usual way is gone here: every step shrinks what is missed, down to `tolerance`, and one look proves the
/// pixel unfolded. `found[n]` tells where that was so; elsewhere `out` is untouched, and the single inverse has the
/// word.
using InversePixels = void(const LensModel& model, double tolerance, const double (*in)[2], std::int64_t count,
                           double (*out)[2], std::uint8_t* found);

QUEL_DECLARE_KERNEL(InversePixels, inversePixels)

inline constexpr quelkernels::Kernel<InversePixels> kInversePixels = QUEL_KERNEL_OF(inversePixels);

}  // namespace quelplatform

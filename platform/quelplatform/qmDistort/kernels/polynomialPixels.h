// Kernel: the lens polynomial at many pixels.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelplatform {

/// The coefficients of `tag_qmDistortParams`.
struct LensModel {
  double k1, k2, k3;
  double p1, p2;
  double xp, yp;
  double distortExtra[5];
};

/// What becomes of a pixel whose result is not finite.
enum class NotFinite { Stays, IsWritten };

/// out[n] = the polynomial at in[n], for `count` pixels; `succeeded[n]`, unless null, tells whether it is finite. `in`
/// and `out` may be the same. Returns how many are not finite.
using PolynomialPixels = std::int64_t(const LensModel& model, const double (*in)[2], std::int64_t count,
                                      double (*out)[2], std::uint8_t* succeeded, NotFinite rule);

QUEL_DECLARE_KERNEL(PolynomialPixels, polynomialPixels)

inline constexpr quelkernels::Kernel<PolynomialPixels> kPolynomialPixels = QUEL_KERNEL_OF(polynomialPixels);

}  // namespace quelplatform

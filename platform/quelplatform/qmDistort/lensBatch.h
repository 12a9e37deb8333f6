// What calls for many pixels share.
#pragma once

#include "quelplatform/ground/kernels/kernelWidth.h"
#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/kernels/inversePixels.h"

namespace quelplatform {

LensModel lensOf(const tag_qmDistortParams& params);

/// A call for one pixel, such as `qmDistortDistortOnePt`.
using OnePixel = std::int32_t(const double in[2], const tag_qmDistortParams* params, const float* depth,
                              double out[2]) noexcept;

/// That call for each of `count` pixels. Returns how many failed; `succeeded` may be null.
std::int64_t oneByOne(OnePixel call, const tag_qmDistortParams& params, const double (*in)[2], const float* depths,
                      std::int64_t count, double (*out)[2], std::uint8_t* succeeded);

/// The same for a call that inverts the polynomial of a model without LUTs: by the kernel where that finds the pixel,
/// by the call elsewhere.
std::int64_t inversePixels(OnePixel call, const tag_qmDistortParams& params, const double (*in)[2], std::int64_t count,
                           double (*out)[2], std::uint8_t* succeeded);

/// Every pixel of a call fails. Returns how many these are.
std::int64_t allFailed(std::int64_t count, std::uint8_t* succeeded);

}  // namespace quelplatform

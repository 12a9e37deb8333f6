#include "quelplatform/qmDistort/qmDistortBatch.h"

#include <algorithm>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/kernelWidth.h"
#include "quelplatform/qmDistort/kernels/polynomialPixels.h"

using namespace quelplatform;

namespace {

LensModel lensOf(const tag_qmDistortParams& params) {
  const double* e = params.distortExtra;
  return {params.k1, params.k2, params.k3, params.p1, params.p2, params.xp, params.yp, {e[0], e[1], e[2], e[3], e[4]}};
}

using DistortOne = std::int32_t(const double[2], const tag_qmDistortParams*, const float*, double[2]) noexcept;

std::int64_t oneByOne(DistortOne distort, const double (*in)[2], const tag_qmDistortParams& params, const float* depths,
                      std::int64_t count, double (*out)[2], std::uint8_t* succeeded) {
  std::int64_t failed = 0;
  for (std::int64_t n = 0; n < count; ++n) {
    const std::int32_t result = distort(in[n], &params, depths == nullptr ? nullptr : depths + n, out[n]);
    if (succeeded != nullptr) succeeded[n] = static_cast<std::uint8_t>(result);
    if (result == 0) ++failed;
  }
  return failed;
}

std::int64_t allFailed(std::int64_t count, std::uint8_t* succeeded) {
  if (count <= 0) return 0;
  if (succeeded != nullptr) std::fill_n(succeeded, count, std::uint8_t{0});
  return count;
}

bool isClosedForm(const tag_qmDistortParams& params) {
  return params.luts == nullptr && params.distortOption != kPolynomialMapsDistortedToIdeal;
}

}  // namespace

std::int64_t qmDistortDistortPts(const double (*in)[2], const tag_qmDistortParams* params, const float* depths,
                                 std::int64_t count, double (*out)[2], std::uint8_t* succeeded) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return allFailed(count, succeeded);
  if (isClosedForm(*params)) {
    return kernel(kPolynomialPixels)(lensOf(*params), in, count, out, succeeded, NotFinite::Stays);
  }
  return oneByOne(qmDistortDistortOnePt, in, *params, depths, count, out, succeeded);
}

std::int64_t qmDistortDistortPtsFast(const double (*in)[2], const tag_qmDistortParams* params, const float* depths,
                                     std::int64_t count, double (*out)[2], std::uint8_t* succeeded) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return allFailed(count, succeeded);
  if (isClosedForm(*params)) {
    return kernel(kPolynomialPixels)(lensOf(*params), in, count, out, succeeded, NotFinite::IsWritten);
  }
  return oneByOne(qmDistortDistortOnePtFast, in, *params, depths, count, out, succeeded);
}

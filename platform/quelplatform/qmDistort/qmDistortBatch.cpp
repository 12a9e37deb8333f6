#include "quelplatform/qmDistort/qmDistortBatch.h"

#include <algorithm>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/LutLookup.h"
#include "quelplatform/qmDistort/kernelWidth.h"
#include "quelplatform/qmDistort/kernels/lutPixels.h"
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

bool isClosedForm(const tag_qmDistortParams& params) { return params.distortOption != kPolynomialMapsDistortedToIdeal; }

LutView viewOf(const tag_qmDistortLuts& luts) {
  const qmImageRecord& shape = luts.tables[0][0];
  return {{luts.tables[0], luts.tables[1]},
          shape.width,
          shape.height,
          luts.tableCount,
          luts.referenceLayer,
          {luts.gridOrigin[0], luts.gridOrigin[1]},
          {luts.gridPitch[0], luts.gridPitch[1]},
          luts.layerDepths,
          kNoLutValue};
}

bool isForKernels(const tag_qmDistortLuts& luts) {
  return luts.tables[0] != nullptr && luts.tables[1] != nullptr && luts.tableCount > 0 &&
         luts.tableCount <= kMostLutLayers;
}

/// Many pixels through the polynomial in closed form and a LUT set, a block at a time.
std::int64_t throughLuts(quelkernels::Kernel<InterpolatedLutPixels> lookUp, const tag_qmDistortParams& params,
                         const double (*in)[2], const float* depths, std::int64_t count, double (*out)[2],
                         std::uint8_t* succeeded) {
  constexpr std::int64_t kBlock = 256;
  double polynomial[kBlock][2];
  const LensModel lens = lensOf(params);
  const LutView luts = viewOf(*params.luts);
  std::int64_t failed = 0;
  for (std::int64_t n = 0; n < count; n += kBlock) {
    const std::int64_t block = std::min(kBlock, count - n);
    kernel(kPolynomialPixels)(lens, in + n, block, polynomial, nullptr, NotFinite::IsWritten);
    failed += kernel(lookUp)(luts, {in + n, depths == nullptr ? nullptr : depths + n, polynomial, block, out + n,
                                    succeeded == nullptr ? nullptr : succeeded + n});
  }
  return failed;
}

}  // namespace

std::int64_t qmDistortDistortPts(const double (*in)[2], const tag_qmDistortParams* params, const float* depths,
                                 std::int64_t count, double (*out)[2], std::uint8_t* succeeded) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return allFailed(count, succeeded);
  if (isClosedForm(*params) && params->luts == nullptr) {
    return kernel(kPolynomialPixels)(lensOf(*params), in, count, out, succeeded, NotFinite::Stays);
  }
  if (isClosedForm(*params) && isForKernels(*params->luts)) {
    return throughLuts(kInterpolatedLutPixels, *params, in, depths, count, out, succeeded);
  }
  return oneByOne(qmDistortDistortOnePt, in, *params, depths, count, out, succeeded);
}

std::int64_t qmDistortDistortPtsFast(const double (*in)[2], const tag_qmDistortParams* params, const float* depths,
                                     std::int64_t count, double (*out)[2], std::uint8_t* succeeded) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return allFailed(count, succeeded);
  if (isClosedForm(*params) && params->luts == nullptr) {
    return kernel(kPolynomialPixels)(lensOf(*params), in, count, out, succeeded, NotFinite::IsWritten);
  }
  if (isClosedForm(*params) && isForKernels(*params->luts)) {
    return throughLuts(kNearestLutPixels, *params, in, depths, count, out, succeeded);
  }
  return oneByOne(qmDistortDistortOnePtFast, in, *params, depths, count, out, succeeded);
}

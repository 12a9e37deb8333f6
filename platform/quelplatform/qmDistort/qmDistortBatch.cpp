#include "quelplatform/qmDistort/qmDistortBatch.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmDistort/LutLookup.h"
#include "quelplatform/qmDistort/kernels/lutPixels.h"
#include "quelplatform/qmDistort/lensBatch.h"

using namespace quelplatform;

namespace {

bool isClosedForm(const tag_qmDistortParams& params) { return params.distortOption != kPolynomialMapsDistortedToIdeal; }

/// 1 / `pitch` where it is a power of two whose inverse is a normal number, else 0.
double exactInverse(double pitch) {
  int exponent = 0;
  const bool isPowerOfTwo = std::frexp(pitch, &exponent) == 0.5;
  return isPowerOfTwo && exponent > -1000 && exponent < 1000 ? 1.0 / pitch : 0.0;
}

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
          kNoLutValue,
          {exactInverse(luts.gridPitch[0]), exactInverse(luts.gridPitch[1])}};
}

bool isForKernels(const tag_qmDistortLuts& luts) {
  return luts.tables[0] != nullptr && luts.tables[1] != nullptr && luts.tableCount > 0 &&
         luts.tableCount <= kMostLutLayers && luts.tables[0][0].width > 0 && luts.tables[0][0].height > 0;
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
  if (params->luts == nullptr) {
    if (!isClosedForm(*params)) return inversePixels(qmDistortDistortOnePt, *params, in, count, out, succeeded);
    return kernel(kPolynomialPixels)(lensOf(*params), in, count, out, succeeded, NotFinite::Stays);
  }
  if (isClosedForm(*params) && isForKernels(*params->luts)) {
    return throughLuts(kInterpolatedLutPixels, *params, in, depths, count, out, succeeded);
  }
  return oneByOne(qmDistortDistortOnePt, *params, in, depths, count, out, succeeded);
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
  return oneByOne(qmDistortDistortOnePtFast, *params, in, depths, count, out, succeeded);
}

#include "quelplatform/qmDistort/kernels/polynomialPixels.h"

#include "quelkernels/Pack.h"
#include "quelplatform/qmDistort/kernels/LensFormula.h"

namespace quelplatform::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

QUEL_INLINE PackOf2 polynomialAt(const LensModel& model, PackOf2 p) {
  const LensOffset<Pack> o = lensOffset(model, p.x, p.y);
  const LensPixel<Pack> q = lensPolynomial(model, o, lensRadialSum(model, o.r2), p.x, p.y);
  return {q.x, q.y};
}

/// The first pixels, as many as `wanted` has bits, lane by lane. Returns how many are not finite.
QUEL_INLINE std::int64_t evaluateSome(const LensModel& model, const double (*in)[2], unsigned wanted, double (*out)[2],
                                      std::uint8_t* succeeded, NotFinite rule) {
  const PackOf2 q = polynomialAt(model, loadFirstPixels(in, wanted));
  const unsigned finite = bitsOf(isFinite(q.x) & isFinite(q.y)) & wanted;
  if (succeeded != nullptr) noteLanes(succeeded, finite, wanted);
  storePixelsWhere(rule == NotFinite::Stays ? finite : wanted, out, q);
  return __builtin_popcount(wanted & ~finite);
}

}  // namespace

std::int64_t polynomialPixels(const LensModel& model, const double (*in)[2], std::int64_t count, double (*out)[2],
                              std::uint8_t* succeeded, NotFinite rule) {
  std::int64_t failed = 0;
  std::int64_t n = 0;
  for (; n + kLanes <= count; n += kLanes) {
    std::uint8_t* const notes = succeeded == nullptr ? nullptr : succeeded + n;
    const PackOf2 q = polynomialAt(model, loadPixelsSplit(in + n));
    if (bitsOf((q.x - q.x) + (q.y - q.y) == Pack{}) != kAllLanes) {  // what is not finite is no number here
      failed += evaluateSome(model, in + n, kAllLanes, out + n, notes, rule);
      continue;
    }
    storePixelsSplit(out + n, q);
    if (notes != nullptr) noteLanes(notes, kAllLanes, kAllLanes);
  }
  if (n >= count) return failed;
  return failed + evaluateSome(model, in + n, firstLanes(count - n), out + n,
                               succeeded == nullptr ? nullptr : succeeded + n, rule);
}

}  // namespace quelplatform::QUEL_WIDTH

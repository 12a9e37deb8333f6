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

QUEL_INLINE void note(std::uint8_t* succeeded, unsigned finite, unsigned wanted) {
  for (int n = 0; succeeded != nullptr && n < kLanes && (wanted >> n & 1U) != 0; ++n) {
    succeeded[n] = static_cast<std::uint8_t>(finite >> n & 1U);
  }
}

}  // namespace

std::int64_t polynomialPixels(const LensModel& model, const double (*in)[2], std::int64_t count, double (*out)[2],
                              std::uint8_t* succeeded, NotFinite rule) {
  std::int64_t failed = 0;
  for (std::int64_t n = 0; n < count; n += kLanes) {
    const unsigned wanted = firstLanes(count - n);
    const PackOf2 q = polynomialAt(model, wanted == kAllLanes ? loadPixels(in + n) : loadFirstPixels(in + n, wanted));
    const unsigned finite = bitsOf(isFinite(q.x) & isFinite(q.y)) & wanted;
    note(succeeded == nullptr ? nullptr : succeeded + n, finite, wanted);
    failed += __builtin_popcount(wanted & ~finite);
    const unsigned written = rule == NotFinite::Stays ? finite : wanted;
    if (written == kAllLanes) {
      storePixels(out + n, q);
    } else {
      storePixelsWhere(written, out + n, q);
    }
  }
  return failed;
}

}  // namespace quelplatform::QUEL_WIDTH

#include "quelplatform/qmDistort/kernels/inversePixels.h"

#include "quelkernels/Pack.h"
#include "quelplatform/qmDistort/kernels/FoldFormula.h"

namespace quelplatform::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

/// As many steps as the single inverse takes; the usual way needs a few.
constexpr int kMostSteps = 50;

/// A pack of pixels on their way.
struct Search {
  PackOf2 target;
  PackOf2 pixel;  // tried now
  PackOf2 best;
  Pack missed;  // the larger component of what `best` misses the target by
  Mask active;
  Mask failed;  // left the usual way
};

QUEL_INLINE void begin(Search& s, PackOf2 target) {
  const Pack none = {};
  s = {target, target, target, everyLane(__builtin_inf()), none == none, none != none};
}

QUEL_INLINE void step(Search& s, const LensModel& model, Pack tolerance) {
  const LensOffset<Pack> offset = lensOffset(model, s.pixel.x, s.pixel.y);
  const Pack sum = lensRadialSum(model, offset.r2);
  const LensPixel<Pack> reached = lensPolynomial(model, offset, sum, s.pixel.x, s.pixel.y);
  const PackOf2 residual = {s.target.x - reached.x, s.target.y - reached.y};
  const Pack missed = larger(magnitude(residual.y), magnitude(residual.x));
  const Mask improved = s.active & (missed < s.missed) & isFinite(residual.x) & isFinite(residual.y);
  s.failed |= s.active & ~improved & ~(s.missed <= tolerance);
  s.best.x = select(improved, s.pixel.x, s.best.x);
  s.best.y = select(improved, s.pixel.y, s.best.y);
  s.missed = select(improved, missed, s.missed);
  const LensJacobian<Pack> j = lensJacobian(model, offset, sum);
  const Pack determinant = j.xx * j.yy - j.xy * j.yx;
  s.active = improved & (missed > Pack{});
  s.failed |= s.active & ~(determinant > Pack{});
  s.active &= ~s.failed;
  s.pixel.x = s.pixel.x + (j.yy * residual.x - j.xy * residual.y) / determinant;
  s.pixel.y = s.pixel.y + (j.xx * residual.y - j.yx * residual.x) / determinant;
}

/// Two packs take their steps side by side: one waits for its divisions while the other works.
QUEL_INLINE void findPixels(Search& a, Search& b, const LensModel& model, double tolerance) {
  for (int n = 0; n <= kMostSteps; ++n) {
    step(a, model, everyLane(tolerance));
    step(b, model, everyLane(tolerance));
    if (bitsOf(a.active | b.active) == 0) break;
  }
  a.failed |= a.active;
  b.failed |= b.active;
}

/// Where one look proves the whole way from the principal point unfolded.
QUEL_INLINE Mask isUnfolded(const LensModel& model, PackOf2 pixel) {
  const Pack x = pixel.x - model.xp, y = pixel.y - model.yp;
  const Pack length = squareRoot(x * x + y * y);
  const RayJacobian<Pack> ray(model, x / length, y / length);
  return (length > Pack{}) & ray.isPositiveBetween(Pack{}, length);
}

/// Writes what was found, and where.
QUEL_INLINE void finish(const Search& s, const LensModel& model, double tolerance, unsigned wanted, double (*out)[2],
                        std::uint8_t* found) {
  const Mask met = ~s.failed & (s.missed <= everyLane(tolerance));
  const unsigned done = bitsOf(met & isUnfolded(model, s.best)) & wanted;
  if (done == kAllLanes) {
    storePixels(out, s.best);
  } else {
    storePixelsWhere(done, out, s.best);
  }
  noteLanes(found, done, wanted);
}

}  // namespace

void inversePixels(const LensModel& model, double tolerance, const double (*in)[2], std::int64_t count,
                   double (*out)[2], std::uint8_t* found) {
  for (std::int64_t n = 0; n < count; n += 2 * kLanes) {
    const unsigned first = firstLanes(count - n);
    const unsigned second = count - n > kLanes ? firstLanes(count - n - kLanes) : 0;
    Search a, b;
    begin(a, loadSomePixels(in + n, first));
    begin(b, second == 0 ? a.target : loadSomePixels(in + n + kLanes, second));
    findPixels(a, b, model, tolerance);
    finish(a, model, tolerance, first, out + n, found + n);
    if (second != 0) finish(b, model, tolerance, second, out + n + kLanes, found + n + kLanes);
  }
}

}  // namespace quelplatform::QUEL_WIDTH

#include "quelcore/tensor/kernels/pinholePixels.h"

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

QUEL_INLINE Pack rowTimes(const double row[4], PackOf3 p) {
  return ((row[0] * p.x + row[1] * p.y) + row[2] * p.z) + row[3];
}

QUEL_INLINE PackOf3 loadBlock(const PointBlock& points, std::int64_t n) {
  return {load(points.x + n), load(points.y + n), load(points.z + n)};
}

}  // namespace

std::int64_t pinholePixels(const double P[4][4], const PointBlock& points, std::int64_t count, double (*pixels)[2]) {
  std::int64_t onPlane = 0;
  for (std::int64_t n = 0; n < count; n += kLanes) {
    const PackOf3 p = loadBlock(points, n);
    const Pack w = rowTimes(P[2], p);
    const PackOf2 pixel = {rowTimes(P[0], p) / w, rowTimes(P[1], p) / w};
    const unsigned wanted = firstLanes(count - n);
    const unsigned missed = bitsOf(w == Pack{}) & wanted;
    if (missed == 0 && wanted == kAllLanes) {
      storePixels(pixels + n, pixel);
    } else {
      storePixelsWhere(wanted & ~missed, pixels + n, pixel);
      onPlane += __builtin_popcount(missed);
    }
  }
  return onPlane;
}

}  // namespace quelcore::QUEL_WIDTH

#include "quelcore/tensor/kernels/pinholePixels.h"

#include "quelcore/tensor/kernels/motionPack.h"

namespace quelcore::QUEL_WIDTH {

namespace {

/// A pack of pixels of one camera, with what they were divided by.
struct PixelPack {
  PackOf2 pixel;
  Pack w;
};

/// The view with its matrices spread over the lanes.
struct ViewPack {
  MatrixPack motion;
  MatrixPack projections[3];
};

QUEL_INLINE PixelPack projected(const MatrixPack& P, PackOf3 q) {
  const PackOf3 uvw = times(P, q);
  return {{uvw.x / uvw.z, uvw.y / uvw.z}, uvw.z};
}

/// The first points, as many as `wanted` has bits, lane by lane.
QUEL_INLINE std::int64_t projectSome(const ViewPack& view, const double (*points)[3], unsigned wanted,
                                     double (*const pixels[3])[2], std::int64_t n) {
  const PackOf3 q = times(view.motion, loadFirstPoints(points + n, wanted));
  std::int64_t onPlane = 0;
  for (int camera = 0; camera < 3; ++camera) {
    const PixelPack p = projected(view.projections[camera], q);
    const unsigned missed = bitsOf(p.w == Pack{}) & wanted;
    storePixelsWhere(wanted & ~missed, pixels[camera] + n, p.pixel);
    onPlane += __builtin_popcount(missed);
  }
  return onPlane;
}

template <bool Around>
QUEL_INLINE std::int64_t projectAll(const ViewPack& view, const double (*points)[3], std::int64_t count,
                                    double (*const pixels[3])[2]) {
  std::int64_t onPlane = 0;
  std::int64_t n = 0;
  for (; n + kLanes <= count; n += kLanes) {
    const PackOf3 q = times(view.motion, loadPointsSplit(points + n));
    const PixelPack p[3] = {projected(view.projections[0], q), projected(view.projections[1], q),
                            projected(view.projections[2], q)};
    if (bitsOf((p[0].w == Pack{}) | (p[1].w == Pack{}) | (p[2].w == Pack{})) != 0) {
      onPlane += projectSome(view, points, kAllLanes, pixels, n);
      continue;
    }
    for (int camera = 0; camera < 3; ++camera) {
      if constexpr (Around) {
        storePixelsSplitAround(pixels[camera] + n, p[camera].pixel);
      } else {
        storePixelsSplit(pixels[camera] + n, p[camera].pixel);
      }
    }
  }
  if (n < count) onPlane += projectSome(view, points, firstLanes(count - n), pixels, n);
  if constexpr (Around) finishStoresAround();
  return onPlane;
}

}  // namespace

std::int64_t pinholePixels(const PinholeView& view, const double (*points)[3], std::int64_t count,
                           const PinholeImages& images) {
  const ViewPack packs = {spread(view.motion),
                          {spread(view.projections[0]), spread(view.projections[1]), spread(view.projections[2])}};
  return images.around ? projectAll<true>(packs, points, count, images.pixels)
                       : projectAll<false>(packs, points, count, images.pixels);
}

}  // namespace quelcore::QUEL_WIDTH

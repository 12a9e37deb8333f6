#include "quelcore/tensor/projectionKernel.h"

namespace quelcore {

Projected distortPixel(const tag_qmDistortParams& params, _ProjectDistortMode mode, float depth, double pixel[2]) {
  // The fast distortion's result is not looked at, so its output starts as the pinhole pixel.
  double distorted[2] = {pixel[0], pixel[1]};
  switch (mode) {
    case PROJECT_EXACT:
      if (qmDistortDistortOnePt(pixel, &params, &depth, distorted) == 0) return Projected::DistortionFailed;
      break;
    case PROJECT_EXACT_OR_WITHOUT_DEPTH:
      if (qmDistortDistortOnePt(pixel, &params, &depth, distorted) == 0 &&
          qmDistortDistortOnePt(pixel, &params, nullptr, distorted) == 0) {
        return Projected::DistortionFailed;
      }
      break;
    case PROJECT_FAST:
      qmDistortDistortOnePtFast(pixel, &params, &depth, distorted);
      break;
    case PROJECT_FAST_WITHOUT_DEPTH:
      qmDistortDistortOnePtFast(pixel, &params, nullptr, distorted);
      break;
    case PROJECT_PINHOLE:
    default:
      return Projected::Yes;
  }
  pixel[0] = distorted[0];
  pixel[1] = distorted[1];
  return Projected::Yes;
}

IndexRange shareOfThread(IndexRange range, std::int32_t threads, std::int32_t n) {
  const auto chunk = static_cast<std::int64_t>(static_cast<double>(range.last - range.first) / threads);
  const std::int64_t first = range.first + n * chunk;
  return {first, n == threads - 1 ? range.last : first + chunk};
}

}  // namespace quelcore

#include "quelplatform/qmDistort/lensBatch.h"

#include <algorithm>

namespace quelplatform {

LensModel lensOf(const tag_qmDistortParams& params) {
  const double* e = params.distortExtra;
  return {params.k1, params.k2, params.k3, params.p1, params.p2, params.xp, params.yp, {e[0], e[1], e[2], e[3], e[4]}};
}

std::int64_t oneByOne(OnePixel call, const tag_qmDistortParams& params, const double (*in)[2], const float* depths,
                      std::int64_t count, double (*out)[2], std::uint8_t* succeeded) {
  std::int64_t failed = 0;
  for (std::int64_t n = 0; n < count; ++n) {
    const std::int32_t result = call(in[n], &params, depths == nullptr ? nullptr : depths + n, out[n]);
    if (succeeded != nullptr) succeeded[n] = static_cast<std::uint8_t>(result);
    if (result == 0) ++failed;
  }
  return failed;
}

std::int64_t inversePixels(OnePixel call, const tag_qmDistortParams& params, const double (*in)[2], std::int64_t count,
                           double (*out)[2], std::uint8_t* succeeded) {
  constexpr std::int64_t kBlock = 256;
  const LensModel lens = lensOf(params);
  std::int64_t failed = 0;
  for (std::int64_t first = 0; first < count; first += kBlock) {
    const std::int64_t block = std::min(kBlock, count - first);
    std::uint8_t found[kBlock];
    kernel(kInversePixels)(lens, kDistortInverseTolerance, in + first, block, out + first, found);
    for (std::int64_t n = 0; n < block; ++n) {
      if (found[n] == 0) found[n] = static_cast<std::uint8_t>(call(in[first + n], &params, nullptr, out[first + n]));
      failed += found[n] == 0;
    }
    if (succeeded != nullptr) std::copy_n(found, block, succeeded + first);
  }
  return failed;
}

std::int64_t allFailed(std::int64_t count, std::uint8_t* succeeded) {
  if (count <= 0) return 0;
  if (succeeded != nullptr) std::fill_n(succeeded, count, std::uint8_t{0});
  return count;
}

}  // namespace quelplatform

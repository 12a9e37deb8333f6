#include "quelcore/tensor/distortBatch.h"

#include <algorithm>

#include "quelcore/tensor/projectionKernel.h"

#if __has_include("quelplatform/qmDistort/qmDistortBatch.h")
#include "quelplatform/qmDistort/qmDistortBatch.h"
#define QUEL_HAS_DISTORT_BATCH
#endif

namespace quelcore {

namespace {

/// Pixels that are distorted in one call.
constexpr std::int64_t kBatch = 256;

#ifdef QUEL_HAS_DISTORT_BATCH

/// Those that fail with their depth are tried without.
void distortOrWithoutDepth(const tag_qmDistortParams& params, const float* depths, std::int64_t count,
                           double (*pixels)[2]) {
  std::uint8_t succeeded[kBatch];
  if (qmDistortDistortPts(pixels, &params, depths, count, pixels, succeeded) == 0) return;
  for (std::int64_t n = 0; n < count; ++n) {
    if (succeeded[n] == 0) qmDistortDistortOnePt(pixels[n], &params, nullptr, pixels[n]);
  }
}

void distortBatch(const tag_qmDistortParams& params, _ProjectDistortMode mode, const float* depths, std::int64_t count,
                  double (*pixels)[2]) {
  switch (mode) {
    case PROJECT_EXACT:
      qmDistortDistortPts(pixels, &params, depths, count, pixels, nullptr);
      break;
    case PROJECT_EXACT_OR_WITHOUT_DEPTH:
      distortOrWithoutDepth(params, depths, count, pixels);
      break;
    case PROJECT_FAST:
      qmDistortDistortPtsFast(pixels, &params, depths, count, pixels, nullptr);
      break;
    case PROJECT_FAST_WITHOUT_DEPTH:
      qmDistortDistortPtsFast(pixels, &params, nullptr, count, pixels, nullptr);
      break;
    default:
      break;
  }
}

/// By the exact form alone, without depth. A pixel that fails stays, and its entry of `succeeded` is 0.
void distortExactly(const tag_qmDistortParams& params, std::int64_t count, double (*pixels)[2],
                    std::uint8_t* succeeded) {
  qmDistortDistortPts(pixels, &params, nullptr, count, pixels, succeeded);
}

#else

void distortExactly(const tag_qmDistortParams& params, std::int64_t count, double (*pixels)[2],
                    std::uint8_t* succeeded) {
  for (std::int64_t n = 0; n < count; ++n) {
    const double ideal[2] = {pixels[n][0], pixels[n][1]};
    succeeded[n] = qmDistortDistortOnePt(ideal, &params, nullptr, pixels[n]) != 0;
  }
}

void distortBatch(const tag_qmDistortParams& params, _ProjectDistortMode mode, const float* depths, std::int64_t count,
                  double (*pixels)[2]) {
  for (std::int64_t n = 0; n < count; ++n) {
    distortPixel(params, mode, depths == nullptr ? 0.0F : depths[n], pixels[n]);
  }
}

#endif

}  // namespace

void distortPixels(const tag_qmDistortParams& params, _ProjectDistortMode mode, const float* depths, std::int64_t count,
                   double (*pixels)[2]) {
  if (mode == PROJECT_PINHOLE) return;
  for (std::int64_t n = 0; n < count; n += kBatch) {
    distortBatch(params, mode, depths == nullptr ? nullptr : depths + n, std::min(kBatch, count - n), pixels + n);
  }
}

void distortPixelsWithoutDepth(const tag_qmDistortParams& params, std::int64_t count, double (*pixels)[2]) {
  std::uint8_t succeeded[kBatch];
  for (std::int64_t from = 0; from < count; from += kBatch) {
    const std::int64_t batch = std::min(kBatch, count - from);
    distortExactly(params, batch, pixels + from, succeeded);
    for (std::int64_t n = 0; n < batch; ++n) {
      if (succeeded[n] != 0) continue;
      const double ideal[2] = {pixels[from + n][0], pixels[from + n][1]};
      qmDistortDistortOnePtFast(ideal, &params, nullptr, pixels[from + n]);
    }
  }
}

}  // namespace quelcore

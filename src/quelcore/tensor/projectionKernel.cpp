#include "quelcore/tensor/projectionKernel.h"

namespace quelcore {

namespace {

bool isInImage(const tag_qmReconsTensorData& tensor, const double pixel[2]) {
  return !(pixel[0] < 0.0 || pixel[0] >= tensor.imageWidth || pixel[1] < 0.0 || pixel[1] >= tensor.imageHeight);
}

}  // namespace

Projected pinholePixel(const double P[4][4], const double point[3], double pixel[2]) {
  const double u = ((P[0][0] * point[0] + P[0][1] * point[1]) + P[0][2] * point[2]) + P[0][3];
  const double v = ((P[1][0] * point[0] + P[1][1] * point[1]) + P[1][2] * point[2]) + P[1][3];
  const double w = ((P[2][0] * point[0] + P[2][1] * point[1]) + P[2][2] * point[2]) + P[2][3];
  if (w == 0.0) return Projected::PrincipalPlane;  // exact, no tolerance
  pixel[0] = u / w;
  pixel[1] = v / w;
  return Projected::Yes;
}

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

Projected projectPoint(const tag_qmReconsTensorData& tensor, const double point[3], std::int32_t camera,
                       _ProjectDistortMode mode, bool testInImage, float depth, double pixel[2]) {
  if (tensor.projectionsValid != 1) return Projected::NoProjection;
  const Projected outcome = pinholePixel(tensor.projections[camera], point, pixel);
  if (outcome != Projected::Yes) return outcome;
  if (testInImage && !isInImage(tensor, pixel)) return Projected::OutsideImage;
  return distortPixel(tensor.distortParams[camera], mode, depth, pixel);
}

IndexRange shareOfThread(IndexRange range, std::int32_t threads, std::int32_t n) {
  const auto chunk = static_cast<std::int64_t>(static_cast<double>(range.last - range.first) / threads);
  const std::int64_t first = range.first + n * chunk;
  return {first, n == threads - 1 ? range.last : first + chunk};
}

}  // namespace quelcore

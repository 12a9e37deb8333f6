#include "quelplatform/qmDistort/qmDistort.h"

#include <optional>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/LutLookup.h"

using namespace quelplatform;

namespace {

std::optional<Pixel> exactPixel(const tag_qmDistortParams& params, Pixel ideal, const float* depth) {
  Pixel pixel;
  if (params.distortOption == kPolynomialMapsDistortedToIdeal) {
    const auto inverse = inversePolynomial(params, ideal);
    if (!inverse) return std::nullopt;
    pixel = *inverse;
  } else {
    pixel = polynomial(params, ideal);
  }
  if (params.luts != nullptr) {
    const auto sample = interpolatedLut(*params.luts, ideal, depth);
    if (!sample) return std::nullopt;
    pixel = pixel + sample->displacement;
  }
  if (!isFinite(pixel)) return std::nullopt;
  return pixel;
}

FastPixel fastPolynomial(const tag_qmDistortParams& params, Pixel ideal) {
  if (params.distortOption == kPolynomialMapsDistortedToIdeal) return fastInversePolynomial(params, ideal);
  const Pixel pixel = polynomial(params, ideal);
  return {pixel, isFinite(pixel)};
}

}  // namespace

std::int32_t qmDistortDistortOnePt(const double in[2], const tag_qmDistortParams* params, const float* depth,
                                   double out[2]) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return 0;
  const auto pixel = exactPixel(*params, {in[0], in[1]}, depth);
  if (!pixel) return 0;
  write(*pixel, out);
  return 1;
}

std::int32_t qmDistortDistortOnePtFast(const double in[2], const tag_qmDistortParams* params, const float* depth,
                                       double out[2]) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return 0;
  const Pixel ideal = {in[0], in[1]};
  const FastPixel plain = fastPolynomial(*params, ideal);
  write(plain.pixel, out);
  if (!plain.isReliable || params->luts == nullptr) return plain.isReliable;
  const auto displacement = nearestLut(*params->luts, ideal, depth);
  if (!displacement) return 0;
  const Pixel pixel = plain.pixel + *displacement;
  if (!isFinite(pixel)) return 0;
  write(pixel, out);
  return 1;
}

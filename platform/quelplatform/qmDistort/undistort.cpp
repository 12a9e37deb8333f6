// The inverse of the whole lens model, LUT included.
//
// With P the polynomial, D the LUT's displacement and Q what takes a pixel without its displacement back to the ideal
// one (the inverse of P; P itself for distortOption 2), the ideal pixel u of the distorted pixel t solves
//
//   u = Q(t - D(u)).
//
// Newton's method on u - Q(t - D(u)) has the derivative I + Q' D'. D is linear in pieces, so that steps end in the
// right piece and are exact there but for its bilinear term.
#include <algorithm>
#include <optional>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/LutLookup.h"
#include "quelplatform/qmDistort/lensBatch.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"

namespace quelplatform {

namespace {

constexpr int kMaxSteps = 50;
constexpr double kShortStep = 1e-11;

struct Undistorted {
  Pixel pixel;
  Jacobian slope;
};

std::optional<Undistorted> undistortedWithoutLut(const tag_qmDistortParams& params, Pixel p) {
  if (params.distortOption == kPolynomialMapsDistortedToIdeal) {
    return Undistorted{polynomial(params, p), polynomialJacobian(params, p)};
  }
  const auto inverse = inversePolynomial(params, p);
  if (!inverse) return std::nullopt;
  const Jacobian forward = polynomialJacobian(params, *inverse);
  const Pixel x = forward.solve({1, 0}), y = forward.solve({0, 1});
  return Undistorted{*inverse, {x.x, y.x, x.y, y.y}};
}

// I + a b.
Jacobian onePlusProduct(const Jacobian& a, const Jacobian& b) {
  return {1 + (a.xx * b.xx + a.xy * b.yx), a.xx * b.xy + a.xy * b.yy, a.yx * b.xx + a.yy * b.yx,
          1 + (a.yx * b.xy + a.yy * b.yy)};
}

std::optional<Pixel> undistortedThroughLut(const tag_qmDistortParams& params, Pixel target, const float* depth) {
  const auto start = undistortedWithoutLut(params, target);
  if (!start) return std::nullopt;
  Pixel pixel = start->pixel;
  for (int step = 0; step < kMaxSteps; ++step) {
    // Steps may lead out of the grid by a little while the solution lies inside.
    const auto lut = interpolatedLut(*params.luts, pixel, depth, OutsideGrid::TakesTheEdge);
    if (!lut) return std::nullopt;
    const auto back = undistortedWithoutLut(params, target - lut->displacement);
    if (!back) return std::nullopt;
    const Jacobian slope = onePlusProduct(back->slope, lut->slope);
    if (!(slope.determinant() > 0.0)) return std::nullopt;
    const Pixel move = slope.solve(back->pixel - pixel);
    pixel = pixel + move;
    if (maxNorm(move) <= kShortStep) return pixel;
  }
  return std::nullopt;
}

/// True where undistorting is the inverse of the polynomial and nothing else.
bool isInverseOfPolynomial(const tag_qmDistortParams& params) {
  return params.luts == nullptr && params.distortOption != kPolynomialMapsDistortedToIdeal;
}

std::optional<Pixel> undistorted(const tag_qmDistortParams& params, Pixel target, const float* depth) {
  if (params.luts != nullptr) return undistortedThroughLut(params, target, depth);
  const auto result = undistortedWithoutLut(params, target);
  if (!result) return std::nullopt;
  return result->pixel;
}

}  // namespace

std::int32_t undistortOnePt(const double in[2], const tag_qmDistortParams* params, const float* depth,
                            double out[2]) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return 0;
  const Pixel target = {in[0], in[1]};
  if (isInverseOfPolynomial(*params)) {
    // What the inverse finds, the exact call takes back to the target: both evaluate the same polynomial there.
    const auto ideal = inversePolynomial(*params, target);
    if (ideal) write(*ideal, out);
    return ideal.has_value();
  }
  const auto ideal = undistorted(*params, target, depth);
  if (!ideal) return 0;
  // The exact call has the last word: it knows the grid, the cells without value and the fold.
  double candidate[2];
  write(*ideal, candidate);
  double again[2];
  if (qmDistortDistortOnePt(candidate, params, depth, again) == 0) return 0;
  if (!(maxNorm(Pixel{again[0], again[1]} - target) <= kDistortInverseTolerance)) return 0;
  std::copy_n(candidate, 2, out);
  return 1;
}

std::int64_t undistortPts(const double (*in)[2], const tag_qmDistortParams* params, const float* depths,
                          std::int64_t count, double (*out)[2], std::uint8_t* succeeded) noexcept {
  if (in == nullptr || params == nullptr || out == nullptr) return allFailed(count, succeeded);
  if (isInverseOfPolynomial(*params)) {
    return inversePixels(undistortOnePt, *params, in, count, out, succeeded);
  }
  return oneByOne(undistortOnePt, *params, in, depths, count, out, succeeded);
}

}  // namespace quelplatform

#include "quelplatform/qmDistort/LensPolynomial.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmDistort/kernels/LensFormula.h"

namespace quelplatform {

namespace {

constexpr int kMaxNewtonSteps = 50;
constexpr int kMaxHalvings = 8;
constexpr double kShortestContinuationStep = 1.0 / 256;
constexpr int kFastSteps = 4;

// What value and derivative at a pixel share.
struct Place {
  LensOffset<double> offset;
  double sum;

  Place(const tag_qmDistortParams& m, Pixel p) : offset(lensOffset(m, p.x, p.y)), sum(lensRadialSum(m, offset.r2)) {}

  Pixel value(const tag_qmDistortParams& m, Pixel p) const {
    const auto result = lensPolynomial(m, offset, sum, p.x, p.y);
    return {result.x, result.y};
  }

  Jacobian jacobian(const tag_qmDistortParams& m) const {
    const auto result = lensJacobian(m, offset, sum);
    return {result.xx, result.xy, result.yx, result.yy};
  }
};

struct Approach {
  Pixel pixel;
  Place place;
  Pixel residual;  // Of the target.
  double missed;   // Its largest component.

  Approach(const tag_qmDistortParams& model, Pixel target, Pixel p)
      : pixel(p), place(model, p), residual(target - place.value(model, p)), missed(maxNorm(residual)) {}
};

// Goes along `step` from `at`, the less far the longer that leads away from the target.
Approach shortenedStep(const tag_qmDistortParams& model, Pixel target, const Approach& at, Pixel step) {
  Approach next(model, target, at.pixel + step);
  for (int i = 0; i < kMaxHalvings && !(next.missed < at.missed) && at.missed > kDistortInverseTolerance; ++i) {
    step = {step.x / 2, step.y / 2};
    next = Approach(model, target, at.pixel + step);
  }
  return next;
}

// Iterates until the residual stops shrinking, which is as far as rounding lets it go. Nothing when that happens before
// the tolerance is met, or on a pixel where the map turns over.
std::optional<Pixel> newton(const tag_qmDistortParams& model, Pixel target, Pixel start) {
  Approach best(model, target, start);
  for (int i = 0; i < kMaxNewtonSteps && best.missed > 0.0; ++i) {
    const Jacobian jacobian = best.place.jacobian(model);
    if (!(jacobian.determinant() > 0.0)) return std::nullopt;
    const Approach next = shortenedStep(model, target, best, jacobian.solve(best.residual));
    if (!(next.missed < best.missed)) break;
    best = next;
  }
  if (!(best.missed <= kDistortInverseTolerance)) return std::nullopt;
  return best.pixel;
}

// Follows the solution from the principal point, which the polynomial leaves in place, out to the target, so that it
// stays on the branch that belongs to the lens.
std::optional<Pixel> newtonByContinuation(const tag_qmDistortParams& model, Pixel target) {
  const Pixel centre = {model.xp, model.yp};
  const Pixel way = target - centre;
  Pixel reached = centre;
  double done = 0.0;
  for (double step = 0.5; step >= kShortestContinuationStep && done < 1.0;) {
    const double next = std::min(1.0, done + step);
    const auto pixel = newton(model, {centre.x + next * way.x, centre.y + next * way.y}, reached);
    if (pixel && isUnfolded(model, *pixel)) {
      reached = *pixel;
      done = next;
    } else {
      step /= 2;
    }
  }
  if (done < 1.0) return std::nullopt;
  return newton(model, target, reached);
}

}  // namespace

bool isFinite(Pixel p) { return std::isfinite(p.x) && std::isfinite(p.y); }

double maxNorm(Pixel p) {
  const double x = std::abs(p.x), y = std::abs(p.y);
  return std::isnan(x) || x > y ? x : y;
}

Pixel polynomial(const tag_qmDistortParams& m, Pixel p) { return Place(m, p).value(m, p); }

Jacobian polynomialJacobian(const tag_qmDistortParams& m, Pixel p) { return Place(m, p).jacobian(m); }

std::optional<Pixel> inversePolynomial(const tag_qmDistortParams& model, Pixel target) {
  if (const auto direct = newton(model, target, target); direct && isUnfolded(model, *direct)) return direct;
  return newtonByContinuation(model, target);
}

FastPixel fastInversePolynomial(const tag_qmDistortParams& model, Pixel target) {
  Pixel pixel = target;
  double lastStep = 0.0;
  for (int i = 0; i < kFastSteps; ++i) {
    const Place place(model, pixel);
    const Pixel step = place.jacobian(model).solve(target - place.value(model, pixel));
    pixel = pixel + step;
    lastStep = maxNorm(step);
  }
  if (!isFinite(pixel)) return {target, false};
  return {pixel, lastStep <= kDistortFastLastStep && isUnfolded(model, pixel)};
}

}  // namespace quelplatform

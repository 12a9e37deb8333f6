#include "quelplatform/qmDistort/LensPolynomial.h"

#include <algorithm>
#include <cmath>

namespace quelplatform {

namespace {

constexpr int kMaxNewtonSteps = 50;
constexpr int kMaxHalvings = 8;
constexpr double kShortestContinuationStep = 1.0 / 256;
constexpr int kFastSteps = 4;

// Powers of the offset from the principal point that value and derivative share.
struct Offset {
  double dx, dy, xx, yy, xy, r2;

  Offset(const tag_qmDistortParams& m, Pixel p)
      : dx(p.x - m.xp), dy(p.y - m.yp), xx(dx * dx), yy(dy * dy), xy(dx * dy), r2(xx + yy) {}
};

double radialSum(const tag_qmDistortParams& m, double r2) {
  const double* e = m.distortExtra;
  return r2 * (m.k1 + r2 * (m.k2 + r2 * (m.k3 + r2 * (e[2] + r2 * e[3]))));
}

// Its derivative with respect to r2.
double radialSlope(const tag_qmDistortParams& m, double r2) {
  const double* e = m.distortExtra;
  return m.k1 + r2 * (2 * m.k2 + r2 * (3 * m.k3 + r2 * (4 * e[2] + r2 * (5 * e[3]))));
}

struct Approach {
  Pixel pixel;
  Pixel residual;  // Of the target.
  double missed;   // Its largest component.

  Approach(const tag_qmDistortParams& model, Pixel target, Pixel p)
      : pixel(p), residual(target - polynomial(model, p)), missed(maxNorm(residual)) {}
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
    const Jacobian jacobian = polynomialJacobian(model, best.pixel);
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

double maxNorm(Pixel p) { return std::isnan(p.y) ? p.y : std::max(std::abs(p.y), std::abs(p.x)); }

// Each displacement sums its terms from left to right in the order of qmDistort.h and is added to the pixel last.
Pixel polynomial(const tag_qmDistortParams& m, Pixel p) {
  const Offset o(m, p);
  const double s = radialSum(m, o.r2);
  const double* e = m.distortExtra;
  const double x = o.dx * s + m.p1 * (o.r2 + 2 * o.xx) + 2 * m.p2 * o.xy + e[0] * o.dx + e[1] * o.dy;
  const double y = o.dy * s + m.p2 * (o.r2 + 2 * o.yy) + 2 * m.p1 * o.xy;
  return {p.x + x, p.y + y};
}

Jacobian polynomialJacobian(const tag_qmDistortParams& m, Pixel p) {
  const Offset o(m, p);
  const double s = 1 + radialSum(m, o.r2);
  const double slope = 2 * radialSlope(m, o.r2);
  const double* e = m.distortExtra;
  const double cross = slope * o.xy + 2 * (m.p1 * o.dy + m.p2 * o.dx);
  return {s + slope * o.xx + 6 * m.p1 * o.dx + 2 * m.p2 * o.dy + e[0], cross + e[1], cross,
          s + slope * o.yy + 6 * m.p2 * o.dy + 2 * m.p1 * o.dx};
}

std::optional<Pixel> inversePolynomial(const tag_qmDistortParams& model, Pixel target) {
  if (const auto direct = newton(model, target, target); direct && isUnfolded(model, *direct)) return direct;
  return newtonByContinuation(model, target);
}

FastPixel fastInversePolynomial(const tag_qmDistortParams& model, Pixel target) {
  Pixel pixel = target;
  double lastStep = 0.0;
  for (int i = 0; i < kFastSteps; ++i) {
    const Pixel step = polynomialJacobian(model, pixel).solve(target - polynomial(model, pixel));
    pixel = pixel + step;
    lastStep = maxNorm(step);
  }
  if (!isFinite(pixel)) return {target, false};
  return {pixel, lastStep <= kDistortFastLastStep && isUnfolded(model, pixel)};
}

}  // namespace quelplatform

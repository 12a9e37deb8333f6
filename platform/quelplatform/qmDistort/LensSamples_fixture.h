// Lens models for tests, and the model computed another way.
#pragma once

#include <algorithm>
#include <cmath>
#include <random>

#include "quelplatform/qmDistort/qmDistort.h"
#include "testing/Numbers.h"

namespace quel::testing {

/// The usual model on normalised coordinates: focal length f in pixels, centre in pixels.
struct NormalisedLens {
  double f, cx, cy;
  double k1, k2, k3;
  double p1, p2;
};

/// The same lens in pixels.
inline tag_qmDistortParams inPixels(const NormalisedLens& lens) {
  tag_qmDistortParams model = {};
  const double f2 = lens.f * lens.f;
  model.k1 = lens.k1 / f2;
  model.k2 = lens.k2 / (f2 * f2);
  model.k3 = lens.k3 / (f2 * f2 * f2);
  model.p1 = lens.p2 / lens.f;
  model.p2 = lens.p1 / lens.f;
  model.xp = lens.cx;
  model.yp = lens.cy;
  model.distortOption = 1;
  return model;
}

inline long double wide(double value) { return static_cast<long double>(value); }

struct LongPixel {
  long double x, y;

  LongPixel(long double atX, long double atY) : x(atX), y(atY) {}
  LongPixel(double atX, double atY) : x(wide(atX)), y(wide(atY)) {}
};

/// Distortion as the field writes it, on normalised coordinates in extended precision.
inline LongPixel distortNormalised(const NormalisedLens& lens, LongPixel pixel) {
  const long double f = wide(lens.f), k1 = wide(lens.k1), k2 = wide(lens.k2), k3 = wide(lens.k3);
  const long double p1 = wide(lens.p1), p2 = wide(lens.p2);
  const long double x = (pixel.x - wide(lens.cx)) / f, y = (pixel.y - wide(lens.cy)) / f;
  const long double r2 = x * x + y * y;
  const long double radial = 1 + k1 * r2 + k2 * r2 * r2 + k3 * r2 * r2 * r2;
  const long double xd = x * radial + 2 * p1 * x * y + p2 * (r2 + 2 * x * x);
  const long double yd = y * radial + p1 * (r2 + 2 * y * y) + 2 * p2 * x * y;
  return {f * xd + wide(lens.cx), f * yd + wide(lens.cy)};
}

/// The polynomial by its terms, each power by itself, in extended precision.
inline LongPixel polynomialByTerms(const tag_qmDistortParams& m, LongPixel pixel) {
  const long double p1 = wide(m.p1), p2 = wide(m.p2), e0 = wide(m.distortExtra[0]), e1 = wide(m.distortExtra[1]);
  const long double dx = pixel.x - wide(m.xp), dy = pixel.y - wide(m.yp);
  const long double r2 = dx * dx + dy * dy, r4 = r2 * r2, r8 = r4 * r4;
  const long double s = wide(m.k1) * r2 + wide(m.k2) * r4 + wide(m.k3) * r4 * r2 + wide(m.distortExtra[2]) * r8 +
                        wide(m.distortExtra[3]) * r8 * r2;
  return {pixel.x + dx * s + p1 * (r2 + 2 * dx * dx) + 2 * p2 * dx * dy + e0 * dx + e1 * dy,
          pixel.y + dy * s + p2 * (r2 + 2 * dy * dy) + 2 * p1 * dx * dy};
}

/// Determinant of the Jacobian by central differences of that.
inline long double determinantByDifferences(const tag_qmDistortParams& m, LongPixel p) {
  const long double h = 1e-4L;
  const LongPixel right = polynomialByTerms(m, {p.x + h, p.y}), left = polynomialByTerms(m, {p.x - h, p.y});
  const LongPixel below = polynomialByTerms(m, {p.x, p.y + h}), above = polynomialByTerms(m, {p.x, p.y - h});
  return ((right.x - left.x) * (below.y - above.y) - (below.x - above.x) * (right.y - left.y)) / (4 * h * h);
}

/// Least determinant at `count` places between the principal point and `p`, both included.
inline long double leastDeterminantOnTheWay(const tag_qmDistortParams& m, LongPixel p, int count) {
  const LongPixel centre(m.xp, m.yp);
  long double least = determinantByDifferences(m, centre);
  for (int i = 1; i <= count; ++i) {
    const long double t = static_cast<long double>(i) / count;
    const LongPixel place(centre.x + t * (p.x - centre.x), centre.y + t * (p.y - centre.y));
    least = std::min(least, determinantByDifferences(m, place));
  }
  return least;
}

/// A strong wide-angle lens on a small camera: k1 = -0.29, k2 = 0.1 at f = 533 pixels.
inline NormalisedLens strongLens() { return {533, 342, 235, -0.29, 0.1, 0, 3e-4, -2e-4}; }

/// A lens as calibrations find them, mild to strong, with all terms in use.
inline tag_qmDistortParams randomLens(std::mt19937_64& random) {
  NormalisedLens lens = {};
  lens.f = uniform(random, 500, 5000);
  lens.cx = uniform(random, 300, 2000);
  lens.cy = uniform(random, 200, 1500);
  lens.k1 = uniform(random, -0.3, 0.3);
  lens.k2 = uniform(random, -0.1, 0.1);
  lens.k3 = uniform(random, -0.02, 0.02);
  lens.p1 = uniform(random, -2e-3, 2e-3);
  lens.p2 = uniform(random, -2e-3, 2e-3);
  tag_qmDistortParams model = inPixels(lens);
  model.distortExtra[0] = uniform(random, -1e-3, 1e-3);
  model.distortExtra[1] = uniform(random, -1e-3, 1e-3);
  model.distortExtra[2] = uniform(random, -0.005, 0.005) / std::pow(lens.f, 8);
  model.distortExtra[3] = uniform(random, -0.001, 0.001) / std::pow(lens.f, 10);
  return model;
}

/// A pixel within `reach` pixels of the principal point.
inline LongPixel randomPixel(std::mt19937_64& random, const tag_qmDistortParams& model, double reach) {
  const double angle = uniform(random, 0, 6.283185307179586), r = reach * std::sqrt(uniform(random, 0, 1));
  return {model.xp + r * std::cos(angle), model.yp + r * std::sin(angle)};
}

}  // namespace quel::testing

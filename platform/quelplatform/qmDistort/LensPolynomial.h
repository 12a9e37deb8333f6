// The polynomial of the lens model, its derivative and its inverse: kernels on values, without LUTs.
#pragma once

#include <cstdint>
#include <optional>

#include "quelplatform/qmDistort/qmDistort.h"

namespace quelplatform {

struct Pixel {
  double x, y;
};

/// Derivative of a map of pixels: rows are the components of the result.
struct Jacobian {
  double xx, xy, yx, yy;

  double determinant() const { return xx * yy - xy * yx; }

  Pixel times(Pixel v) const { return {xx * v.x + xy * v.y, yx * v.x + yy * v.y}; }

  /// The solution of J v = w; not finite when J is singular.
  Pixel solve(Pixel w) const {
    const double d = determinant();
    return {(yy * w.x - xy * w.y) / d, (xx * w.y - yx * w.x) / d};
  }
};

inline Pixel operator+(Pixel a, Pixel b) { return {a.x + b.x, a.y + b.y}; }
inline Pixel operator-(Pixel a, Pixel b) { return {a.x - b.x, a.y - b.y}; }

inline void write(Pixel pixel, double out[2]) {
  out[0] = pixel.x;
  out[1] = pixel.y;
}

bool isFinite(Pixel p);

/// The larger magnitude of the two; NaN where one is.
double maxNorm(Pixel p);

/// The `distortOption` whose polynomial maps the distorted pixel to the ideal one.
inline constexpr std::int32_t kPolynomialMapsDistortedToIdeal = 2;

/// The polynomial of qmDistort.h at `p`.
Pixel polynomial(const tag_qmDistortParams& model, Pixel p);

Jacobian polynomialJacobian(const tag_qmDistortParams& model, Pixel p);

/// True when the polynomial does not fold over between the principal point and `p`: all along the straight line between
/// them its stretch along the line, its stretch across the line and its Jacobian determinant are positive. A pixel so
/// close to a fold that this cannot be decided counts as folded.
bool isUnfolded(const tag_qmDistortParams& model, Pixel p);

/// The unfolded pixel that the polynomial takes to `target`, to `kDistortInverseTolerance`.
std::optional<Pixel> inversePolynomial(const tag_qmDistortParams& model, Pixel target);

/// A pixel that is worth something even where it cannot be relied on.
struct FastPixel {
  Pixel pixel;
  bool isReliable;
};

/// What a fixed number of steps towards that pixel reaches: reliable when the last step was short and the pixel is
/// unfolded; `target` itself when the steps run out of all numbers.
FastPixel fastInversePolynomial(const tag_qmDistortParams& model, Pixel target);

}  // namespace quelplatform

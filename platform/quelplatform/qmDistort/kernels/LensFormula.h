// The lens polynomial of qmDistort.h and its derivative, written once for a pixel and for a pack of them.
//
// `Number` is double or a vector of doubles; `Model` has the members of `tag_qmDistortParams` that bear the
// coefficients. Everything is forced inline, so that code for one width never serves another.
#pragma once

namespace quelplatform {

#define QUEL_LENS_INLINE [[gnu::always_inline]] inline

/// Powers of the offset from the principal point that value and derivative share.
template <typename Number>
struct LensOffset {
  Number dx, dy, xx, yy, xy, r2;
};

template <typename Number, typename Model>
QUEL_LENS_INLINE LensOffset<Number> lensOffset(const Model& m, Number x, Number y) {
  const Number dx = x - m.xp, dy = y - m.yp;
  const Number xx = dx * dx, yy = dy * dy;
  return {dx, dy, xx, yy, dx * dy, xx + yy};
}

template <typename Number, typename Model>
QUEL_LENS_INLINE Number lensRadialSum(const Model& m, Number r2) {
  const double* e = m.distortExtra;
  return r2 * (m.k1 + r2 * (m.k2 + r2 * (m.k3 + r2 * (e[2] + r2 * e[3]))));
}

/// Its derivative with respect to r2.
template <typename Number, typename Model>
QUEL_LENS_INLINE Number lensRadialSlope(const Model& m, Number r2) {
  const double* e = m.distortExtra;
  return m.k1 + r2 * (2 * m.k2 + r2 * (3 * m.k3 + r2 * (4 * e[2] + r2 * (5 * e[3]))));
}

template <typename Number>
struct LensPixel {
  Number x, y;
};

/// The polynomial at (x, y). Each displacement sums its terms from left to right in the order of qmDistort.h and is
/// added to the pixel last.
template <typename Number, typename Model>
QUEL_LENS_INLINE LensPixel<Number> lensPolynomial(const Model& m, const LensOffset<Number>& o, Number sum, Number x,
                                                  Number y) {
  const double* e = m.distortExtra;
  const Number moveX = o.dx * sum + m.p1 * (o.r2 + 2 * o.xx) + 2 * m.p2 * o.xy + e[0] * o.dx + e[1] * o.dy;
  const Number moveY = o.dy * sum + m.p2 * (o.r2 + 2 * o.yy) + 2 * m.p1 * o.xy;
  return {x + moveX, y + moveY};
}

/// Its derivative there: rows are the components of the result.
template <typename Number>
struct LensJacobian {
  Number xx, xy, yx, yy;
};

template <typename Number, typename Model>
QUEL_LENS_INLINE LensJacobian<Number> lensJacobian(const Model& m, const LensOffset<Number>& o, Number sum) {
  const double* e = m.distortExtra;
  const Number s = 1 + sum;
  const Number slope = 2 * lensRadialSlope(m, o.r2);
  const Number cross = slope * o.xy + 2 * (m.p1 * o.dy + m.p2 * o.dx);
  return {s + slope * o.xx + 6 * m.p1 * o.dx + 2 * m.p2 * o.dy + e[0], cross + e[1], cross,
          s + slope * o.yy + 6 * m.p2 * o.dy + 2 * m.p1 * o.dx};
}

}  // namespace quelplatform

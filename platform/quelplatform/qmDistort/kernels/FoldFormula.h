// Whether the lens polynomial folds over between the principal point and a pixel, written once for a pixel and for a
// pack of them.
//
// On a ray from the principal point in the unit direction n, at distance s, the Jacobian in the axes along (n) and
// across (m) the ray is
//
//   | 1 + sum (2i+1) c_i s^2i + 6 q s + Enn    2 w s + Enm                       |     q = p . n,  w = n x p,
//   | 2 w s + Emn                              1 + sum c_i s^2i + 2 q s + Emm    |     c = k1, k2, k3, e2, e3,
//
// with E the affine part in those axes. All entries are polynomials in s alone, so that they can be bounded over a
// whole stretch of the ray: the sign of the determinant is proved, not sampled.
#pragma once

#include "quelplatform/qmDistort/kernels/LensFormula.h"

namespace quelplatform {

/// Least value on [near, far], near >= 0, of 1 + sum factor(i) c_i s^2i + linear s + constant: rising terms count at
/// the near end, falling terms at the far end.
template <typename Number>
struct RayEntry {
  double coefficients[5];
  Number linear;
  Number constant;

  QUEL_LENS_INLINE Number lowest(Number near, Number far) const {
    Number sum = constant + linear * (linear > 0 ? near : far);
    Number nearPower = Number{} + 1.0, farPower = Number{} + 1.0;
    for (int i = 0; i < 5; ++i) {
      const double c = coefficients[i];
      nearPower *= near * near;
      farPower *= far * far;
      if (c != 0.0) sum += c * (c > 0 ? nearPower : farPower);
    }
    return sum;
  }
};

template <typename Number>
QUEL_LENS_INLINE Number lensMagnitude(Number value) {
  return value < 0 ? -value : value;
}

/// The Jacobian along one ray, or along one for each lane.
template <typename Number>
struct RayJacobian {
  RayEntry<Number> along, across;
  Number shear;                    // Slope of both off-diagonal entries.
  Number shearAlong, shearAcross;  // Their constants.

  template <typename Model>
  QUEL_LENS_INLINE RayJacobian(const Model& m, Number x, Number y) {
    const double c[5] = {m.k1, m.k2, m.k3, m.distortExtra[2], m.distortExtra[3]};
    const double e0 = m.distortExtra[0], e1 = m.distortExtra[1];
    const Number q = m.p1 * x + m.p2 * y;
    for (int i = 0; i < 5; ++i) {
      along.coefficients[i] = (2 * i + 3) * c[i];
      across.coefficients[i] = c[i];
    }
    along.linear = 6 * q;
    across.linear = 2 * q;
    along.constant = 1 + x * (e0 * x + e1 * y);
    across.constant = 1 + y * (e0 * y - e1 * x);
    shear = 2 * (x * m.p2 - y * m.p1);
    shearAlong = x * (e1 * x - e0 * y);
    shearAcross = -y * (e0 * x + e1 * y);
  }

  // Greatest magnitude of an off-diagonal entry: it is linear, so at one of the ends.
  QUEL_LENS_INLINE Number greatestShear(Number offset, Number near, Number far) const {
    const Number atNear = lensMagnitude(shear * near + offset), atFar = lensMagnitude(shear * far + offset);
    return atNear < atFar ? atFar : atNear;
  }

  /// True, for each lane, where no stretch between `near` and `far` can fold.
  QUEL_LENS_INLINE auto isPositiveBetween(Number near, Number far) const {
    const Number a = along.lowest(near, far), b = across.lowest(near, far);
    return (a > 0) & (b > 0) & (a * b > greatestShear(shearAlong, near, far) * greatestShear(shearAcross, near, far));
  }
};

}  // namespace quelplatform

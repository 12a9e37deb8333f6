// Whether the lens polynomial folds over between the principal point and a pixel.
//
// On a ray from the principal point in the unit direction n, at distance s, the Jacobian in the axes along (n) and
// across (m) the ray is
//
//   | 1 + sum (2i+1) c_i s^2i + 6 q s + Enn    2 w s + Enm                       |     q = p . n,  w = n x p,
//   | 2 w s + Emn                              1 + sum c_i s^2i + 2 q s + Emm    |     c = k1, k2, k3, e2, e3,
//
// with E the affine part in those axes. All entries are polynomials in s alone, so that they can be bounded over a
// whole stretch of the ray: the sign of the determinant is proved, not sampled.
#include <algorithm>
#include <cmath>

#include "quelplatform/qmDistort/LensPolynomial.h"

namespace quelplatform {

namespace {

// A stretch shorter than this part of the ray is not divided further.
constexpr double kShortestStretch = 1.0 / 65536;

// Least value on [near, far], near >= 0, of 1 + sum factor(i) c_i s^2i + linear s + constant: rising terms count at the
// near end, falling terms at the far end.
struct RayEntry {
  double coefficients[5];
  double linear;
  double constant;

  double lowest(double near, double far) const {
    double sum = constant + linear * (linear > 0 ? near : far);
    double nearPower = 1.0, farPower = 1.0;
    for (const double c : coefficients) {
      nearPower *= near * near;
      farPower *= far * far;
      if (c != 0.0) sum += c * (c > 0 ? nearPower : farPower);
    }
    return sum;
  }
};

struct RayJacobian {
  RayEntry along, across;
  double shear;                    // Slope of both off-diagonal entries.
  double shearAlong, shearAcross;  // Their constants.

  RayJacobian(const tag_qmDistortParams& m, Pixel n) {
    const double c[5] = {m.k1, m.k2, m.k3, m.distortExtra[2], m.distortExtra[3]};
    const double e0 = m.distortExtra[0], e1 = m.distortExtra[1];
    const double q = m.p1 * n.x + m.p2 * n.y;
    for (int i = 0; i < 5; ++i) {
      along.coefficients[i] = (2 * i + 3) * c[i];
      across.coefficients[i] = c[i];
    }
    along.linear = 6 * q;
    across.linear = 2 * q;
    along.constant = 1 + n.x * (e0 * n.x + e1 * n.y);
    across.constant = 1 + n.y * (e0 * n.y - e1 * n.x);
    shear = 2 * (n.x * m.p2 - n.y * m.p1);
    shearAlong = n.x * (e1 * n.x - e0 * n.y);
    shearAcross = -n.y * (e0 * n.x + e1 * n.y);
  }

  // Greatest magnitude of an off-diagonal entry: it is linear, so at one of the ends.
  double greatestShear(double offset, double near, double far) const {
    return std::max(std::abs(shear * near + offset), std::abs(shear * far + offset));
  }

  bool isPositiveBetween(double near, double far) const {
    const double a = along.lowest(near, far), b = across.lowest(near, far);
    return a > 0 && b > 0 && a * b > greatestShear(shearAlong, near, far) * greatestShear(shearAcross, near, far);
  }
};

}  // namespace

bool isUnfolded(const tag_qmDistortParams& model, Pixel p) {
  const Pixel offset = {p.x - model.xp, p.y - model.yp};
  const double length = std::sqrt(offset.x * offset.x + offset.y * offset.y);
  if (length == 0.0) return 1 + model.distortExtra[0] > 0.0;
  const RayJacobian ray(model, {offset.x / length, offset.y / length});
  double near = 0.0, stretch = length;
  while (near < length) {
    const double far = std::min(near + stretch, length);
    if (ray.isPositiveBetween(near, far)) {
      near = far;
      stretch *= 2;
    } else if (stretch > length * kShortestStretch && ray.isPositiveBetween(far, far)) {
      stretch /= 2;
    } else {
      return false;
    }
  }
  return near == length;
}

}  // namespace quelplatform

// Whether the lens polynomial folds over between the principal point and a pixel; kernels/FoldFormula.h tells how that
// is proved for a stretch of the way.
#include <algorithm>
#include <cmath>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/kernels/FoldFormula.h"

namespace quelplatform {

namespace {

// A stretch shorter than this part of the ray is not divided further.
constexpr double kShortestStretch = 1.0 / 65536;

// Whether the lens is so mild on the whole way to `offset` that the proof below needs no division of the ray: no entry
// of the Jacobian along it is further than a quarter from that of a lens without distortion, so the products on the
// diagonal are above 9/16 and those beside it below 1/16. Roundings are far smaller than what lies between.
bool isMild(const tag_qmDistortParams& m, Pixel offset) {
  const double* e = m.distortExtra;
  const double r2 = offset.x * offset.x + offset.y * offset.y;
  const double radial =
      r2 *
      (3 * std::abs(m.k1) +
       r2 * (5 * std::abs(m.k2) + r2 * (7 * std::abs(m.k3) + r2 * (9 * std::abs(e[2]) + r2 * (11 * std::abs(e[3]))))));
  const double tangential = 6 * (std::abs(m.p1) + std::abs(m.p2)) * (std::abs(offset.x) + std::abs(offset.y));
  return radial + tangential + (std::abs(e[0]) + std::abs(e[1])) <= 0.25;
}

}  // namespace

bool isUnfolded(const tag_qmDistortParams& model, Pixel p) {
  const Pixel offset = {p.x - model.xp, p.y - model.yp};
  if (isMild(model, offset)) return true;
  const double length = std::sqrt(offset.x * offset.x + offset.y * offset.y);
  if (length == 0.0) return 1 + model.distortExtra[0] > 0.0;
  const RayJacobian<double> ray(model, offset.x / length, offset.y / length);
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

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

}  // namespace

bool isUnfolded(const tag_qmDistortParams& model, Pixel p) {
  const Pixel offset = {p.x - model.xp, p.y - model.yp};
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

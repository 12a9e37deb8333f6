// The fast transform of single-precision points: whole points side by side in a vector.
#include "quelcore/base/kernelWidth.h"
#include "quelcore/patches/kernels/transformPoints.h"
#include "quelcore/patches/qmPatchBasicFuncs.h"

namespace {

quelcore::FloatMotion inSinglePrecision(const qmMathTransform& transform) {
  quelcore::FloatMotion motion = {};
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      motion.column[column][row] = static_cast<float>(transform.rotation[row][column]);
    }
    motion.translation[row] = static_cast<float>(transform.translation[row]);
  }
  return motion;
}

}  // namespace

void qmPatchInplaceTransformAF(const qmMathTransform* transform, float (*points)[4], std::int64_t count) {
  if (transform == nullptr || points == nullptr) return;
  quelcore::kernel(quelcore::kTransformPoints)(inSinglePrecision(*transform), points, count);
}

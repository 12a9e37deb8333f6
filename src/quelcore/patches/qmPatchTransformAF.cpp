// The fast transform of single-precision points: one four-lane vector per point.
#include <cstring>

#include "quelcore/patches/qmPatchBasicFuncs.h"

namespace {

// Four floats that the compiler keeps in one register; lane i of every operation is plain single-precision arithmetic.
using Lanes = float __attribute__((vector_size(16)));

Lanes column(const qmMathTransform& transform, int index) {
  return Lanes{static_cast<float>(transform.rotation[0][index]), static_cast<float>(transform.rotation[1][index]),
               static_cast<float>(transform.rotation[2][index]), 0.0F};
}

Lanes translation(const qmMathTransform& transform) {
  return Lanes{static_cast<float>(transform.translation[0]), static_cast<float>(transform.translation[1]),
               static_cast<float>(transform.translation[2]), 0.0F};
}

}  // namespace

void qmPatchInplaceTransformAF(const qmMathTransform* transform, float (*points)[4], std::int64_t count) {
  if (transform == nullptr || points == nullptr) return;
  const Lanes c0 = column(*transform, 0);
  const Lanes c1 = column(*transform, 1);
  const Lanes c2 = column(*transform, 2);
  const Lanes T = translation(*transform);
  for (std::int64_t n = 0; n < count; ++n) {
    const float x = points[n][0];
    const float y = points[n][1];
    const float z = points[n][2];
    Lanes moved = ((y * c1 + x * c0) + z * c2) + T;
    moved[3] = 0.0F;  // an infinite coordinate would make it NaN
    std::memcpy(points[n], &moved, sizeof(moved));
  }
}

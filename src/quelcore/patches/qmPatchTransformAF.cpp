// The fast transform of single-precision points: one four-lane vector per point.
#include <bit>
#include <cstring>

#include "quelcore/patches/qmPatchBasicFuncs.h"

namespace {

// Four floats that the compiler keeps in one register; lane i of every operation is plain single-precision arithmetic.
using Lanes = float __attribute__((vector_size(16)));

using Bits = std::int32_t __attribute__((vector_size(16)));
constexpr Bits kFirstThree = {-1, -1, -1, 0};

/// Coordinate `index` of a point in all four lanes.
template <int index>
Lanes everywhere(Lanes point) {
  return __builtin_shufflevector(point, point, index, index, index, index);
}

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
    Lanes p;
    std::memcpy(&p, points[n], sizeof(p));
    const Lanes sum = ((everywhere<1>(p) * c1 + everywhere<0>(p) * c0) + everywhere<2>(p) * c2) + T;
    // The fourth lane is cleared and not trusted to be 0: an infinite coordinate makes it NaN.
    const Lanes moved = std::bit_cast<Lanes>(std::bit_cast<Bits>(sum) & kFirstThree);
    std::memcpy(points[n], &moved, sizeof(moved));
  }
}

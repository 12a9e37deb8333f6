// Kernel: a rigid motion of points of four single-precision floats, in place.
#pragma once

#include <cstdint>

#include "quelkernels/widths.h"

namespace quelcore {

/// The columns of the rotation and the translation, each with a fourth entry of 0.
struct FloatMotion {
  float column[3][4];
  float translation[4];
};

/// points[n] = ((y c1 + x c0) + z c2) + t in single precision, each step rounded, with 0 as its fourth float.
using TransformPoints = void(const FloatMotion& motion, float (*points)[4], std::int64_t count);

QUEL_DECLARE_KERNEL(TransformPoints, transformPoints)

inline constexpr quelkernels::Kernel<TransformPoints> kTransformPoints = QUEL_KERNEL_OF(transformPoints);

}  // namespace quelcore

// Vectors as the doors take them: rows of plain arrays in the same memory. Hidden in the library.
#pragma once

#include <limits>

#include "quel/base/Vectors.h"

namespace quel {

static_assert(sizeof(Vec2) == sizeof(double[2]) && sizeof(Vec3) == sizeof(double[3]));

inline constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
inline constexpr Vec2 kNoPixel = {kNan, kNan};
inline constexpr Vec3 kNoPoint = {kNan, kNan, kNan};

inline const double (*rowsOf(const Vec2* vectors))[2] { return reinterpret_cast<const double(*)[2]>(vectors); }
inline double (*rowsOf(Vec2* vectors))[2] { return reinterpret_cast<double(*)[2]>(vectors); }
inline const double (*rowsOf(const Vec3* vectors))[3] { return reinterpret_cast<const double(*)[3]>(vectors); }
inline double (*rowsOf(Vec3* vectors))[3] { return reinterpret_cast<double(*)[3]>(vectors); }

}  // namespace quel

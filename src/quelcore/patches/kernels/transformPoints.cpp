#include "quelcore/patches/kernels/transformPoints.h"

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

/// Whole points side by side, as many as the width holds.
constexpr int kPoints = kLanes > 2 ? kLanes / 2 : 1;
using Floats = std::make_index_sequence<4 * kPoints>;

typedef float Points __attribute__((vector_size(16 * kPoints)));
typedef float PointsInMemory __attribute__((vector_size(16 * kPoints), aligned(1), may_alias));
typedef std::int32_t Bits __attribute__((vector_size(16 * kPoints)));

/// Coordinate `Index` of each point in all four of its floats.
template <int Index, std::size_t... N>
QUEL_INLINE Points everywhere(Points points, std::index_sequence<N...>) {
  return __builtin_shufflevector(points, points, (int{N} / 4 * 4 + Index)...);
}

template <std::size_t... N>
QUEL_INLINE Points repeated(const float value[4], std::index_sequence<N...>) {
  return Points{value[N % 4]...};
}

template <std::size_t... N>
QUEL_INLINE Bits firstThree(std::index_sequence<N...>) {
  return Bits{(N % 4 == 3 ? 0 : -1)...};
}

struct Motion {
  Points c0, c1, c2, t;
};

QUEL_INLINE Points moved(const Motion& m, Points p) {
  const Points y = everywhere<1>(p, Floats{}) * m.c1, x = everywhere<0>(p, Floats{}) * m.c0;
  const Points sum = ((y + x) + everywhere<2>(p, Floats{}) * m.c2) + m.t;
  // The fourth float is cleared and not trusted to be 0: an infinite coordinate makes it NaN.
  return reinterpret_cast<Points>(reinterpret_cast<Bits>(sum) & firstThree(Floats{}));
}

}  // namespace

void transformPoints(const FloatMotion& motion, float (*points)[4], std::int64_t count) {
  const Motion m = {repeated(motion.column[0], Floats{}), repeated(motion.column[1], Floats{}),
                    repeated(motion.column[2], Floats{}), repeated(motion.translation, Floats{})};
  std::int64_t n = 0;
  for (; n + kPoints <= count; n += kPoints) {
    PointsInMemory* const place = reinterpret_cast<PointsInMemory*>(points[n]);
    *place = moved(m, *place);
  }
  for (; n < count; ++n) {
    Points last = {};
    for (int i = 0; i < 4; ++i) last[i] = points[n][i];
    last = moved(m, last);
    for (int i = 0; i < 4; ++i) points[n][i] = last[i];
  }
}

}  // namespace quelcore::QUEL_WIDTH

#include "quelcore/tensor/kernels/movePoints.h"

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

namespace {

QUEL_INLINE Pack rowTimes(const double row[4], PackOf3 p) {
  return ((row[0] * p.x + row[1] * p.y) + row[2] * p.z) + row[3];
}

QUEL_INLINE void moveOnePack(const double motion[3][4], const double (*points)[3], std::int64_t n, PointBlock& moved) {
  const PackOf3 p = loadPoints(points);
  store(moved.x + n, rowTimes(motion[0], p));
  store(moved.y + n, rowTimes(motion[1], p));
  store(moved.z + n, rowTimes(motion[2], p));
}

}  // namespace

void movePoints(const double motion[3][4], const double (*points)[3], std::int64_t count, PointBlock& moved) {
  std::int64_t n = 0;
  for (; n + kLanes <= count; n += kLanes) moveOnePack(motion, points + n, n, moved);
  if (n == count) return;
  double rest[kLanes][3] = {};
  for (std::int64_t i = n; i < count; ++i) {
    for (int axis = 0; axis < 3; ++axis) rest[i - n][axis] = points[i][axis];
  }
  moveOnePack(motion, rest, n, moved);
}

}  // namespace quelcore::QUEL_WIDTH

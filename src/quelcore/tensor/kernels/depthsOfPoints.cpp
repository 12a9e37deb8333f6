#include "quelcore/tensor/kernels/depthsOfPoints.h"

#include "quelcore/tensor/kernels/motionPack.h"

namespace quelcore::QUEL_WIDTH {

void depthsOfPoints(const double motion[3][4], const double row[4], const double (*points)[3], std::int64_t count,
                    float* depths) {
  const MatrixPack matrix = spread(motion);
  const Pack depthRow[4] = {everyLane(row[0]), everyLane(row[1]), everyLane(row[2]), everyLane(row[3])};
  for (std::int64_t n = 0; n < count; n += kLanes) {
    const bool whole = count - n >= kLanes;
    const PackOf3 p = whole ? loadPointsSplit(points + n) : loadFirstPoints(points + n, firstLanes(count - n));
    const FloatPack depth = rounded(rowTimes(depthRow, times(matrix, p)));
    for (int lane = 0; lane < kLanes && (whole || n + lane < count); ++lane) {
      depths[n + (whole ? splitOrder(lane) : lane)] = depth[lane];
    }
  }
}

}  // namespace quelcore::QUEL_WIDTH

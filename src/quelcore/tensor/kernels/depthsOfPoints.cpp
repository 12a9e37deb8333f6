#include "quelcore/tensor/kernels/depthsOfPoints.h"

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

void depthsOfPoints(const double row[4], const PointBlock& points, std::int64_t count, float depths[kBlockOfPoints]) {
  for (std::int64_t n = 0; n < count; n += kLanes) {
    const Pack depth =
        ((row[0] * load(points.x + n) + row[1] * load(points.y + n)) + row[2] * load(points.z + n)) + row[3];
    store(depths + n, rounded(depth));
  }
}

}  // namespace quelcore::QUEL_WIDTH

// Calibration points with their image positions.
#pragma once

#include <cstdint>

/// `count` world points and their positions in the three images. Every array of these records has this stride.
struct tag_qmRT2d3dPts {
  std::int32_t count;
  double (*imagePts)[2];  ///< 3 x `count`: the positions of camera 0, then those of camera 1, then those of camera 2.
  double (*worldPts)[3];  ///< `count`.
  std::int32_t* values0;  ///< `count`.
  std::int32_t* values1;  ///< `count`.
};

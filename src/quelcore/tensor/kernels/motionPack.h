// A pack of points under a rigid motion, for the kernels of this folder.
#pragma once

#include "quelkernels/Pack.h"

namespace quelcore::QUEL_WIDTH {

using namespace quelkernels::QUEL_WIDTH;

/// A 3x4 matrix with every entry in all lanes: loops over many points read it so.
struct MatrixPack {
  Pack entry[3][4];
};

QUEL_INLINE MatrixPack spread(const double (*rows)[4]) {
  MatrixPack m;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 4; ++column) m.entry[row][column] = everyLane(rows[row][column]);
  }
  return m;
}

/// One row applied to (point, 1).
QUEL_INLINE Pack rowTimes(const Pack row[4], PackOf3 p) {
  return ((row[0] * p.x + row[1] * p.y) + row[2] * p.z) + row[3];
}

QUEL_INLINE PackOf3 times(const MatrixPack& m, PackOf3 p) {
  return {rowTimes(m.entry[0], p), rowTimes(m.entry[1], p), rowTimes(m.entry[2], p)};
}

}  // namespace quelcore::QUEL_WIDTH

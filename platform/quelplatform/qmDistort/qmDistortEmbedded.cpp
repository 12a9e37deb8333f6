#include "quelplatform/qmDistort/qmDistortEmbedded.h"

#include <algorithm>
#include <limits>
#include <new>
#include <optional>

#include "quelplatform/qmDistort/LutSet.h"
#include "quelplatform/qmDistort/LutTable.h"

namespace quelplatform {

namespace {

LutShape shapeOf(const LutGrid& grid) {
  LutShape shape = {};
  shape.lutVersion = grid.lutVersion;
  shape.columns = grid.columns;
  shape.rows = grid.rows;
  // One layer too many is refused like any other excess.
  shape.layers = static_cast<std::int32_t>(std::min<std::size_t>(grid.depths.size(), kMaxLutSide + 1));
  shape.hasTable = {true, true, false, false};
  std::copy_n(grid.origin, 2, shape.origin);
  std::copy_n(grid.pitch, 2, shape.pitch);
  return shape;
}

bool depthsAreSound(const std::vector<float>& depths) {
  float before = -std::numeric_limits<float>::infinity();
  return std::none_of(depths.begin(), depths.end(), [&before](float depth) {
    const char* defect = depthDefect(before, depth);
    before = depth;
    return defect != nullptr;
  });
}

void sample(const LutDisplacement& displacement, tag_qmDistortLuts& luts) {
  for (std::int32_t layer = 0; layer < luts.tableCount; ++layer) {
    const qmImageRecord& x = luts.tables[0][layer];
    const qmImageRecord& y = luts.tables[1][layer];
    for (std::int32_t row = 0; row < x.height; ++row) {
      for (std::int32_t column = 0; column < x.width; ++column) {
        float value[2] = {0, 0};
        displacement(luts.gridOrigin[0] + column * luts.gridPitch[0], luts.gridOrigin[1] + row * luts.gridPitch[1],
                     static_cast<double>(luts.layerDepths[layer]), value);
        x.rows[row][column] = value[0];
        y.rows[row][column] = value[1];
      }
    }
  }
}

}  // namespace

const tag_qmDistortLuts* makeDistortLuts(const std::string& id, const LutGrid& grid,
                                         const LutDisplacement& displacement) {
  const LutShape shape = shapeOf(grid);
  if (!isLutId(id) || shapeDefect(shape) != nullptr || !depthsAreSound(grid.depths)) return nullptr;
  LutSetPointer luts = allocateLutSet(shape);
  if (!luts) return nullptr;
  std::copy(grid.depths.begin(), grid.depths.end(), luts->layerDepths);
  sample(displacement, *luts);
  finishLutSet(*luts);
  try {
    return lutTable().adopt(id, std::move(luts));
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::int64_t distortLutsReferences(const std::string& id) { return lutTable().references(id); }

}  // namespace quelplatform

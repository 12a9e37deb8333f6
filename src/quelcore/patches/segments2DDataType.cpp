#include "quelcore/patches/segments2DDataType.h"

#include <cstring>

#include "quelcore/base/MemoryBlock.h"

using Row = quelcore::MemoryBlock<unsigned short>;
using RowTable = quelcore::MemoryBlock<unsigned short*>;

segments2DDataType::segments2DDataType(int rows, int columns) { init(rows, columns); }

segments2DDataType::~segments2DDataType() {
  if (segmentIds == nullptr) return;
  for (std::int32_t y = 0; y < rowCount; ++y) quelcore::freeMemory(segmentIds[y]);
  quelcore::freeMemory(segmentIds);
}

bool segments2DDataType::init(int rows, int columns) {
  if (segmentIds != nullptr || rows < 0 || columns < 0) return false;
  rowCount = rows;
  columnCount = columns;
  segmentIds = RowTable::zeroed(static_cast<std::size_t>(rows)).release();
  if (segmentIds == nullptr) return false;
  for (std::int32_t y = 0; y < rows; ++y) {
    segmentIds[y] = Row::uninitialised(static_cast<std::size_t>(columns)).release();
    if (segmentIds[y] == nullptr) return false;
    std::memset(segmentIds[y], 0, static_cast<std::size_t>(columns) * sizeof(unsigned short));
  }
  return true;
}

void segments2DDataType::cleanData() {
  if (segmentIds == nullptr) return;
  segmentSizes.clear();
  for (std::int32_t y = 0; y < rowCount; ++y) {
    if (segmentIds[y] == nullptr) continue;
    std::memset(segmentIds[y], 0, static_cast<std::size_t>(columnCount) * sizeof(unsigned short));
  }
}

std::size_t segments2DDataType::getSegmentNo() const {
  return static_cast<std::size_t>(static_cast<std::int32_t>(segmentSizes.size()) - 1);
}

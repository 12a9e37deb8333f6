// Calibration points: their arrays come and go together.
#include "quelcore/base/MemoryBlock.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

using quelcore::freeMemory;

namespace {

constexpr quelcore::ModuleLog kLog{"qmReconsTensorCore"};

/// Array of `count` elements; the pointer is null when it cannot be had.
template <typename Element>
bool allocate(std::int64_t count, Element*& array) {
  array = quelcore::MemoryBlock<Element>::uninitialised(static_cast<std::size_t>(count)).release();
  return array != nullptr;
}

}  // namespace

std::int32_t qmRT2d3dPtsAlloc(std::int32_t count, tag_qmRT2d3dPts* points) {
  if (points == nullptr) {
    kLog.write(quelcore::kLogError, "NULL pointer");
    return 0;
  }
  *points = {count, nullptr, nullptr, nullptr, nullptr};
  if (count < 0 || !allocate(std::int64_t{3} * count, points->imagePts) || !allocate(count, points->worldPts) ||
      !allocate(count, points->values0) || !allocate(count, points->values1)) {
    kLog.trace();
    return 0;
  }
  return 1;
}

std::int32_t qmRT2d3dPtsFree(tag_qmRT2d3dPts* points) {
  if (points == nullptr) {
    kLog.write(quelcore::kLogError, "NULL pointer");
    return 1;
  }
  freeMemory(points->imagePts);
  freeMemory(points->worldPts);
  freeMemory(points->values0);
  freeMemory(points->values1);
  points->count = 0;
  return 1;
}

std::int32_t qmRTcalibDataFree(std::int32_t count, tag_qmRT2d3dPts** records) {
  if (records == nullptr || *records == nullptr) return 1;
  for (std::int32_t n = 0; n < count; ++n) qmRT2d3dPtsFree(*records + n);
  freeMemory(*records);
  return 1;
}

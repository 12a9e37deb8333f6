#include "quelplatform/qmDistort/LutSet.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "quelplatform/qmDistort/LutLookup.h"
#include "quelplatform/qmEnv/qmMemory.h"

namespace quelplatform {

namespace {

template <typename T>
bool allocate(std::size_t count, T*& out) {
  void* memory = nullptr;
  if (qmMallocInitZero(count * sizeof(T), &memory) == 0) return false;
  out = static_cast<T*>(memory);
  return true;
}

void release(void* memory) { qmMallocFree(&memory); }

bool allocateTable(const LutShape& shape, qmImageRecord*& table) {
  if (!allocate(static_cast<std::size_t>(shape.layers), table)) return false;
  for (std::int32_t layer = 0; layer < shape.layers; ++layer) {
    auto** rows = static_cast<float**>(alloc_image(shape.columns, shape.rows, sizeof(float), Image_border));
    if (rows == nullptr) return false;
    table[layer] = {rows, shape.columns, shape.rows};
  }
  return true;
}

std::int32_t layerNearestToZero(const float* depths, std::int32_t count) {
  const auto closer = [](float a, float b) { return std::abs(a) < std::abs(b); };
  return static_cast<std::int32_t>(std::min_element(depths, depths + count, closer) - depths);
}

bool isSide(std::int32_t n) { return n >= 1 && n <= kMaxLutSide; }

}  // namespace

bool isLutId(std::string_view id) {
  return !id.empty() && id.size() < kLutIdSize && id.find('\0') == std::string_view::npos;
}

std::uint64_t LutShape::cells() const {
  const auto tables = static_cast<std::uint64_t>(std::count(hasTable.begin(), hasTable.end(), true));
  return tables * static_cast<std::uint64_t>(layers) * layerCells();
}

LutShape shapeOf(const tag_qmDistortLuts& luts) {
  LutShape shape = {};
  shape.lutVersion = luts.lutVersion;
  shape.layers = luts.tableCount;
  for (std::size_t i = 0; i < 2; ++i) {
    shape.origin[i] = luts.gridOrigin[i];
    shape.pitch[i] = luts.gridPitch[i];
  }
  for (std::size_t i = 0; i < kLutTables; ++i) {
    shape.hasTable[i] = luts.tables[i] != nullptr;
    if (!shape.hasTable[i] || shape.columns != 0 || luts.tableCount < 1) continue;
    shape.columns = luts.tables[i][0].width;
    shape.rows = luts.tables[i][0].height;
  }
  return shape;
}

const char* shapeDefect(const LutShape& shape) {
  if (!shape.hasTable[0] || !shape.hasTable[1]) return "the table of x or of y displacements is missing";
  if (!isSide(shape.columns) || !isSide(shape.rows)) return "the number of columns or rows is not in 1 to 65536";
  if (!isSide(shape.layers)) return "the number of layers is not in 1 to 65536";
  for (std::size_t i = 0; i < 2; ++i) {
    if (!std::isfinite(shape.origin[i])) return "the grid's origin is not finite";
    if (!std::isfinite(shape.pitch[i]) || !(shape.pitch[i] > 0)) return "the grid's pitch is not a positive number";
  }
  return nullptr;
}

const char* depthDefect(float before, float depth) {
  if (!std::isfinite(depth)) return "a layer's depth is not finite";
  return before < depth ? nullptr : "the layers' depths do not ascend";
}

const char* lutDefect(const tag_qmDistortLuts& luts) {
  const LutShape shape = shapeOf(luts);
  if (const char* defect = shapeDefect(shape)) return defect;
  if (luts.layerDepths == nullptr) return "the layers' depths are missing";
  float before = -std::numeric_limits<float>::infinity();
  for (std::int32_t layer = 0; layer < luts.tableCount; ++layer) {
    if (const char* defect = depthDefect(before, luts.layerDepths[layer])) return defect;
    before = luts.layerDepths[layer];
  }
  const char* defect = nullptr;
  forEachLutImage(luts, [&](const qmImageRecord& image) {
    if (image.rows == nullptr || image.width != shape.columns || image.height != shape.rows) {
      defect = "the images are not all of one size";
    }
  });
  return defect;
}

void LutSetDeleter::operator()(tag_qmDistortLuts* luts) const noexcept {
  forEachLutImage(*luts, [](qmImageRecord& image) { free_image(image.rows, sizeof(float), Image_border); });
  for (qmImageRecord* table : luts->tables) release(table);
  release(luts->layerDepths);
  release(luts);
}

LutSetPointer allocateEmptyLutSet() noexcept {
  tag_qmDistortLuts* luts = nullptr;
  allocate(1, luts);
  return LutSetPointer(luts);
}

LutSetPointer allocateLutSet(const LutShape& shape) noexcept {
  LutSetPointer luts = allocateEmptyLutSet();
  if (!luts || !allocate(static_cast<std::size_t>(shape.layers), luts->layerDepths)) return nullptr;
  luts->lutVersion = shape.lutVersion;
  luts->tableCount = shape.layers;
  for (std::size_t i = 0; i < 2; ++i) {
    luts->gridOrigin[i] = shape.origin[i];
    luts->gridPitch[i] = shape.pitch[i];
  }
  for (std::size_t i = 0; i < kLutTables; ++i) {
    if (shape.hasTable[i] && !allocateTable(shape, luts->tables[i])) return nullptr;
  }
  return luts;
}

void finishLutSet(tag_qmDistortLuts& luts) noexcept {
  luts.referenceLayer = layerNearestToZero(luts.layerDepths, luts.tableCount);
  if (luts.lutVersion >= kLutVersionWithNaN) return;
  forEachLutImage(luts, [](const qmImageRecord& image) {
    for (std::int32_t row = 0; row < image.height; ++row) {
      float* cells = image.rows[row];
      std::replace_if(
          cells, cells + image.width, [](float cell) { return std::isnan(cell); }, kNoLutValue);
    }
  });
}

}  // namespace quelplatform

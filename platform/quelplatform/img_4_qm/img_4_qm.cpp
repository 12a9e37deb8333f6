#include "quelplatform/img_4_qm/img_4_qm.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

#include "quelplatform/qmEnv/qmMemory.h"

namespace {

constexpr std::size_t kCellAlignment = 16;

/// Where the parts of an image lie in its block: the table of row pointers, then the cells, row after row.
struct ImageLayout {
  std::size_t cells;     ///< Offset of the first cell.
  std::size_t rowBytes;  ///< From one row to the next.
  std::size_t size;
};

// False when the image is larger than any block can be.
bool layOut(std::size_t columns, std::size_t rows, std::size_t elementSize, ImageLayout& layout) {
  std::size_t tableBytes = 0;
  std::size_t cellBytes = 0;
  if (__builtin_mul_overflow(rows, sizeof(void*), &tableBytes) ||
      __builtin_mul_overflow(columns, elementSize, &layout.rowBytes) ||
      __builtin_mul_overflow(layout.rowBytes, rows, &cellBytes)) {
    return false;
  }
  layout.cells = (tableBytes + kCellAlignment - 1) / kCellAlignment * kCellAlignment;
  return !__builtin_add_overflow(layout.cells, cellBytes, &layout.size);
}

template <typename Image>
void freeLevels(Image* levelImages, std::int64_t firstRecord, std::int64_t count) {
  if (levelImages == nullptr) return;
  const std::int64_t end = std::min<std::int64_t>(firstRecord + count, kPyramidRecords);
  for (std::int64_t record = std::max<std::int64_t>(firstRecord, 0); record < end; ++record) {
    void* rows = levelImages[record].rows;
    qmMallocFree(&rows);
    levelImages[record].rows = nullptr;
  }
}

// `defined` records from the first on take sizes that halve; the level count stands in the record around them.
template <typename Pyramid, typename Image>
void define(Image* levelImages, std::int32_t levels, std::int64_t defined, std::int32_t width, std::int32_t height) {
  if (levelImages == nullptr || levels >= kPyramidRecords) return;
  auto* start = reinterpret_cast<std::byte*>(levelImages) - offsetof(Pyramid, levelImages);
  reinterpret_cast<Pyramid*>(start)->levels = levels;
  for (std::int64_t record = 0; record < defined; ++record) {
    levelImages[record].width = width;
    levelImages[record].height = height;
    width = width / 2 + width % 2;
    height = height / 2 + height % 2;
  }
}

template <typename Image>
std::int32_t allocateLevels(Image* levelImages, std::int64_t firstRecord, std::int64_t count) {
  if (count < 1) return 1;
  if (levelImages == nullptr || firstRecord < 0 || firstRecord + count > kPyramidRecords) return 0;
  freeLevels(levelImages, firstRecord, count);
  for (std::int64_t record = firstRecord; record < firstRecord + count; ++record) {
    Image& image = levelImages[record];
    using Rows = decltype(image.rows);
    image.rows = static_cast<Rows>(alloc_image(image.width, image.height, sizeof(**image.rows), Image_border));
    if (image.rows != nullptr) continue;
    freeLevels(levelImages, firstRecord, count);
    return 0;
  }
  return 1;
}

}  // namespace

void* alloc_image(std::int32_t columns, std::int32_t rows, std::int32_t elementSize, std::int32_t border) noexcept {
  if (columns < 0 || rows < 0 || elementSize < 0 || border != Image_border) return nullptr;
  ImageLayout layout{};
  if (!layOut(static_cast<std::size_t>(columns), static_cast<std::size_t>(rows), static_cast<std::size_t>(elementSize),
              layout)) {
    return nullptr;
  }
  void* block = nullptr;
  if (qmMallocInitZero(layout.size, &block) == 0) return nullptr;
  std::byte* row = static_cast<std::byte*>(block) + layout.cells;
  void** table = static_cast<void**>(block);
  for (std::int32_t y = 0; y < rows; ++y, row += layout.rowBytes) table[y] = row;
  return block;
}

void free_image(void* image, std::int32_t, std::int32_t) noexcept { qmMallocFree(&image); }

void fcopy_img(qmImageRecord source, qmImageRecord destination) noexcept {
  if (source.rows == nullptr || destination.rows == nullptr) return;
  const std::int32_t width = std::min(source.width, destination.width);
  const std::int32_t height = std::min(source.height, destination.height);
  if (width <= 0) return;
  for (std::int32_t y = 0; y < height; ++y) {
    std::memmove(destination.rows[y], source.rows[y], static_cast<std::size_t>(width) * sizeof(float));
  }
}

void def_fpyr(qmImageRecord* levelImages, std::int32_t levels, std::int32_t width, std::int32_t height,
              std::int32_t) noexcept {
  define<_qmPyramid>(levelImages, levels, std::int64_t{levels} + 1, width, height);
}

void def_bpyr(qmByteImageRecord* levelImages, std::int32_t levels, std::int32_t width, std::int32_t height) noexcept {
  define<_qmBPyramid>(levelImages, levels, levels, width, height);
}

std::int32_t alloc_fpyr(qmImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept {
  return allocateLevels(levelImages, first, count);
}

std::int32_t alloc_bpyr(qmByteImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept {
  return allocateLevels(levelImages, std::int64_t{first} - 1, count);
}

void free_fpyr(qmImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept {
  freeLevels(levelImages, first, count);
}

void free_bpyr(qmByteImageRecord* levelImages, std::int32_t first, std::int32_t count) noexcept {
  freeLevels(levelImages, std::int64_t{first} - 1, count);
}

// The small distortion images of a tensor.
#include <algorithm>

#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/distortBatch.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

namespace {

constexpr std::int32_t kTablePitch = 25;  // pixels per entry
constexpr std::int64_t kEntriesAtOnce = 128;

/// Entries along `pixels` of the image; computed in 64 bits, since a caller's record may hold any size.
std::int32_t entriesAlong(std::int32_t pixels) {
  return static_cast<std::int32_t>((std::int64_t{pixels} - 1) / kTablePitch + 1);
}

float** makeTable(float** before, std::int32_t columns, std::int32_t rows) {
  if (before != nullptr) free_image(before, sizeof(float), Image_border);
  return static_cast<float**>(alloc_image(columns, rows, sizeof(float), Image_border));
}

/// The entries from column `from` on of the row at `y`, as many as one call distorts.
void fillPartOfRow(const tag_qmDistortParams& params, std::int64_t y, std::int64_t from, std::int64_t count,
                   qmDistortTableSet& tables) {
  double pixels[kEntriesAtOnce][2];
  for (std::int64_t n = 0; n < count; ++n) {
    pixels[n][0] = static_cast<double>((from + n) * kTablePitch);
    pixels[n][1] = static_cast<double>(y);
  }
  quelcore::distortPixelsWithoutDepth(params, count, pixels);
  for (std::int64_t n = 0; n < count; ++n) {
    const auto x = static_cast<double>((from + n) * kTablePitch);
    tables.xTable[y / kTablePitch][from + n] = static_cast<float>(pixels[n][0] - x);
    tables.yTable[y / kTablePitch][from + n] = static_cast<float>(pixels[n][1] - static_cast<double>(y));
  }
}

void fillTables(const tag_qmDistortParams& params, std::int32_t width, std::int32_t height, qmDistortTableSet& tables) {
  const std::int64_t columns = entriesAlong(width);
  for (std::int64_t y = 0; y < height; y += kTablePitch) {
    for (std::int64_t from = 0; width > 0 && from < columns; from += kEntriesAtOnce) {
      fillPartOfRow(params, y, from, std::min(kEntriesAtOnce, columns - from), tables);
    }
  }
}

}  // namespace

void calcDistortTables(tag_qmReconsTensorData* tensor) {
  if (tensor == nullptr) return;
  using quelcore::kTensorFileLog;
  kTensorFileLog.write(quelcore::kLogInformation, "Calculate distort pixel tables");
  const std::int32_t columns = entriesAlong(tensor->imageWidth);
  const std::int32_t rows = entriesAlong(tensor->imageHeight);
  for (int camera = 0; camera < 3; ++camera) {
    qmDistortTableSet& tables = tensor->distortTables[camera];
    tables.xTable = makeTable(tables.xTable, columns, rows);
    tables.yTable = makeTable(tables.yTable, columns, rows);
    tables.xCols = tables.yCols = columns;
    tables.xRows = tables.yRows = rows;
    if (tables.xTable == nullptr || tables.yTable == nullptr) continue;
    fillTables(tensor->distortParams[camera], tensor->imageWidth, tensor->imageHeight, tables);
  }
  kTensorFileLog.write(quelcore::kLogInformation, "Finished calculating distort pixel tables");
}

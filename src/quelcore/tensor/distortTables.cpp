// The small distortion images of a tensor.
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/tensorFileLog.h"
#include "quelplatform/img_4_qm/img_4_qm.h"

namespace {

constexpr std::int32_t kTablePitch = 25;  // pixels per entry

/// Entries along `pixels` of the image; computed in 64 bits, since a caller's record may hold any size.
std::int32_t entriesAlong(std::int32_t pixels) {
  return static_cast<std::int32_t>((std::int64_t{pixels} - 1) / kTablePitch + 1);
}

float** makeTable(float** before, std::int32_t columns, std::int32_t rows) {
  if (before != nullptr) free_image(before, sizeof(float), Image_border);
  return static_cast<float**>(alloc_image(columns, rows, sizeof(float), Image_border));
}

/// Where the camera sees the ideal pixel, without depth; by the fast form where the exact one fails.
void distort(const tag_qmDistortParams& params, const double ideal[2], double distorted[2]) {
  distorted[0] = ideal[0];
  distorted[1] = ideal[1];
  if (qmDistortDistortOnePt(ideal, &params, nullptr, distorted) == 0) {
    qmDistortDistortOnePtFast(ideal, &params, nullptr, distorted);
  }
}

void fillTables(const tag_qmDistortParams& params, std::int32_t width, std::int32_t height, qmDistortTableSet& tables) {
  for (std::int64_t y = 0; y < height; y += kTablePitch) {
    for (std::int64_t x = 0; x < width; x += kTablePitch) {
      const double ideal[2] = {static_cast<double>(x), static_cast<double>(y)};
      double distorted[2];
      distort(params, ideal, distorted);
      tables.xTable[y / kTablePitch][x / kTablePitch] = static_cast<float>(distorted[0] - ideal[0]);
      tables.yTable[y / kTablePitch][x / kTablePitch] = static_cast<float>(distorted[1] - ideal[1]);
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

#include "quelcore/features/SurfaceEditorData.h"

#include <algorithm>
#include <memory>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"
#include "quelplatform/qmEnv/qmParam.h"

namespace {

/// The size of drawn points, common to the whole process; negative until it is known.
float processPointSize = -5.0F;

float pointSizeOfProcess() {
  constexpr float kDefaultPointSize = 5.0F;
  if (processPointSize < 0.0F) {
    qmEnvGetParam2float("QmApp.XSCOPPointSize", kDefaultPointSize, &processPointSize);
  }
  return processPointSize;
}

/// A part from 0 to 1 as a whole number up to 255, cut toward zero.
std::uint16_t colourOf(float part) {
  const float value = part * 255.0F;
  if (!(value > 0.0F)) return 0;
  return static_cast<std::uint16_t>(std::min(value, 65535.0F));
}

}  // namespace

SurfaceEditorData::SurfaceEditorData() : pointSize(pointSizeOfProcess()) {}

SurfaceEditorData::SurfaceEditorData(const SurfaceEditorData& other) : SurfaceEditorData() { *this = other; }

SurfaceEditorData::~SurfaceEditorData() {
  delete[] legend;
  delete[] counters;
}

SurfaceEditorData& SurfaceEditorData::operator=(const SurfaceEditorData& other) {
  if (this == &other) return *this;
  if (legendCount != other.legendCount) resize(other.legendCount);
  copyAnalysisPrmOnly(other);
  if (legend != nullptr && other.legend != nullptr) {
    std::copy_n(other.legend, std::size_t{legendCount} + 1, legend);
  }
  if (counters != nullptr && other.counters != nullptr) std::copy_n(other.counters, legendCount, counters);
  return *this;
}

bool SurfaceEditorData::operator==(const SurfaceEditorData& other) const {
  if (limitsUsed != other.limitsUsed) return false;
  if (limitsUsed != 0 && !(lowLimit == other.lowLimit && highLimit == other.highLimit)) return false;
  if (scaleUsed != other.scaleUsed) return false;
  if (scaleUsed != 0 && !(scale == other.scale)) return false;
  return option2 == other.option2 && pointSize == other.pointSize;
}

void SurfaceEditorData::copyAnalysisPrmOnly(const SurfaceEditorData& other) {
  option0 = other.option0;
  option1 = other.option1;
  option2 = other.option2;
  limitsUsed = other.limitsUsed;
  scaleUsed = other.scaleUsed;
  parameter = other.parameter;
  valueA = other.valueA;
  valueB = other.valueB;
  lowLimit = other.lowLimit;
  highLimit = other.highLimit;
  scale = other.scale;
  pointSize = other.pointSize;
}

/// Arrays for `count` intervals, all zero.
void SurfaceEditorData::resize(std::uint32_t count) {
  std::unique_ptr<SurfaceLegendRecord[]> records;
  std::unique_ptr<std::uint32_t[]> zeros;
  if (count > 0) {
    records = std::make_unique<SurfaceLegendRecord[]>(std::size_t{count} + 1);
    zeros = std::make_unique<std::uint32_t[]>(count);
  }
  delete[] legend;
  delete[] counters;
  legend = records.release();
  counters = zeros.release();
  legendCount = counterCount = count;
}

void SurfaceEditorData::attachLegend(const QmLegendBase* newLegend) {
  if (!QmDiscreteLegend::IsDiscreteLegendType(newLegend)) return;
  const auto& discrete = static_cast<const QmDiscreteLegend&>(*newLegend);
  if (discrete.GetNumOfColor() != legendCount) resize(discrete.GetNumOfColor());
  if (legend == nullptr || legendCount == 0) return;
  for (std::uint32_t i = 0; i < legendCount; ++i) {
    const float(&colour)[3] = discrete.GetColors()[i];
    legend[i] = {discrete.GetThresholds()[i], colourOf(colour[0]), colourOf(colour[1]), colourOf(colour[2])};
  }
  legend[legendCount].threshold = discrete.GetThresholds()[legendCount];
}

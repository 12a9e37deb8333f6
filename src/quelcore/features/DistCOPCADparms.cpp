#include "quelcore/features/DistCOPCADparms.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace {

/// From the mean of squares and the mean.
double deviation(const double (&stats)[4]) { return std::sqrt(stats[2] - stats[3] * stats[3]); }

float partOf(std::uint16_t colour) { return static_cast<float>(colour / 255.0); }

}  // namespace

void DistCOPCADparms::setSurfaceEditorData(const SurfaceEditorData* data) {
  if (data == nullptr) return;
  mode = 0;
  surfaceData = *data;
  surfaceData.counterCount = 0;
  setColorParameters(&surfaceData);
}

void DistCOPCADparms::attachLegend(const QmLegendBase* legend) {
  surfaceData.attachLegend(legend);
  setColorParameters(&surfaceData);
}

void DistCOPCADparms::setColorParameters(const SurfaceEditorData* data) {
  if (data == nullptr) return;
  const std::uint32_t count = data->legend == nullptr ? 0 : std::min(data->legendCount, kMostIntervals);
  for (std::uint32_t i = 0; i < count; ++i) {
    const SurfaceLegendRecord* interval = data->legend + (data->legendCount - 1 - i);
    colors[i][0] = partOf(interval->red);
    colors[i][1] = partOf(interval->green);
    colors[i][2] = partOf(interval->blue);
    thresholds[i] = interval[1].threshold;
  }
  if (data->counters != nullptr) std::fill_n(data->counters, data->legendCount, 0U);
  thresholds[count] = std::numeric_limits<float>::max();
}

void DistCOPCADparms::emptyStatistic() {
  posCount = negCount = 0;
  std::fill(std::begin(posStats), std::end(posStats), 0.0);
  std::fill(std::begin(negStats), std::end(negStats), 0.0);
  running[4] = 0;
}

double DistCOPCADparms::pos_std() const { return deviation(posStats); }

double DistCOPCADparms::neg_std() const { return deviation(negStats); }

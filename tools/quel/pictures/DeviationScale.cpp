#include "pictures/DeviationScale.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"

namespace queltool {

namespace {

constexpr float kColours[][3] = {{0.16F, 0.20F, 0.58F}, {0.17F, 0.45F, 0.80F}, {0.30F, 0.68F, 0.86F},
                                 {0.50F, 0.82F, 0.74F}, {0.47F, 0.78F, 0.36F}, {0.78F, 0.86F, 0.30F},
                                 {0.97F, 0.76F, 0.20F}, {0.93F, 0.47F, 0.13F}, {0.78F, 0.14F, 0.14F}};
constexpr std::uint32_t kIntervals = std::size(kColours);
constexpr std::uint32_t kMiddle = kIntervals / 2;

/// 1, 2 or 5 times a power of ten, the least that is not below `value`.
double niceAbove(double value) {
  if (!(value > 0.0)) return 1.0;
  const double decade = std::pow(10.0, std::floor(std::log10(value)));
  for (const double step : {1.0, 2.0, 5.0}) {
    if (value <= step * decade) return step * decade;
  }
  return 10.0 * decade;
}

double rootMeanSquare(const std::vector<double>& values) {
  double sum = 0.0;
  for (const double value : values) sum += value * value;
  return values.empty() ? 0.0 : std::sqrt(sum / static_cast<double>(values.size()));
}

// With an interval about 0, bounds of signed deviations are odd multiples of half a width.
QmDiscreteLegend legendOf(double width, bool isSigned) {
  const std::uint32_t first = isSigned ? 0 : kMiddle;
  const std::uint32_t count = kIntervals - first;
  const double lowest = isSigned ? -0.5 * kIntervals : 0.0;
  std::vector<float> thresholds;
  for (std::uint32_t i = 0; i <= count; ++i) thresholds.push_back(static_cast<float>((lowest + i) * width));
  QmDiscreteLegend legend;
  if (!legend.SetIntervals(count, thresholds.data(), kColours + first)) throw std::bad_alloc();
  return legend;
}

// Mean and mean of squares of what stands in `stats` as sums.
void average(double (&stats)[4], std::int32_t count) {
  for (double* sum : {&stats[2], &stats[3]}) *sum = count == 0 ? 0.0 : *sum / count;
}

}  // namespace

DeviationScale::DeviationScale(const std::vector<double>& deviations, bool isSigned) {
  constexpr double kShown = 2.5;  // Times the root of the mean square, at least.
  const double intervals = isSigned ? 0.5 * kIntervals : kIntervals - kMiddle;
  const QmDiscreteLegend legend = legendOf(niceAbove(kShown * rootMeanSquare(deviations) / intervals), isSigned);
  analysis_.attachLegend(&legend);
  analysis_.emptyStatistic();
  count(deviations);
}

// Intervals run from the top down, each with its upper bound.
std::size_t DeviationScale::intervalOf(double deviation) const {
  std::size_t i = analysis_.surfaceData.legendCount - 1;
  while (i > 0 && deviation > static_cast<double>(analysis_.thresholds[i])) --i;
  return i;
}

void DeviationScale::count(const std::vector<double>& deviations) {
  for (const double d : deviations) {
    ++analysis_.surfaceData.counters[intervalOf(d)];
    if (d == 0.0) continue;
    double(&stats)[4] = d > 0.0 ? analysis_.posStats : analysis_.negStats;
    stats[2] += d * d;
    stats[3] += d;
    ++(d > 0.0 ? analysis_.posCount : analysis_.negCount);
  }
  average(analysis_.posStats, analysis_.posCount);
  average(analysis_.negStats, analysis_.negCount);
}

Colour DeviationScale::colourOf(double deviation) const {
  const float(&c)[3] = analysis_.colors[intervalOf(deviation)];
  return {static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[2])};
}

void DeviationScale::draw(Picture& picture, const Box& box) const {
  constexpr double kBarWidth = 22.0;
  constexpr double kTextSize = 12.0;
  const SurfaceEditorData& data = analysis_.surfaceData;
  const double step = box.height / data.legendCount;
  const double all = std::accumulate(data.counters, data.counters + data.legendCount, 0.0);
  const auto bound = [&](float value) {
    return data.legend[0].threshold < 0.0F ? fmt::format("{:+.4g}", value) : fmt::format("{:.4g}", value);
  };
  for (std::uint32_t i = 0; i < data.legendCount; ++i) {
    const float(&c)[3] = analysis_.colors[i];
    const double y = box.y + i * step;
    picture.fillBox({box.x, y, kBarWidth, step + 0.3},
                    {static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[2])});
    picture.text({box.x + kBarWidth + 8.0, y + 4.0}, bound(analysis_.thresholds[i]), kTextSize, kInk);
    const double share = all == 0.0 ? 0.0 : 100.0 * data.counters[i] / all;
    picture.text({box.x + box.width, y + 0.5 * step + 4.0}, fmt::format("{:.1f} %", share), kTextSize, kPale,
                 Align::Right);
  }
  picture.text({box.x + kBarWidth + 8.0, box.y + box.height + 4.0}, bound(data.legend[0].threshold) + " mm", kTextSize,
               kInk);
  picture.frameBox({box.x, box.y, kBarWidth, box.height}, kFrame, 1.0);
}

}  // namespace queltool

#include "quel/geometry/DeviationScale.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"

namespace quel {

namespace {

constexpr std::uint32_t kIntervals = kDiverging.size();
constexpr std::uint32_t kMiddle = kIntervals / 2;
constexpr Colour kGrey = {0.5, 0.5, 0.5};

/// 1, 2 or 5 times a power of ten, the least that is not below `value`.
double niceAbove(double value) {
  if (!(value > 0.0)) return 1.0;
  const double decade = std::pow(10.0, std::floor(std::log10(value)));
  for (const double step : {1.0, 2.0, 5.0}) {
    if (value <= step * decade) return step * decade;
  }
  return 10.0 * decade;
}

double rootMeanSquare(std::span<const double> values) {
  double sum = 0.0;
  std::size_t numbers = 0;
  for (const double value : values) {
    if (std::isnan(value)) continue;
    sum += value * value;
    ++numbers;
  }
  return numbers == 0 ? 0.0 : std::sqrt(sum / static_cast<double>(numbers));
}

// With an interval about 0, bounds of signed deviations are odd multiples of half a width.
QmDiscreteLegend legendOf(double width, bool isSigned) {
  const std::uint32_t first = isSigned ? 0 : kMiddle;
  const std::uint32_t count = kIntervals - first;
  const double lowest = isSigned ? -0.5 * kIntervals : 0.0;
  std::vector<float> thresholds;
  std::vector<std::array<float, 3>> colours;
  for (std::uint32_t i = first; i < kIntervals; ++i) {
    const Colour& c = kDiverging[i];
    colours.push_back({static_cast<float>(c.red), static_cast<float>(c.green), static_cast<float>(c.blue)});
  }
  for (std::uint32_t i = 0; i <= count; ++i) thresholds.push_back(static_cast<float>((lowest + i) * width));
  QmDiscreteLegend legend;
  if (!legend.SetIntervals(count, thresholds.data(), reinterpret_cast<const float(*)[3]>(colours.data()))) {
    throw std::bad_alloc();
  }
  return legend;
}

// Mean and mean of squares of what stands in `stats` as sums.
void average(double (&stats)[4], std::int32_t count) {
  for (double* sum : {&stats[2], &stats[3]}) *sum = count == 0 ? 0.0 : *sum / count;
}

Colour colourOf(const float (&c)[3]) {
  return {static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[2])};
}

}  // namespace

DeviationScale::DeviationScale(std::span<const double> deviations, bool isSigned) : isSigned_(isSigned) {
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

void DeviationScale::count(std::span<const double> deviations) {
  for (const double d : deviations) {
    if (std::isnan(d)) continue;
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

std::vector<DeviationScale::Interval> DeviationScale::intervals() const {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const SurfaceEditorData& data = analysis_.surfaceData;
  std::vector<Interval> ascending;
  for (std::uint32_t i = 0; i < data.legendCount; ++i) {
    const std::uint32_t own = data.legendCount - 1 - i;  // Those of the analysis run down.
    const double lower = ascending.empty() ? (isSigned_ ? -kInfinity : 0.0) : ascending.back().upper;
    const double upper = own == 0 ? kInfinity : static_cast<double>(analysis_.thresholds[own]);
    ascending.push_back({lower, upper, quel::colourOf(analysis_.colors[own]), data.counters[own]});
  }
  return ascending;
}

Colour DeviationScale::colourOf(double deviation) const {
  return std::isnan(deviation) ? kGrey : quel::colourOf(analysis_.colors[intervalOf(deviation)]);
}

}  // namespace quel

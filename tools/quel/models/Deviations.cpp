#include "models/Deviations.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>

#include "models/ColourTable.h"
#include "nominal/Chunks.h"
#include "quel/geometry/Residuals.h"

namespace queltool {

namespace {

constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

std::vector<double> thoseThatAre(std::span<const double> each) {
  std::vector<double> values;
  values.reserve(each.size());
  std::copy_if(each.begin(), each.end(), std::back_inserter(values), [](double d) { return !std::isnan(d); });
  return values;
}

// Of the differences from the mean, so that deviations that are large and alike keep their digits.
double standardDeviationOf(std::span<const double> values, double mean) {
  if (values.size() < 2) return kNone;
  double squares = 0.0;
  for (const double d : values) squares += (d - mean) * (d - mean);
  return std::sqrt(squares / static_cast<double>(values.size() - 1));
}

void grade(std::span<const double> values, const Tolerance& tolerance, DeviationFigures& figures) {
  figures.bands.resize(readColourTable().bands.size());
  for (const double d : values) {
    ++(d < tolerance.lower ? figures.below : d > tolerance.upper ? figures.above : figures.within);
    ++figures.bands[gradeDeviation(tolerance.lower, tolerance.upper, d, tolerance.oneSided).level];
  }
}

}  // namespace

Deviations deviationsFrom(const Nominal& nominal, std::vector<Vec3> points, std::size_t notFinite, int threads) {
  Deviations found{std::move(points), {}, notFinite};
  found.each.resize(found.points.size());
  std::atomic<std::size_t> atBorder = 0, withoutSide = 0;
  inChunks(found.points.size(), threads, [&](std::size_t, std::size_t first, std::size_t count) {
    std::array<Nearest, kChunk> nearest;
    nominal.findNearest(std::span(found.points).subspan(first, count), std::span(nearest).first(count));
    for (std::size_t n = 0; n < count; ++n) {
      const Nearest& each = nearest[n];
      found.each[first + n] = each.side == Side::Known ? each.deviation : kNone;
      if (each.side == Side::Border) ++atBorder;
      if (each.side == Side::Unknown) ++withoutSide;
    }
  });
  found.atBorder = atBorder;
  found.withoutSide = withoutSide;
  return found;
}

double quantileOf(std::span<double> values, std::size_t percent) {
  const std::size_t place = (values.size() * percent + 99) / 100 - 1;
  const auto at = values.begin() + static_cast<std::ptrdiff_t>(place);
  std::nth_element(values.begin(), at, values.end());
  return *at;
}

DeviationFigures figuresOf(std::span<const double> each, const Tolerance& tolerance) {
  quel::Residuals residuals = quel::residualsOf(thoseThatAre(each));
  std::vector<double>& values = residuals.each;
  DeviationFigures figures;
  figures.count = values.size();
  figures.mean = residuals.mean;
  figures.rms = residuals.rms;
  figures.standardDeviation = standardDeviationOf(values, residuals.mean);
  figures.smallest = residuals.smallest;
  figures.largest = residuals.largest;
  grade(values, tolerance, figures);
  for (double& d : values) d = std::abs(d);
  figures.quantile95 = quantileOf(values, 95);
  figures.quantile99 = quantileOf(values, 99);
  return figures;
}

}  // namespace queltool

#include "web/PageCloud.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "models/ColourTable.h"
#include "web/Planes.h"

namespace queltool {
namespace {

bool isFinite(const Vec3& p) { return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]); }

// Finite points with their deviations.
struct Finite {
  std::vector<Vec3> points;
  std::vector<double> deviations;
};

Finite finiteOf(std::span<const Vec3> points, std::span<const double> deviations) {
  Finite finite;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!isFinite(points[i])) continue;
    finite.points.push_back(points[i]);
    finite.deviations.push_back(deviations[i]);
  }
  return finite;
}

// Shown points, those with a deviation and those without.
struct Shown {
  std::vector<Cell> graded;
  std::vector<std::int32_t> steps;
  std::vector<Cell> ungraded;
  std::size_t beyond = 0;
};

Shown shownOf(const Finite& finite, const CellGrid& grid, const DeviationSteps& steps, std::size_t most) {
  std::vector<Cell> cells(finite.points.size());
  std::transform(finite.points.begin(), finite.points.end(), cells.begin(),
                 [&](const Vec3& p) { return grid.cellOf(p); });
  const std::vector<std::uint32_t> order = curveOrder(cells);
  Shown shown;
  for (const std::uint32_t place : everyKth(order.size(), most)) {
    const std::uint32_t i = order[place];
    const double deviation = finite.deviations[i];
    (std::isnan(deviation) ? shown.ungraded : shown.graded).push_back(cells[i]);
    if (std::isnan(deviation)) continue;
    shown.steps.push_back(steps.stepsOf(deviation));
    shown.beyond += steps.isBeyond(deviation) ? 1 : 0;
  }
  return shown;
}

std::string planesOf(const std::vector<Cell>& cells) {
  std::string planes;
  std::vector<std::uint16_t> column(cells.size());
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t i = 0; i < cells.size(); ++i) column[i] = cells[i][axis];
    addPlanes(std::span<const std::uint16_t>(column), planes);
  }
  return planes;
}

std::array<double, 2> usualOf(std::vector<std::int32_t> steps) {
  if (steps.empty()) return {0.0, 0.0};
  const std::size_t rare = steps.size() / 1000;
  const auto low = steps.begin() + static_cast<std::ptrdiff_t>(rare);
  std::nth_element(steps.begin(), low, steps.end());
  const double lowest = *low;
  const auto high = steps.end() - 1 - static_cast<std::ptrdiff_t>(rare);
  std::nth_element(steps.begin(), high, steps.end());
  return {lowest, static_cast<double>(*high)};
}

}  // namespace

PageCloud pageCloudOf(std::span<const Vec3> points, std::span<const double> deviations, const DeviationSteps& steps,
                      std::size_t most) {
  const Finite finite = finiteOf(points, deviations);
  const CellGrid grid(finite.points);
  Shown shown = shownOf(finite, grid, steps, most);
  PageCloud cloud;
  cloud.points = finite.points.size();
  cloud.notFinite = points.size() - cloud.points;
  cloud.beyond = shown.beyond;
  cloud.origin = grid.origin();
  cloud.cellStep = grid.step();
  cloud.graded = shown.graded.size();
  cloud.ungraded = shown.ungraded.size();
  cloud.gradedPlanes = planesOf(shown.graded);
  addPlanes(std::span<const std::int32_t>(shown.steps), cloud.gradedPlanes);
  cloud.ungradedPlanes = planesOf(shown.ungraded);
  cloud.usualSteps = usualOf(std::move(shown.steps));
  return cloud;
}

GradeCounts countGrades(std::span<const Vec3> points, std::span<const double> deviations, const GradedBy& limits,
                        std::size_t bands) {
  GradeCounts counts;
  counts.bands.resize(bands);
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (!isFinite(points[i])) continue;
    const double d = deviations[i];
    if (std::isnan(d)) {
      ++counts.none;
      continue;
    }
    ++counts.bands[gradeDeviation(limits.lower, limits.upper, d, limits.oneSided).level];
    ++counts.places[static_cast<std::size_t>(against(limits, d))];
  }
  return counts;
}

}  // namespace queltool

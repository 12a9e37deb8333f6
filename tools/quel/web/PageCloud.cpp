#include "web/PageCloud.h"

#include <algorithm>
#include <cmath>

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

std::vector<Cell> cellsOf(const std::vector<Vec3>& points, const CellGrid& grid) {
  std::vector<Cell> cells(points.size());
  std::transform(points.begin(), points.end(), cells.begin(), [&](const Vec3& p) { return grid.cellOf(p); });
  return cells;
}

void addCells(const std::vector<Cell>& cells, std::string& planes) {
  std::vector<std::uint16_t> column(cells.size());
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (std::size_t i = 0; i < cells.size(); ++i) column[i] = cells[i][axis];
    addPlanes(std::span<const std::uint16_t>(column), planes);
  }
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
  const std::vector<Cell> cells = cellsOf(finite.points, grid);
  const std::vector<std::uint32_t> order = curveOrder(cells);
  PageCloud cloud;
  std::vector<Cell> graded;
  std::vector<Cell> ungraded;
  std::vector<std::int32_t> offs;
  for (const std::uint32_t place : everyKth(order.size(), most)) {
    const std::uint32_t i = order[place];
    const double deviation = finite.deviations[i];
    (std::isnan(deviation) ? ungraded : graded).push_back(cells[i]);
    if (std::isnan(deviation)) continue;
    offs.push_back(steps.stepsOf(deviation));
    cloud.beyond += steps.isBeyond(deviation) ? 1 : 0;
  }
  cloud.points = finite.points.size();
  cloud.notFinite = points.size() - cloud.points;
  cloud.origin = grid.origin();
  cloud.cellStep = grid.step();
  cloud.graded = graded.size();
  cloud.ungraded = ungraded.size();
  addCells(graded, cloud.gradedPlanes);
  addPlanes(std::span<const std::int32_t>(offs), cloud.gradedPlanes);
  addCells(ungraded, cloud.ungradedPlanes);
  cloud.usualSteps = usualOf(std::move(offs));
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

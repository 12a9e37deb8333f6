#include "web/Cells.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace queltool {
namespace {

constexpr double kMostSteps = 65535.0;

// The bits of `value` with two zeros between neighbours.
std::uint64_t spread(std::uint64_t value) {
  value = (value | value << 16) & 0x0000FF0000FFULL;
  value = (value | value << 8) & 0x00F00F00F00FULL;
  value = (value | value << 4) & 0x0C30C30C30C3ULL;
  return (value | value << 2) & 0x249249249249ULL;
}

std::uint64_t curvePlace(const Cell& cell) { return spread(cell[0]) | spread(cell[1]) << 1 | spread(cell[2]) << 2; }

}  // namespace

// Each end is divided by itself, so that no difference overflows.
CellGrid::CellGrid(std::span<const Vec3> points) {
  constexpr double kLeastStep = 1e-300;  // Below that quotients are no longer finite.
  if (points.empty()) return;
  origin_ = points.front();
  Vec3 end = origin_;
  for (const Vec3& p : points) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      origin_[axis] = std::min(origin_[axis], p[axis]);
      end[axis] = std::max(end[axis], p[axis]);
    }
  }
  double step = 0.0;
  for (std::size_t axis = 0; axis < 3; ++axis)
    step = std::max(step, end[axis] / kMostSteps - origin_[axis] / kMostSteps);
  if (step > kLeastStep) step_ = step;
}

Cell CellGrid::cellOf(const Vec3& point) const {
  Cell cell{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double steps = std::nearbyint(point[axis] / step_ - origin_[axis] / step_);
    cell[axis] = static_cast<std::uint16_t>(std::clamp(steps, 0.0, kMostSteps));
  }
  return cell;
}

std::vector<std::uint32_t> curveOrder(std::span<const Cell> cells) {
  std::vector<std::pair<std::uint64_t, std::uint32_t>> places(cells.size());
  for (std::uint32_t i = 0; i < cells.size(); ++i) places[i] = {curvePlace(cells[i]), i};
  std::sort(places.begin(), places.end());
  std::vector<std::uint32_t> order(cells.size());
  std::transform(places.begin(), places.end(), order.begin(), [](const auto& place) { return place.second; });
  return order;
}

std::vector<std::uint32_t> everyKth(std::size_t all, std::size_t count) {
  std::vector<std::uint32_t> chosen(std::min(all, count));
  for (std::size_t k = 0; k < chosen.size(); ++k) chosen[k] = static_cast<std::uint32_t>(k * all / chosen.size());
  return chosen;
}

}  // namespace queltool

// Points of a cloud in the cells that a page shows them in, and the curve that puts neighbours beside each other.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "files/Values.h"

namespace queltool {

/// A place by the steps from the lowest corner of the grid.
using Cell = std::array<std::uint16_t, 3>;

/// 65536 places along the longest side of the box around the points, with the same step along every axis.
class CellGrid {
 public:
  /// Of finite points.
  explicit CellGrid(std::span<const Vec3> points);

  /// The nearest place to a point within the box.
  Cell cellOf(const Vec3& point) const;

  const Vec3& origin() const { return origin_; }

  /// Between neighbours, in the unit of the points; a thousandth of that where the box has no extent.
  double step() const { return step_; }

 private:
  Vec3 origin_{};
  double step_ = 1e-3;
};

/// Positions of `cells` in the order of the Morton curve; those of equal cells ascend.
std::vector<std::uint32_t> curveOrder(std::span<const Cell> cells);

/// `count` of the positions 0 to `all` - 1, evenly: the k-th is floor(k * all / count). All where `count` is no less.
std::vector<std::uint32_t> everyKth(std::size_t all, std::size_t count);

}  // namespace queltool

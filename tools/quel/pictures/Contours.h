// Lines of equal value through a field on a grid.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "files/Values.h"

namespace queltool {

/// Values at the nodes of a grid, row by row; NaN where there is none.
struct Field {
  std::size_t columns;
  std::size_t rows;
  std::vector<double> values;

  double at(std::size_t column, std::size_t row) const { return values[row * columns + column]; }
};

/// The pieces of the line on which the field is `level`, in units of the grid: between neighbouring nodes values are
/// taken to change evenly. Where a cell's corners alternate, its middle decides. Cells without a value have no line.
std::vector<std::pair<Vec2, Vec2>> contourOf(const Field& field, double level);

/// Round values between the smallest and the largest of the field, a round step apart, at most `most`, ascending.
std::vector<double> levelsOf(const Field& field, std::size_t most);

}  // namespace queltool

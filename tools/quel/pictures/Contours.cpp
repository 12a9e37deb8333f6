#include "pictures/Contours.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "pictures/ViewMarks.h"

namespace queltool {

namespace {

// The corners of a cell, one after the other around it.
constexpr std::array<std::array<std::size_t, 2>, 4> kCorners = {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}};

struct Cell {
  std::array<Vec2, 4> places;
  std::array<double, 4> above;  // By how much the corners are above the level.
};

Cell cellAt(const Field& field, std::size_t column, std::size_t row, double level) {
  Cell cell{};
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t x = column + kCorners[i][0], y = row + kCorners[i][1];
    cell.places[i] = {static_cast<double>(x), static_cast<double>(y)};
    cell.above[i] = field.at(x, y) - level;
  }
  return cell;
}

// Where the line crosses each side of the cell, in the order of the sides.
std::vector<Vec2> crossingsOf(const Cell& cell) {
  std::vector<Vec2> crossings;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t next = (i + 1) % 4;
    const double a = cell.above[i], b = cell.above[next];
    if ((a >= 0.0) == (b >= 0.0)) continue;
    const double share = a / (a - b);
    crossings.push_back({cell.places[i][0] + share * (cell.places[next][0] - cell.places[i][0]),
                         cell.places[i][1] + share * (cell.places[next][1] - cell.places[i][1])});
  }
  return crossings;
}

}  // namespace

std::vector<std::pair<Vec2, Vec2>> contourOf(const Field& field, double level) {
  std::vector<std::pair<Vec2, Vec2>> pieces;
  for (std::size_t row = 0; row + 1 < field.rows; ++row) {
    for (std::size_t column = 0; column + 1 < field.columns; ++column) {
      const Cell cell = cellAt(field, column, row, level);
      const double sum = cell.above[0] + cell.above[1] + cell.above[2] + cell.above[3];
      if (!std::isfinite(sum)) continue;
      const std::vector<Vec2> c = crossingsOf(cell);
      if (c.size() == 2) pieces.emplace_back(c[0], c[1]);
      if (c.size() != 4) continue;
      // Crossings 0 and 1 lie about corner 1: they belong together where the middle is not as that corner is.
      const bool aboutCorner1 = (sum >= 0.0) != (cell.above[1] >= 0.0);
      pieces.emplace_back(c[0], c[aboutCorner1 ? 1 : 3]);
      pieces.emplace_back(c[2], c[aboutCorner1 ? 3 : 1]);
    }
  }
  return pieces;
}

std::vector<double> levelsOf(const Field& field, std::size_t most) {
  double low = std::numeric_limits<double>::infinity(), high = -low;
  for (const double value : field.values) {
    if (!std::isfinite(value)) continue;
    low = std::min(low, value);
    high = std::max(high, value);
  }
  constexpr double kRoundings = 0x1p-44;  // Between heights that differ by less no level is another one than its next.
  if (!(high > low) || high - low <= kRoundings * std::max(std::abs(low), std::abs(high))) return {};
  const double least = (high - low) / static_cast<double>(most);
  const double below = roundLength(least);
  const double step = below >= least ? below : roundLength(2.5 * below);
  std::vector<double> levels;
  for (double n = std::floor(low / step) + 1.0; n * step < high; n += 1.0) levels.push_back(n * step);
  return levels;
}

}  // namespace queltool

#include "web/Cells.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <limits>
#include <random>

namespace queltool {
namespace {

using testing::ElementsAre;

TEST(CellGrid, SpansTheLongestSideWithTheSameStepAlongEveryAxis) {
  const std::vector<Vec3> points = {{10.0, 5.0, -1.0}, {75.535, 5.0, 2.0}};
  const CellGrid grid(points);
  EXPECT_EQ(grid.origin(), (Vec3{10.0, 5.0, -1.0}));
  EXPECT_NEAR(grid.step(), 0.001, 1e-15);
  EXPECT_EQ(grid.cellOf(points[0]), (Cell{0, 0, 0}));
  EXPECT_EQ(grid.cellOf(points[1]), (Cell{65535, 0, 3000}));
}

TEST(CellGrid, TakesTheNearestCell) {
  const std::vector<Vec3> points = {{0.0, 0.0, 0.0}, {65535.0, 1.0, 1.0}};
  const CellGrid grid(points);
  EXPECT_EQ(grid.cellOf({7.4, 0.6, 0.4}), (Cell{7, 1, 0}));
}

TEST(CellGrid, OfOnePlaceIsThatPlace) {
  const std::vector<Vec3> points = {{3.0, 4.0, 5.0}, {3.0, 4.0, 5.0}};
  const CellGrid grid(points);
  EXPECT_EQ(grid.origin(), points[0]);
  EXPECT_EQ(grid.cellOf(points[1]), (Cell{0, 0, 0}));
  EXPECT_EQ(CellGrid({}).step(), 1e-3);
}

TEST(CellGrid, HoldsTheLargestNumbersAndTheSmallest) {
  constexpr double kLargest = std::numeric_limits<double>::max();
  const std::vector<Vec3> wide = {{-kLargest, 0.0, 0.0}, {kLargest, 0.0, 0.0}};
  EXPECT_EQ(CellGrid(wide).cellOf(wide[0]), (Cell{0, 0, 0}));
  EXPECT_EQ(CellGrid(wide).cellOf(wide[1])[0], 65535);
  const std::vector<Vec3> narrow = {{0.0, 0.0, 0.0}, {5e-324, 0.0, 0.0}};
  EXPECT_EQ(CellGrid(narrow).cellOf(narrow[1]), (Cell{0, 0, 0}));
}

// By bits one after another, as the curve is defined.
std::uint64_t placeByBits(const Cell& cell) {
  std::uint64_t place = 0;
  for (int bit = 15; bit >= 0; --bit) {
    for (std::size_t axis = 3; axis-- > 0;) place = place << 1 | (cell[axis] >> bit & 1U);
  }
  return place;
}

TEST(CurveOrder, FollowsTheBitsOfAllAxesInTurn) {
  std::mt19937 random(3);
  const auto below = [&](unsigned end) { return static_cast<std::uint16_t>(random() % end); };
  std::vector<Cell> cells;
  for (int i = 0; i < 1000; ++i) cells.push_back({below(65536), below(65536), below(65536)});
  for (int i = 0; i < 1000; ++i) cells.push_back({below(8), below(8), below(8)});
  const std::vector<std::uint32_t> order = curveOrder(cells);
  for (std::size_t i = 1; i < order.size(); ++i) {
    EXPECT_LE(placeByBits(cells[order[i - 1]]), placeByBits(cells[order[i]]));
  }
  std::vector<std::uint32_t> sorted = order;
  std::sort(sorted.begin(), sorted.end());
  for (std::uint32_t i = 0; i < sorted.size(); ++i) EXPECT_EQ(sorted[i], i);
}

TEST(CurveOrder, LeavesEqualCellsInTheirOrder) {
  const std::vector<Cell> cells = {{1, 0, 0}, {0, 0, 0}, {1, 0, 0}, {0, 0, 0}};
  EXPECT_THAT(curveOrder(cells), ElementsAre(1, 3, 0, 2));
}

TEST(EveryKth, ChoosesEvenly) {
  EXPECT_THAT(everyKth(10, 4), ElementsAre(0, 2, 5, 7));
  EXPECT_THAT(everyKth(3, 5), ElementsAre(0, 1, 2));
  EXPECT_TRUE(everyKth(0, 5).empty());
  const std::vector<std::uint32_t> many = everyKth(4000000000U, 2000000);
  EXPECT_EQ(many.back(), 3999998000U);
}

}  // namespace
}  // namespace queltool

#include "pictures/Contours.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <limits>

namespace queltool {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Field fieldOf(std::size_t columns, std::size_t rows, const std::function<double(double, double)>& value) {
  Field field{columns, rows, {}};
  for (std::size_t n = 0; n < columns * rows; ++n) {
    field.values.push_back(value(static_cast<double>(n % columns), static_cast<double>(n / columns)));
  }
  return field;
}

TEST(ContourOf, IsExactOnASlope) {
  const auto pieces = contourOf(fieldOf(5, 4, [](double x, double y) { return 2.0 * x + y; }), 4.5);
  EXPECT_FALSE(pieces.empty());
  for (const auto& [from, to] : pieces) {
    EXPECT_NEAR(2.0 * from[0] + from[1], 4.5, 1e-12);
    EXPECT_NEAR(2.0 * to[0] + to[1], 4.5, 1e-12);
  }
}

TEST(ContourOf, GoesAroundAHill) {
  const auto pieces = contourOf(fieldOf(41, 41, [](double x, double y) { return std::hypot(x - 20, y - 20); }), 12.3);
  double length = 0.0;
  for (const auto& [from, to] : pieces) {
    length += std::hypot(to[0] - from[0], to[1] - from[1]);
    EXPECT_NEAR(std::hypot(from[0] - 20, from[1] - 20), 12.3, 0.02);
  }
  EXPECT_NEAR(length, 2.0 * std::acos(-1.0) * 12.3, 0.2);
}

TEST(ContourOf, PartsASaddleByItsMiddle) {
  const auto high = contourOf(fieldOf(2, 2, [](double x, double y) { return x == y ? 3.0 : -1.0; }), 0.0);
  ASSERT_THAT(high, SizeIs(2));  // The middle is above: a line about each low corner.
  EXPECT_THAT(high,
              ElementsAre(std::pair(Vec2{0.75, 0.0}, Vec2{1.0, 0.25}), std::pair(Vec2{0.25, 1.0}, Vec2{0.0, 0.75})));
  const auto low = contourOf(fieldOf(2, 2, [](double x, double y) { return x == y ? 1.0 : -3.0; }), 0.0);
  EXPECT_THAT(low,
              ElementsAre(std::pair(Vec2{0.25, 0.0}, Vec2{0.0, 0.25}), std::pair(Vec2{0.75, 1.0}, Vec2{1.0, 0.75})));
}

TEST(ContourOf, LeavesOutCellsWithoutAValueAndLevelsThatAreNotReached) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THAT(contourOf(fieldOf(2, 2, [](double x, double) { return x == 0.0 ? kNone : 1.0; }), 0.5), IsEmpty());
  EXPECT_THAT(contourOf(fieldOf(3, 3, [](double x, double) { return x; }), 2.5), IsEmpty());
  EXPECT_THAT(contourOf(fieldOf(1, 1, [](double, double) { return 0.0; }), 0.0), IsEmpty());
}

TEST(LevelsOf, AreRoundAndNoMoreThanAsked) {
  const auto levels = [](double low, double high, std::size_t most) {
    return levelsOf(fieldOf(2, 1, [=](double x, double) { return x == 0.0 ? low : high; }), most);
  };
  EXPECT_THAT(levels(0.0, 56.8, 8), ElementsAre(10.0, 20.0, 30.0, 40.0, 50.0));
  EXPECT_THAT(levels(-0.3, 0.3, 4), ElementsAre(-0.2, 0.0, 0.2));
  EXPECT_THAT(levels(1.0, 1.0, 4), IsEmpty());
}

TEST(LevelsOf, AreNoneWhereHeightsDifferByRoundings) {
  for (const double low : {1.0, -1.0, 1e-300, 3e200}) {
    const double high = std::nextafter(std::nextafter(low, HUGE_VAL), HUGE_VAL);
    EXPECT_THAT(levelsOf(fieldOf(2, 1, [=](double x, double) { return x == 0.0 ? low : high; }), 4), IsEmpty()) << low;
  }
}

}  // namespace
}  // namespace queltool

#include "quel/geometry/DeviationScale.h"

#include <gmock/gmock.h>

#include <limits>

namespace quel {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

bool same(const Colour& a, const Colour& b) { return a.red == b.red && a.green == b.green && a.blue == b.blue; }

TEST(DeviationScale, HasOpenIntervalsAboutZeroThatHoldEachDeviationOnce) {
  const double deviations[] = {1.0, 3.0, -2.0, 0.0, 0.0, 1e9, kNaN, -0.5};
  const DeviationScale scale{std::span(deviations).first(5)};
  const auto intervals = scale.intervals();
  ASSERT_EQ(intervals.size(), 9U);
  EXPECT_EQ(intervals.front().lower, -kInfinity);
  EXPECT_EQ(intervals.back().upper, kInfinity);
  std::size_t all = 0;
  for (std::size_t i = 0; i < 9; ++i) {
    all += intervals[i].count;
    if (i > 0) {
      EXPECT_EQ(intervals[i].lower, intervals[i - 1].upper);
    }
    if (i > 0 && i < 8) {
      EXPECT_TRUE(same(scale.colourOf(intervals[i].upper), intervals[i].colour)) << "a bound belongs to those below it";
    }
  }
  EXPECT_EQ(all, 5U);
  EXPECT_EQ(intervals[4].lower, -intervals[4].upper);
  EXPECT_EQ(intervals[4].count, 2U);
}

TEST(DeviationScale, BeginsAtZeroForDistances) {
  const double distances[] = {1.0, 2.0};
  const auto intervals = DeviationScale(distances, false).intervals();
  ASSERT_EQ(intervals.size(), 5U);
  EXPECT_EQ(intervals[0].lower, 0.0);
  EXPECT_EQ(intervals[0].upper, 1.0);
  EXPECT_EQ(intervals[0].count, 1U) << "a bound belongs to the interval below it";
  EXPECT_EQ(intervals[1].count, 1U);
}

TEST(DeviationScale, LeavesOutWhatIsNoNumber) {
  const double deviations[] = {1.0, kNaN, -1.0};
  const double numbers[] = {1.0, -1.0};
  const DeviationScale scale(deviations);
  EXPECT_EQ(scale.intervals()[4].upper, DeviationScale(numbers).intervals()[4].upper);
  EXPECT_EQ(scale.analysis().posCount + scale.analysis().negCount, 2);
  EXPECT_EQ(scale.colourOf(kNaN).red, scale.colourOf(kNaN).blue);
  const DeviationScale none({});
  EXPECT_EQ(none.intervals().size(), 9U);
}

}  // namespace
}  // namespace quel

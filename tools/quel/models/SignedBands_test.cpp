#include "models/SignedBands.h"

#include <gmock/gmock.h>

#include <cmath>

namespace queltool {
namespace {

using ::testing::DoubleEq;
using ::testing::ElementsAre;

TEST(SignedBands, PartTheWayFromZeroToEachLimit) {
  EXPECT_THAT(SignedBands(-1.0, 2.0).bounds(),
              ElementsAre(-1.0, DoubleEq(-0.6), DoubleEq(-0.2), DoubleEq(0.4), DoubleEq(1.2), 2.0));
}

TEST(SignedBands, PartTheWayFromTheMiddleOfAToleranceWithoutZero) {
  EXPECT_THAT(SignedBands(0.0, 10.0).bounds(),
              ElementsAre(0.0, DoubleEq(2.0), DoubleEq(4.0), DoubleEq(6.0), DoubleEq(8.0), 10.0));
}

TEST(SignedBands, AreOpenAtTheEndsAndTakeBoundsInwards) {
  const SignedBands bands(-1.0, 1.0);
  const double values[] = {-HUGE_VAL, -1.1, -1.0, -0.7, -0.3, 0.0, 0.3, 0.7, 1.0, 1.1, 1e300};
  const std::size_t expected[] = {0, 0, 1, 1, 2, 3, 4, 5, 5, 6, 6};
  for (std::size_t i = 0; i < std::size(values); ++i) EXPECT_EQ(bands.bandOf(values[i]), expected[i]) << values[i];
}

TEST(RangesBetween, SayThatTheEndsAreOpen) {
  EXPECT_THAT(rangesBetween({"-7", "7"}, " mm"), ElementsAre("below -7 mm", "-7 to 7 mm", "above 7 mm"));
  EXPECT_THAT(rangesBetween({"100"}, " %"), ElementsAre("below 100 %", "above 100 %"));
  EXPECT_THAT(rangesBetween({}, " %"), ElementsAre("all"));
}

}  // namespace
}  // namespace queltool

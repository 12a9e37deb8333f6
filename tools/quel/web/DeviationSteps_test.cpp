#include "web/DeviationSteps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "models/ColourTable.h"
#include "quelcore/presentation/DeviationColorScheme.h"
#include "testing/TempHome.h"

namespace queltool {
namespace {

// A table of five bands beside the default one, in a home of its own.
class DeviationStepsTest : public testing::Test {
 protected:
  DeviationStepsTest() {
    DeviationColorScheme::FreeInstance();
    for (const unsigned bound : {7U, 35U, 250U, 65535U}) {
      deviationColours().add(static_cast<std::uint16_t>(bound), {0, u"band"});
    }
  }
  ~DeviationStepsTest() override { DeviationColorScheme::FreeInstance(); }

  // True where `deviation` has the same band and place in steps as without.
  static bool isKept(const GradedBy& limits, double deviation) {
    const DeviationSteps steps(limits);
    const double value = steps.valueOf(steps.stepsOf(deviation));
    const auto level = [&](double d) { return gradeDeviation(limits.lower, limits.upper, d, limits.oneSided).level; };
    return level(value) == level(deviation) && against(limits, value) == against(limits, deviation);
  }

  quel::testing::TempHome home_;
};

const std::vector<GradedBy> kLimits = {{-0.1, 0.1, false},      {-0.03, 0.1, false}, {0.02, 0.021, false},
                                       {-0.1, 0.1, true},       {-5.0, -1.0, true},  {-1e4, 1e4, false},
                                       {100.0, 100.001, false}, {0.0, 1e-7, false}};

TEST_F(DeviationStepsTest, KeepEveryBandAndPlaceOfRandomDeviations) {
  std::mt19937 random(5);
  std::normal_distribution<double> off(0.0, 1.0);
  for (const GradedBy& limits : kLimits) {
    for (int i = 0; i < 3000; ++i) {
      const double deviation = 0.5 * (limits.lower + limits.upper) + off(random) * (limits.upper - limits.lower);
      EXPECT_TRUE(isKept(limits, deviation)) << limits.lower << " " << limits.upper << " " << deviation;
    }
  }
}

TEST_F(DeviationStepsTest, KeepBandsRightBesideEveryBound) {
  for (const GradedBy& limits : {kLimits[0], kLimits[1], kLimits[3]}) {
    for (const double percent : {7.0, 35.0, 100.0, 250.0, 1000.0}) {
      const double reach = (limits.oneSided ? limits.upper : 0.5 * (limits.upper - limits.lower)) * percent / 100.0;
      const double middle = limits.oneSided ? 0.0 : 0.5 * (limits.upper + limits.lower);
      for (const double bound : {middle - reach, middle + reach}) {
        for (const double beside : {1e-15, 1e-9, 4e-6}) {
          EXPECT_TRUE(isKept(limits, bound - beside)) << bound << " " << beside;
          EXPECT_TRUE(isKept(limits, bound + beside)) << bound << " " << beside;
        }
      }
    }
  }
}

TEST_F(DeviationStepsTest, OnALimitTheBandCountsBeforeThePlace) {
  const GradedBy limits{-0.03, 0.1, false};
  const DeviationSteps steps(limits);
  for (const double limit : {limits.lower, limits.upper}) {
    const double value = steps.valueOf(steps.stepsOf(limit));
    EXPECT_NEAR(value, limit, 1.5 * steps.step());
    EXPECT_EQ(gradeDeviation(-0.03, 0.1, value, false).level, gradeDeviation(-0.03, 0.1, limit, false).level);
  }
}

TEST_F(DeviationStepsTest, AreWithinOneAndAHalfStepsOfTheDeviation) {
  const DeviationSteps steps({-0.1, 0.1, false});
  for (int i = -5000; i < 5000; ++i) {
    const double deviation = 0.0000317 * i;
    EXPECT_NEAR(steps.valueOf(steps.stepsOf(deviation)), deviation, 1.5 * steps.step());
  }
}

TEST_F(DeviationStepsTest, AreNumbersThatSinglePrecisionHolds) {
  const DeviationSteps steps({-0.1, 0.1, false});
  for (const double deviation : {838.86, 838.8609, 1000.123456, -53687.0, 1e300, -1e300, HUGE_VAL}) {
    const std::int32_t count = steps.stepsOf(deviation);
    EXPECT_EQ(static_cast<double>(static_cast<float>(count)), static_cast<double>(count)) << deviation;
    EXPECT_EQ(count > 0, deviation > 0.0);
  }
  EXPECT_EQ(steps.stepsOf(HUGE_VAL), 1 << 30);
  EXPECT_EQ(steps.stepsOf(-HUGE_VAL), -(1 << 30));
  EXPECT_TRUE(steps.isBeyond(1e300));
  EXPECT_FALSE(steps.isBeyond(53687.0));
}

// Beyond 2^24 steps single precision holds every second one, every fourth beyond twice that.
TEST_F(DeviationStepsTest, KeepBandsBesideBoundsThatLieFarOutWithinSinglePrecision) {
  const GradedBy limits{-1e4, 1e4, false};
  const DeviationSteps steps(limits);
  for (const double bound : {3500.0, 25000.0}) {
    for (int i = -40; i <= 40; ++i) {
      const double deviation = bound + 0.37e-4 * i;
      const std::int32_t count = steps.stepsOf(deviation);
      EXPECT_EQ(static_cast<double>(static_cast<float>(count)), static_cast<double>(count)) << deviation;
      EXPECT_TRUE(isKept(limits, deviation)) << deviation;
    }
  }
}

TEST_F(DeviationStepsTest, AreFineForNarrowTolerancesAndNeverCoarse) {
  EXPECT_DOUBLE_EQ(DeviationSteps({-0.1, 0.1, false}).step(), 1e-4);
  EXPECT_DOUBLE_EQ(DeviationSteps({-1e4, 1e4, false}).step(), 1e-4);
  EXPECT_DOUBLE_EQ(DeviationSteps({0.0, 0.002, false}).step(), 5e-6);
  EXPECT_DOUBLE_EQ(DeviationSteps({0.0, 1e-300, false}).step(), 2e-9);
  EXPECT_DOUBLE_EQ(DeviationSteps({-100.0, 0.001, true}).step(), 5e-6);
}

TEST(RoundStep, IsTheLargestRoundNumberThatIsNoLarger) {
  EXPECT_DOUBLE_EQ(roundStep(7.3), 5.0);
  EXPECT_DOUBLE_EQ(roundStep(0.0499), 0.02);
  EXPECT_DOUBLE_EQ(roundStep(1.9e-7), 1e-7);
  EXPECT_DOUBLE_EQ(roundStep(2.0), 2.0);
}

TEST(Against, CountsTheLimitsAsWithin) {
  const GradedBy limits{-1.0, 2.0, false};
  EXPECT_EQ(against(limits, -1.0), Against::Within);
  EXPECT_EQ(against(limits, 2.0), Against::Within);
  EXPECT_EQ(against(limits, std::nextafter(-1.0, -2.0)), Against::Below);
  EXPECT_EQ(against(limits, std::nextafter(2.0, 3.0)), Against::Above);
}

}  // namespace
}  // namespace queltool

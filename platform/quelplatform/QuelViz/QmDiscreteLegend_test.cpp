#include "quelplatform/QuelViz/QmDiscreteLegend.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/FailingNew.h"

namespace {

constexpr float kThresholds[3] = {-1.0F, 0.0F, 2.0F};
constexpr float kColors[2][3] = {{1.0F, 0.0F, 0.5F}, {0.0F, 0.25F, 1.0F}};

class OtherLegend : public QmLegendBase {};

TEST(QmDiscreteLegend, IsToldFromOtherLegendsAndFromNull) {
  const QmDiscreteLegend legend;
  const OtherLegend other;
  EXPECT_TRUE(QmDiscreteLegend::IsDiscreteLegendType(&legend));
  EXPECT_FALSE(QmDiscreteLegend::IsDiscreteLegendType(&other));
  EXPECT_FALSE(QmDiscreteLegend::IsDiscreteLegendType(nullptr));
}

TEST(QmDiscreteLegend, HasNoIntervalsWhenNew) {
  const QmDiscreteLegend legend;
  EXPECT_EQ(legend.GetNumOfColor(), 0U);
  EXPECT_EQ(legend.GetColors(), nullptr);
  EXPECT_EQ(legend.GetThresholds(), nullptr);
}

TEST(QmDiscreteLegend, CopiesItsIntervals) {
  QmDiscreteLegend legend;
  ASSERT_TRUE(legend.SetIntervals(2, kThresholds, kColors));
  const QmDiscreteLegend copy = legend;
  ASSERT_TRUE(legend.SetIntervals(0, nullptr, nullptr));
  EXPECT_EQ(legend.GetNumOfColor(), 0U);
  ASSERT_EQ(copy.GetNumOfColor(), 2U);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(copy.GetThresholds()[i], kThresholds[i]);
  for (int i = 0; i < 6; ++i) EXPECT_EQ(copy.GetColors()[i / 3][i % 3], kColors[i / 3][i % 3]);
}

TEST(QmDiscreteLegend, StaysAsItWasWhenItCannotTakeIntervals) {
  QmDiscreteLegend legend;
  ASSERT_TRUE(legend.SetIntervals(1, kThresholds, kColors));
  EXPECT_FALSE(legend.SetIntervals(2, nullptr, kColors));
  EXPECT_FALSE(legend.SetIntervals(2, kThresholds, nullptr));
  EXPECT_EQ(quel::testing::failEachNew([&] { return legend.SetIntervals(2, kThresholds, kColors); },
                                       [&](bool result, bool failed) {
                                         EXPECT_EQ(result, !failed);
                                         EXPECT_EQ(legend.GetNumOfColor(), failed ? 1U : 2U);
                                       }),
            2);
}

}  // namespace

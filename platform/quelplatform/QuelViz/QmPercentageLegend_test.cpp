#include "quelplatform/QuelViz/QmPercentageLegend.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"
#include "testing/FailingNew.h"

namespace {

using testing::ElementsAreArray;

constexpr float kPositions[] = {200.0F, 100.0F, 0.0F};
constexpr float kColours[] = {1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F};

std::vector<float> positionsOf(const QmPercentageLegend& legend) {
  return {legend.GetPositions(), legend.GetPositions() + legend.GetNumOfColor() + 1};
}

TEST(QmPercentageLegend, HasNoBandsWhenNew) {
  const QmPercentageLegend legend;
  EXPECT_EQ(legend.GetNumOfColor(), 0);
  EXPECT_EQ(legend.GetPositions(), nullptr);
  EXPECT_EQ(legend.GetColors(), nullptr);
}

TEST(QmPercentageLegend, TakesBandsByCopy) {
  QmPercentageLegend legend;
  std::vector<float> positions(kPositions, kPositions + 3);
  std::vector<float> colours(kColours, kColours + 6);
  EXPECT_TRUE(legend.SetArrayDivision(2, positions.data(), colours.data()));
  positions.assign(3, 9.0F);
  EXPECT_EQ(legend.GetNumOfColor(), 2);
  EXPECT_THAT(positionsOf(legend), ElementsAreArray(kPositions));
  EXPECT_THAT(std::vector<float>(legend.GetColors(), legend.GetColors() + 6), ElementsAreArray(kColours));
}

TEST(QmPercentageLegend, IsEmptiedByACountOfZeroWithoutArrays) {
  QmPercentageLegend legend;
  legend.SetArrayDivision(2, kPositions, kColours);
  EXPECT_TRUE(legend.SetArrayDivision(0, nullptr, nullptr));
  EXPECT_EQ(legend.GetNumOfColor(), 0);
}

TEST(QmPercentageLegend, KeepsItsBandsWhenOthersAreRefused) {
  QmPercentageLegend legend;
  legend.SetArrayDivision(2, kPositions, kColours);
  EXPECT_FALSE(legend.SetArrayDivision(-1, kPositions, kColours));
  EXPECT_FALSE(legend.SetArrayDivision(1, nullptr, kColours));
  EXPECT_FALSE(legend.SetArrayDivision(1, kPositions, nullptr));
  EXPECT_THAT(positionsOf(legend), ElementsAreArray(kPositions));
}

TEST(QmPercentageLegend, IsToldFromOtherLegends) {
  const QmPercentageLegend legend;
  const QmDiscreteLegend other;
  EXPECT_TRUE(QmPercentageLegend::IsPercentageLegendType(&legend));
  EXPECT_FALSE(QmPercentageLegend::IsPercentageLegendType(&other));
  EXPECT_FALSE(QmPercentageLegend::IsPercentageLegendType(nullptr));
}

TEST(QmPercentageLegend, KeepsItsBandsWhenMemoryIsExhausted) {
  QmPercentageLegend legend;
  legend.SetArrayDivision(2, kPositions, kColours);
  const auto met = quel::testing::failEachNew([&] { return legend.SetArrayDivision(1, kPositions, kColours); },
                                              [&](bool set, bool failed) {
                                                EXPECT_EQ(set, !failed);
                                                EXPECT_EQ(legend.GetNumOfColor(), failed ? 2 : 1);
                                              });
  EXPECT_EQ(met, 2);
}

}  // namespace

#include "quelcore/features/SurfaceEditorData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempHome;
using quel::testing::writeFile;

class OtherLegend : public QmLegendBase {};

QmDiscreteLegend legendOf(std::uint32_t count) {
  std::vector<float> thresholds;
  std::vector<float> colors;
  for (std::uint32_t i = 0; i <= count; ++i) thresholds.push_back(static_cast<float>(i) - 1.5F);
  for (std::uint32_t i = 0; i < 3 * count; ++i) colors.push_back(static_cast<float>(i % 256) / 255.0F);
  QmDiscreteLegend legend;
  EXPECT_TRUE(legend.SetIntervals(count, thresholds.data(), reinterpret_cast<const float(*)[3]>(colors.data())));
  return legend;
}

// First in this program: the process has made no object yet.
TEST(SurfaceEditorData, ReadsThePointSizeOnceUnlessItIsNegative) {
  const TempHome home;
  const auto set = [&](const char* value) {
    writeFile(home.path() / "params.ini", std::string("QmApp.XSCOPPointSize = ") + value + "\n");
  };
  set("-2");
  EXPECT_EQ(SurfaceEditorData().pointSize, -2.0F);
  set("-3.25");
  EXPECT_EQ(SurfaceEditorData().pointSize, -3.25F);
  const auto withoutTheParameter = [&] {
    writeFile(home.path() / "params.ini", "");
    const bool isFive = SurfaceEditorData().pointSize == 5.0F;
    set("8.0");
    std::_Exit(isFive && SurfaceEditorData().pointSize == 5.0F ? 0 : 1);
  };
  EXPECT_EXIT(withoutTheParameter(), ::testing::ExitedWithCode(0), "");  // In a process of its own.
  set("8.25");
  EXPECT_EQ(SurfaceEditorData().pointSize, 8.25F);
  set("3");
  EXPECT_EQ(SurfaceEditorData().pointSize, 8.25F);
}

TEST(SurfaceEditorData, BeginsWithItsDefaults) {
  const SurfaceEditorData data;
  EXPECT_EQ(data.option0 + data.option1 + data.option2 + data.limitsUsed + data.scaleUsed, 0);
  EXPECT_EQ(data.parameter, 0U);
  EXPECT_EQ(data.valueA, 0.0F);
  EXPECT_EQ(data.valueB, 0.0F);
  EXPECT_EQ(data.lowLimit, 0.0F);
  EXPECT_EQ(data.highLimit, 0.0F);
  EXPECT_EQ(data.scale, 1.0F);
  EXPECT_EQ(data.legend, nullptr);
  EXPECT_EQ(data.legendCount, 0U);
  EXPECT_EQ(data.counterCount, 0U);
  EXPECT_EQ(data.counters, nullptr);
}

// --- Comparison ------------------------------------------------------------------------------------------------------

TEST(SurfaceEditorData, ComparesLimitsAndScaleOnlyWhereTheyAreUsed) {
  SurfaceEditorData a, b;
  a.lowLimit = 1;
  a.highLimit = 2;
  a.scale = 3;
  EXPECT_TRUE(a == b);
  a.limitsUsed = 1;
  EXPECT_FALSE(a == b);
  b.limitsUsed = 1;
  EXPECT_FALSE(a == b);
  b.lowLimit = 1;
  EXPECT_FALSE(a == b);
  b.highLimit = 2;
  EXPECT_TRUE(a == b);
  a.scaleUsed = 1;
  EXPECT_FALSE(a == b);
  b.scaleUsed = 1;
  EXPECT_FALSE(a == b);
  b.scale = 3;
  EXPECT_TRUE(a == b);
}

TEST(SurfaceEditorData, ComparesSecondOptionAndPointSizeAndNothingElse) {
  SurfaceEditorData a, b;
  b.option0 = b.option1 = 1;
  b.parameter = 7;
  b.valueA = b.valueB = 7;
  const QmDiscreteLegend legend = legendOf(2);
  b.attachLegend(&legend);
  EXPECT_TRUE(a == b);
  b.option2 = 1;
  EXPECT_FALSE(a == b);
  b.option2 = 0;
  b.pointSize += 1;
  EXPECT_FALSE(a == b);
}

TEST(SurfaceEditorData, TakesNoNumberForUnequal) {
  SurfaceEditorData a;
  a.lowLimit = a.scale = std::numeric_limits<float>::quiet_NaN();
  SurfaceEditorData b = a;
  EXPECT_TRUE(a == b);
  a.limitsUsed = b.limitsUsed = 1;
  EXPECT_FALSE(a == b);
  a.limitsUsed = b.limitsUsed = 0;
  a.scaleUsed = b.scaleUsed = 1;
  EXPECT_FALSE(a == b);
}

// --- Legends ---------------------------------------------------------------------------------------------------------

TEST(SurfaceEditorData, TakesADiscreteLegend) {
  const float thresholds[4] = {-1, 0, 1, 2.5};
  const float colors[3][3] = {{0, 0.5, 1}, {0.1F, 0.999F, 0.0F}, {1, 1, 1}};
  QmDiscreteLegend legend;
  ASSERT_TRUE(legend.SetIntervals(3, thresholds, colors));
  SurfaceEditorData data;
  data.attachLegend(&legend);
  ASSERT_EQ(data.legendCount, 3U);
  ASSERT_EQ(data.counterCount, 3U);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(data.legend[i].threshold, thresholds[i]);
  EXPECT_EQ(data.legend[0].red, 0);
  EXPECT_EQ(data.legend[0].green, 127);  // 127.5 cut.
  EXPECT_EQ(data.legend[0].blue, 255);
  EXPECT_EQ(data.legend[1].red, 25);
  EXPECT_EQ(data.legend[1].green, 254);
  EXPECT_EQ(data.legend[3].red, 0);
  EXPECT_EQ(data.counters[2], 0U);
}

TEST(SurfaceEditorData, KeepsItsCountersForALegendOfTheSameSize) {
  const QmDiscreteLegend three = legendOf(3), two = legendOf(2);
  SurfaceEditorData data;
  data.attachLegend(&three);
  const auto* legend = data.legend;
  data.counters[1] = 42;
  data.counterCount = 1;
  data.attachLegend(&three);
  EXPECT_EQ(data.legend, legend);
  EXPECT_EQ(data.counters[1], 42U);
  EXPECT_EQ(data.counterCount, 1U);
  data.attachLegend(&two);
  EXPECT_EQ(data.legendCount, 2U);
  EXPECT_EQ(data.counterCount, 2U);
  EXPECT_EQ(data.counters[1], 0U);
}

TEST(SurfaceEditorData, IgnoresOtherLegendsAndNull) {
  const QmDiscreteLegend two = legendOf(2);
  SurfaceEditorData data;
  data.attachLegend(&two);
  const OtherLegend other;
  data.attachLegend(&other);
  data.attachLegend(nullptr);
  EXPECT_EQ(data.legendCount, 2U);
}

TEST(SurfaceEditorData, HasNoArraysForALegendWithoutIntervals) {
  const QmDiscreteLegend two = legendOf(2), none;
  SurfaceEditorData data;
  data.attachLegend(&none);
  EXPECT_EQ(data.legend, nullptr);
  data.attachLegend(&two);
  data.attachLegend(&none);
  EXPECT_EQ(data.legend, nullptr);
  EXPECT_EQ(data.counters, nullptr);
  EXPECT_EQ(data.legendCount, 0U);
  EXPECT_EQ(data.counterCount, 0U);
  const SurfaceEditorData copy = data;
  EXPECT_EQ(copy.legend, nullptr);
}

TEST(SurfaceEditorData, SaturatesColoursBeyond16Bits) {
  const float infinity = std::numeric_limits<float>::infinity();
  const float thresholds[3] = {0, 1, 2};
  const float colors[2][3] = {{-1, infinity, std::numeric_limits<float>::quiet_NaN()}, {300, -infinity, 2}};
  QmDiscreteLegend legend;
  ASSERT_TRUE(legend.SetIntervals(2, thresholds, colors));
  SurfaceEditorData data;
  data.attachLegend(&legend);
  EXPECT_EQ(data.legend[0].red, 0);
  EXPECT_EQ(data.legend[0].green, 65535);
  EXPECT_EQ(data.legend[0].blue, 0);
  EXPECT_EQ(data.legend[1].red, 65535);
  EXPECT_EQ(data.legend[1].green, 0);
  EXPECT_EQ(data.legend[1].blue, 510);
}

TEST(SurfaceEditorData, GivesBackEveryColourOf255Steps) {
  const QmDiscreteLegend legend = legendOf(255);
  SurfaceEditorData data;
  data.attachLegend(&legend);
  for (std::uint32_t i = 0; i < 255; ++i) {
    EXPECT_EQ(data.legend[i].red, 3 * i % 256);
    EXPECT_EQ(data.legend[i].blue, (3 * i + 2) % 256);
  }
}

// --- Copies ----------------------------------------------------------------------------------------------------------

SurfaceEditorData filled() {
  SurfaceEditorData data;
  data.option0 = 1;
  data.option1 = 2;
  data.option2 = 3;
  data.limitsUsed = 4;
  data.scaleUsed = 5;
  data.parameter = 6;
  data.valueA = 7;
  data.valueB = 8;
  data.lowLimit = 9;
  data.highLimit = 10;
  data.scale = 11;
  data.pointSize = 12;
  const QmDiscreteLegend legend = legendOf(3);
  data.attachLegend(&legend);
  data.counters[0] = 70;
  return data;
}

void expectFilled(const SurfaceEditorData& data) {
  EXPECT_EQ(data.option0, 1);
  EXPECT_EQ(data.option1, 2);
  EXPECT_EQ(data.option2, 3);
  EXPECT_EQ(data.limitsUsed, 4);
  EXPECT_EQ(data.scaleUsed, 5);
  EXPECT_EQ(data.parameter, 6U);
  EXPECT_EQ(data.valueA, 7.0F);
  EXPECT_EQ(data.valueB, 8.0F);
  EXPECT_EQ(data.lowLimit, 9.0F);
  EXPECT_EQ(data.highLimit, 10.0F);
  EXPECT_EQ(data.scale, 11.0F);
  EXPECT_EQ(data.pointSize, 12.0F);
}

TEST(SurfaceEditorData, CopiesTheAnalysisAloneWithoutTheLegend) {
  const SurfaceEditorData data = filled();
  SurfaceEditorData other;
  other.copyAnalysisPrmOnly(data);
  expectFilled(other);
  EXPECT_EQ(other.legend, nullptr);
  EXPECT_EQ(other.legendCount, 0U);
}

TEST(SurfaceEditorData, CopiesLegendAndCountersByValue) {
  SurfaceEditorData data = filled();
  const SurfaceEditorData copy(data);
  SurfaceEditorData assigned;
  assigned = data;
  assigned = *&assigned;
  data.legend[3].threshold = 99;
  data.counters[0] = 0;
  for (const SurfaceEditorData* other : {&copy, static_cast<const SurfaceEditorData*>(&assigned)}) {
    expectFilled(*other);
    ASSERT_EQ(other->legendCount, 3U);
    EXPECT_EQ(other->counterCount, 3U);
    EXPECT_EQ(other->legend[3].threshold, 1.5F);
    EXPECT_EQ(other->legend[2].green, 7);
    EXPECT_EQ(other->counters[0], 70U);
  }
}

TEST(SurfaceEditorData, KeepsItsNumberOfCountersWhenALegendOfTheSameSizeIsAssigned) {
  const SurfaceEditorData data = filled();
  SurfaceEditorData other = data;
  other.counterCount = 0;
  other = data;
  EXPECT_EQ(other.counterCount, 0U);
}

TEST(SurfaceEditorData, StaysAsItWasWhenMemoryIsExhausted) {
  const SurfaceEditorData data = filled();
  const QmDiscreteLegend five = legendOf(5);
  const auto throws = [](auto change) {
    SurfaceEditorData other;
    const QmDiscreteLegend two = legendOf(2);
    other.attachLegend(&two);
    EXPECT_EQ(quel::testing::failEachNew(
                  [&] {
                    try {
                      change(other);
                      return true;
                    } catch (const std::bad_alloc&) {
                      return false;
                    }
                  },
                  [&](bool done, bool failed) {
                    EXPECT_EQ(done, !failed);
                    EXPECT_EQ(other.legendCount == 2, failed);
                    EXPECT_EQ(other.option1 == 2, done && other.legendCount == 3);
                  }),
              2);
  };
  throws([&](SurfaceEditorData& other) { other = data; });
  throws([&](SurfaceEditorData& other) { other.attachLegend(&five); });
}

}  // namespace

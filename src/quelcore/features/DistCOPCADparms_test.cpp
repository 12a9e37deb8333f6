#include "quelcore/features/DistCOPCADparms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "quelplatform/QuelViz/QmDiscreteLegend.h"

namespace {

using ::testing::Each;
using ::testing::ElementsAre;

constexpr float kLargest = std::numeric_limits<float>::max();

QmDiscreteLegend legendOf(std::uint32_t count) {
  std::vector<float> thresholds;
  std::vector<float> colors;
  for (std::uint32_t i = 0; i <= count; ++i) thresholds.push_back(static_cast<float>(i));
  for (std::uint32_t i = 0; i < 3 * count; ++i) colors.push_back(static_cast<float>(i % 256) / 255.0F);
  QmDiscreteLegend legend;
  EXPECT_TRUE(legend.SetIntervals(count, thresholds.data(), reinterpret_cast<const float(*)[3]>(colors.data())));
  return legend;
}

TEST(DistCOPCADparms, IsZeroWhenNew) {
  const DistCOPCADparms parms;
  EXPECT_EQ(parms.mode, 0);
  EXPECT_THAT(parms.running, Each(0));
  EXPECT_THAT(parms.thresholds, Each(0.0F));
  EXPECT_EQ(parms.posCount, 0);
  EXPECT_EQ(parms.negCount, 0);
  EXPECT_THAT(parms.posStats, Each(0.0));
  EXPECT_THAT(parms.negStats, Each(0.0));
  EXPECT_EQ(parms.surfaceData.legend, nullptr);
}

TEST(DistCOPCADparms, TurnsALegendIntoItsDrawingFormFromTheTopDown) {
  const QmDiscreteLegend legend = legendOf(3);
  DistCOPCADparms parms;
  parms.attachLegend(&legend);
  EXPECT_EQ(parms.surfaceData.legendCount, 3U);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(parms.colors[0][i], static_cast<float>((6 + i) / 255.0));
    EXPECT_EQ(parms.colors[2][i], static_cast<float>(i / 255.0));
  }
  EXPECT_EQ(parms.thresholds[0], 3.0F);
  EXPECT_EQ(parms.thresholds[1], 2.0F);
  EXPECT_EQ(parms.thresholds[2], 1.0F);
  EXPECT_EQ(std::bit_cast<std::uint32_t>(parms.thresholds[3]), 0x7f7fffffU);
}

TEST(DistCOPCADparms, TakesSettingsOverWithEmptyCounters) {
  const QmDiscreteLegend legend = legendOf(3);
  SurfaceEditorData data;
  data.attachLegend(&legend);
  data.option1 = 9;
  data.counters[1] = 77;
  DistCOPCADparms parms;
  parms.mode = 4;
  parms.setSurfaceEditorData(&data);
  EXPECT_EQ(parms.mode, 0);
  EXPECT_EQ(parms.surfaceData.option1, 9);
  EXPECT_EQ(parms.surfaceData.counterCount, 0U);
  EXPECT_EQ(parms.surfaceData.counters[1], 0U);
  EXPECT_EQ(data.counters[1], 77U);
  EXPECT_EQ(parms.thresholds[0], 3.0F);
  EXPECT_EQ(parms.thresholds[3], kLargest);
}

TEST(DistCOPCADparms, LeavesEverythingForNullSettings) {
  DistCOPCADparms parms;
  parms.mode = 4;
  parms.setSurfaceEditorData(nullptr);
  EXPECT_EQ(parms.mode, 4);
  EXPECT_EQ(parms.thresholds[0], 0.0F);
}

TEST(DistCOPCADparms, EndsASearchAtOnceWithoutALegend) {
  DistCOPCADparms parms;
  parms.attachLegend(nullptr);
  EXPECT_EQ(parms.thresholds[0], kLargest);
  const QmDiscreteLegend three = legendOf(3), none;
  parms.attachLegend(&three);
  parms.attachLegend(&none);
  EXPECT_EQ(parms.thresholds[0], kLargest);
}

TEST(DistCOPCADparms, DrawsTheTopmostIntervalsOfALegendThatIsTooLarge) {
  for (const std::uint32_t count : {102U, 103U, 1000U}) {
    const QmDiscreteLegend legend = legendOf(count);
    const auto parms = std::make_unique<DistCOPCADparms>();
    parms->running[0] = 1;
    SurfaceEditorData data;
    data.attachLegend(&legend);
    data.counters[count - 1] = 5;
    parms->setSurfaceEditorData(&data);
    EXPECT_EQ(parms->thresholds[0], static_cast<float>(count));
    EXPECT_EQ(parms->thresholds[101], static_cast<float>(count - 101));
    EXPECT_EQ(parms->thresholds[102], kLargest);
    EXPECT_EQ(parms->colors[101][0], static_cast<float>(3 * (count - 102) % 256 / 255.0));
    EXPECT_EQ(parms->surfaceData.counters[count - 1], 0U);
    EXPECT_EQ(parms->surfaceData.legendCount, count);
    EXPECT_EQ(parms->running[0], 1U);
  }
}

/// Reaches the protected operation, as a derived class does.
class Derived : public DistCOPCADparms {
 public:
  using DistCOPCADparms::setColorParameters;
};

TEST(DistCOPCADparms, MakesTheDrawingFormOfAnyRecordForDerivedClasses) {
  const QmDiscreteLegend legend = legendOf(2);
  SurfaceEditorData data;
  data.attachLegend(&legend);
  data.counters[0] = 5;
  Derived parms;
  parms.setColorParameters(nullptr);
  EXPECT_EQ(parms.thresholds[0], 0.0F);
  parms.setColorParameters(&data);
  EXPECT_EQ(parms.thresholds[0], 2.0F);
  EXPECT_EQ(data.counters[0], 0U);
  EXPECT_EQ(parms.surfaceData.legend, nullptr);
}

TEST(DistCOPCADparms, EmptiesItsStatistic) {
  DistCOPCADparms parms;
  for (auto& word : parms.running) word = 8;
  parms.posCount = parms.negCount = 3;
  for (int i = 0; i < 4; ++i) parms.posStats[i] = parms.negStats[i] = 5;
  parms.emptyStatistic();
  EXPECT_THAT(parms.running, ElementsAre(8, 8, 8, 8, 0, 8, 8, 8, 8));
  EXPECT_EQ(parms.posCount, 0);
  EXPECT_EQ(parms.negCount, 0);
  EXPECT_THAT(parms.posStats, Each(0.0));
  EXPECT_THAT(parms.negStats, Each(0.0));
}

TEST(DistCOPCADparms, GivesStandardDeviationsFromMeanAndMeanOfSquares) {
  DistCOPCADparms parms;
  parms.posStats[2] = 5;
  parms.posStats[3] = 2;
  parms.negStats[2] = 25;
  parms.negStats[3] = -3;
  EXPECT_EQ(parms.pos_std(), 1.0);
  EXPECT_EQ(parms.neg_std(), 4.0);
  parms.posStats[2] = 3;
  EXPECT_TRUE(std::isnan(parms.pos_std()));
}

TEST(DistCOPCADparms, IsCopiedByValue) {
  const QmDiscreteLegend legend = legendOf(3);
  DistCOPCADparms parms;
  parms.attachLegend(&legend);
  parms.mode = 2;
  parms.posStats[3] = 6;
  parms.running[8] = 7;
  const DistCOPCADparms copy(parms);
  DistCOPCADparms assigned;
  assigned = parms;
  parms.surfaceData.legend[0].threshold = 55;
  for (const DistCOPCADparms* other : {&copy, static_cast<const DistCOPCADparms*>(&assigned)}) {
    EXPECT_EQ(other->mode, 2);
    EXPECT_EQ(other->posStats[3], 6.0);
    EXPECT_EQ(other->running[8], 7U);
    EXPECT_EQ(other->thresholds[0], 3.0F);
    EXPECT_EQ(std::memcmp(other->colors, parms.colors, sizeof(parms.colors)), 0);
    EXPECT_EQ(other->surfaceData.legend[0].threshold, 0.0F);
  }
}

}  // namespace

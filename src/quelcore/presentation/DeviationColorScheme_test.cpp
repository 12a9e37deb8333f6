#include "quelcore/presentation/DeviationColorScheme.h"

#include <cmath>
#include <limits>

#include "quelcore/presentation/DeviationColorScheme_fixture.h"
#include "quelplatform/QuelViz/QmPercentageLegend.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::ColorScheme;
using quel::testing::OwnScheme;
using quel::testing::testRandom;
using quel::testing::uniform;
using testing::AnyOf;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Pair;

constexpr std::uint32_t kGreen = 0x66FF9C;
constexpr std::uint32_t kRed = 0x5050FF;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST_F(ColorScheme, HasTwoBandsWhereThereIsNoFile) {
  DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
  EXPECT_THAT(entriesOf(*scheme), ElementsAre(Pair(100, 6750108u), Pair(1000, 5263615u)));
  EXPECT_EQ(scheme->getColorScheme()->at(100).name, u"Within tolerance");
  EXPECT_EQ(scheme->getColorScheme()->at(1000).name, u"Out of tolerance");
  EXPECT_EQ(scheme->getDevLevelNum(), 2);
  EXPECT_EQ(DeviationColorScheme::GetInstance(), scheme);
}

TEST_F(ColorScheme, FillsATableThatWasEmptiedByDefault) {
  DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
  EXPECT_TRUE(scheme->clear());
  EXPECT_EQ(scheme->getDevLevelNum(), 0);
  EXPECT_EQ(DeviationColorScheme::GetInstance(), scheme);
  EXPECT_EQ(scheme->getDevLevelNum(), 2);
}

TEST_F(ColorScheme, IsMadeAnewAfterItWasFreed) {
  DeviationColorScheme::GetInstance()->add(5, {1, u"a"});
  DeviationColorScheme::FreeInstance();
  DeviationColorScheme::FreeInstance();
  EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 2);
}

TEST_F(ColorScheme, ReplacesAnEntryThatIsAddedAgain) {
  OwnScheme scheme;
  EXPECT_TRUE(scheme.add(50, {1, u"a"}));
  EXPECT_TRUE(scheme.add(50, {2, u"b"}));
  EXPECT_THAT(entriesOf(scheme), ElementsAre(Pair(50, 2u)));
  EXPECT_EQ(scheme.getColorScheme()->at(50).name, u"b");
}

TEST_F(ColorScheme, CopiesItsTable) {
  OwnScheme scheme;
  scheme.add(50, {1, u"a"});
  OwnScheme copy(scheme);
  OwnScheme assigned;
  assigned = scheme;
  scheme.clear();
  EXPECT_THAT(entriesOf(copy), ElementsAre(Pair(50, 1u)));
  EXPECT_THAT(entriesOf(assigned), ElementsAre(Pair(50, 1u)));
}

TEST_F(ColorScheme, GivesTheColourOfTheFirstBandThatEndsAbove) {
  const DeviationColorScheme& scheme = *DeviationColorScheme::GetInstance();
  EXPECT_EQ(scheme.getColor(0), kGreen);
  EXPECT_EQ(scheme.getColor(99), kGreen);
  EXPECT_EQ(scheme.getColor(100), kRed);
  EXPECT_EQ(scheme.getColor(1000), kRed);
  EXPECT_EQ(scheme.getColor(5000), kRed);
  EXPECT_EQ(scheme.getColor(65535), kRed);
}

TEST_F(ColorScheme, IsHarmlessWithoutEntries) {
  const OwnScheme scheme;
  EXPECT_EQ(scheme.getColor(100), 0u);
  EXPECT_EQ(scheme.getDeviationLevel(-1, 1, 0, false, 1), 65535);
  std::uint16_t percentage = 0;
  EXPECT_EQ(scheme.getColor(-1, 1, 1, false, percentage, 1), 0u);
  EXPECT_EQ(percentage, 100);
}

TEST_F(ColorScheme, CountsFromTheMiddleOfTheLimits) {
  const OwnScheme scheme;
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, 1, false, 1), 0.0);
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, 3, false, 1), 100.0);
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, -1, false, 1), 100.0);
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, 2, false, 1), 50.0);
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, 5, false, 1), 200.0);
  EXPECT_EQ(scheme.calcPercentDouble(3, -1, 5, false, 1), 200.0);  // Limits the wrong way round.
  EXPECT_EQ(scheme.calcPercentDouble(-1, 3, 5, false, 0.5), 100.0);
}

TEST_F(ColorScheme, CountsFromZeroWhenOnlyOneLimitCounts) {
  const OwnScheme scheme;
  EXPECT_EQ(scheme.calcPercentDouble(-100, 2, 1, true, 1), 50.0);
  EXPECT_EQ(scheme.calcPercentDouble(-100, 2, -3, true, 1), 150.0);
  EXPECT_EQ(scheme.calcPercentDouble(-100, -2, 1, true, 3), 150.0);
}

TEST_F(ColorScheme, CountsAThousandForLimitsThatMeet) {
  const OwnScheme scheme;
  for (const bool oneSided : {false, true}) {
    EXPECT_EQ(scheme.calcPercent(1.0, 1.0, 0.0, oneSided, 1), 1000);
    EXPECT_EQ(scheme.calcPercent(1.0, 1.0 + 9e-7, 0.0, oneSided, 1), 1000);
    EXPECT_EQ(scheme.calcPercent(1.0 + 9e-7, 1.0, 0.0, oneSided, 1), 1000);
    EXPECT_EQ(scheme.calcPercentDouble(1.0, 1.0, 0.0, oneSided, 1), 1000.0);
  }
  EXPECT_EQ(scheme.calcPercent(0.0, 1e-06, 5e-07, false, 1), 0);
}

TEST_F(ColorScheme, CutsPercentagesToWholeNumbers) {
  const OwnScheme scheme;
  EXPECT_EQ(scheme.calcPercent(0, 1, 0.99999, true, 1), 99);
  EXPECT_EQ(scheme.calcPercent(0, 1, 0.5, true, -0.019), 0);
}

// Required: only the low 16 bits count.
TEST_F(ColorScheme, WrapsAt65536Percent) {
  const OwnScheme scheme;
  EXPECT_EQ(scheme.calcPercent(0, 1, 655.35, true, 1), 65535);
  EXPECT_EQ(scheme.calcPercent(0, 1, 655.36, true, 1), 0);
  EXPECT_EQ(scheme.calcPercent(0, 1, 656.37, true, 1), 101);
  EXPECT_EQ(scheme.calcPercent(0, 1, 1.0, true, -1), 65436);
}

TEST_F(ColorScheme, TakesPercentagesBeyondEveryIntegerForZero) {
  const OwnScheme scheme;
  for (const double value : {1e300, kInfinity, std::numeric_limits<double>::quiet_NaN(), 9.3e16}) {
    EXPECT_EQ(scheme.calcPercent(0, 1, value, true, 1), 0) << value;
    EXPECT_EQ(scheme.calcPercent(0, 1, value, false, 1), 0) << value;
  }
  EXPECT_EQ(scheme.calcPercent(1, 0, 1, true, 1), 0);  // Divided by a limit of 0.
}

TEST_F(ColorScheme, GivesColourAndPercentageOfADeviation) {
  const DeviationColorScheme& scheme = *DeviationColorScheme::GetInstance();
  std::uint16_t percentage = 0;
  EXPECT_EQ(scheme.getColor(-1, 1, 0.5, false, percentage, 1), kGreen);
  EXPECT_EQ(percentage, 50);
  EXPECT_EQ(scheme.getColor(-1, 1, 0.5, false, percentage, 2), kRed);
  EXPECT_EQ(percentage, 100);
}

TEST_F(ColorScheme, NumbersItsBandsFromZero) {
  const DeviationColorScheme& scheme = *DeviationColorScheme::GetInstance();
  EXPECT_EQ(scheme.getDeviationLevel(-1, 1, 0.99, false, 1), 0);
  EXPECT_EQ(scheme.getDeviationLevel(-1, 1, 1.0, false, 1), 1);
  EXPECT_EQ(scheme.getDeviationLevel(-1, 1, 50.0, false, 1), 1);
}

// Colour, level and percentage agree with a walk over the bands.
TEST_F(ColorScheme, AgreesWithAWalkOverTheBands) {
  auto random = testRandom();
  for (int round = 0; round < 200; ++round) {
    OwnScheme scheme;
    for (auto n = 1 + random() % 8; n > 0; --n) {
      scheme.add(static_cast<std::uint16_t>(random() % 300), {static_cast<std::uint32_t>(random() % 1000), u""});
    }
    const auto entries = entriesOf(scheme);
    for (int i = 0; i < 50; ++i) {
      const double value = uniform(random, -4, 4);
      const auto percent = static_cast<int>(std::abs(value) * 100);
      std::size_t level = 0;
      while (level + 1 < entries.size() && percent >= entries[level].first) ++level;
      std::uint16_t percentage = 0;
      EXPECT_EQ(scheme.getColor(-1, 1, value, false, percentage, 1), entries[level].second);
      EXPECT_EQ(percentage, percent);
      EXPECT_EQ(scheme.getDeviationLevel(-1, 1, value, false, 1), level);
    }
  }
}

std::vector<float> positionsOf(const QmPercentageLegend& legend) {
  return {legend.GetPositions(), legend.GetPositions() + legend.GetNumOfColor() + 1};
}

TEST_F(ColorScheme, HandsItsBandsToALegendFromTheTopDown) {
  QmPercentageLegend legend;
  EXPECT_TRUE(DeviationColorScheme::GetInstance()->UpdatePercentageLegend(&legend));
  ASSERT_EQ(legend.GetNumOfColor(), 2);
  EXPECT_THAT(positionsOf(legend), ElementsAre(200.0F, 100.0F, 0.0F));
  const float colours[] = {1.0F, 80.0F / 255.0F, 80.0F / 255.0F, 156.0F / 255.0F, 1.0F, 102.0F / 255.0F};
  EXPECT_THAT(std::vector<float>(legend.GetColors(), legend.GetColors() + 6), ElementsAreArray(colours));
}

// Required: the top lies as far above the next bound as that lies above its own next.
TEST_F(ColorScheme, ExtendsTheTopOfTheLegendByTheStepBelow) {
  OwnScheme scheme;
  for (const std::uint16_t percentage : std::initializer_list<std::uint16_t>{30, 70, 1000})
    scheme.add(percentage, {0, u""});
  QmPercentageLegend legend;
  scheme.UpdatePercentageLegend(&legend);
  EXPECT_THAT(positionsOf(legend), ElementsAre(110.0F, 70.0F, 30.0F, 0.0F));
}

TEST_F(ColorScheme, KeepsTheBoundOfASingleBandInTheLegend) {
  OwnScheme scheme;
  scheme.add(40, {0xFF, u""});
  QmPercentageLegend legend;
  EXPECT_TRUE(scheme.UpdatePercentageLegend(&legend));
  EXPECT_THAT(positionsOf(legend), ElementsAre(40.0F, 0.0F));
}

TEST_F(ColorScheme, EmptiesTheLegendOfAnEmptyTable) {
  QmPercentageLegend legend;
  DeviationColorScheme::GetInstance()->UpdatePercentageLegend(&legend);
  EXPECT_TRUE(OwnScheme().UpdatePercentageLegend(&legend));
  EXPECT_EQ(legend.GetNumOfColor(), 0);
  EXPECT_FALSE(OwnScheme().UpdatePercentageLegend(nullptr));
}

TEST_F(ColorScheme, GivesNullOrATableWhenMemoryIsExhausted) {
  const auto met = quel::testing::failEachNew(
      [] {
        const DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
        const bool whole = scheme != nullptr && scheme->getDevLevelNum() == 2;
        DeviationColorScheme::FreeInstance();
        return whole;
      },
      [](bool whole, bool failed) { EXPECT_TRUE(whole || failed); });
  EXPECT_GT(met, 3);
  QmPercentageLegend legend;
  OwnScheme scheme;
  scheme.initDefault();
  quel::testing::failEachNew([&] { return scheme.UpdatePercentageLegend(&legend); },
                             [&](bool updated, bool failed) { EXPECT_TRUE(updated || failed); });
  EXPECT_EQ(legend.GetNumOfColor(), 2);
}

// Names too long to be kept without an allocation.
TEST_F(ColorScheme, IsNeverPartOfItsFileWhenMemoryIsExhausted) {
  writeValues(
      "<Value Percentage=\"10\" Color=\"1\" Name=\"well within tolerance\"/>"
      "<Value Percentage=\"20\" Color=\"2\" Name=\"still within tolerance\"/>"
      "<Value Percentage=\"30\" Color=\"3\" Name=\"out of the tolerance\"/>");
  int nulls = 0;
  quel::testing::failEachNew([] { return DeviationColorScheme::GetInstance(); },
                             [&](DeviationColorScheme* scheme, bool failed) {
                               EXPECT_TRUE(scheme != nullptr || failed);
                               nulls += scheme == nullptr ? 1 : 0;
                               if (scheme == nullptr) scheme = DeviationColorScheme::GetInstance();
                               // A file that the platform could not look at counts as none, or as one without entries.
                               EXPECT_THAT(entriesOf(*scheme),
                                           AnyOf(ElementsAre(Pair(10, 1u), Pair(20, 2u), Pair(30, 3u)),
                                                 ElementsAre(Pair(100, kGreen), Pair(1000, kRed)), IsEmpty()));
                               DeviationColorScheme::FreeInstance();
                             });
  EXPECT_GT(nulls, 5);
}

TEST_F(ColorScheme, KeepsAnEntryWholeWhenMemoryIsExhausted) {
  OwnScheme scheme;
  scheme.add(50, {1, u"short"});
  const DeviationColorScheme::ColorInfo other = {2, u"a name that takes an allocation"};
  quel::testing::failEachNew(
      [&] {
        try {
          return scheme.add(50, other);
        } catch (const std::bad_alloc&) {
          return false;
        }
      },
      [&](bool added, bool failed) {
        EXPECT_EQ(added, !failed);
        EXPECT_EQ(scheme.getColorScheme()->at(50).color, added ? 2u : 1u);
      });
}

constexpr const char* kThreeValues =
    "<Value Percentage=\"50\" Color=\"1\" Name=\"a\"/><Value Percentage=\"100\" Color=\"2\" Name=\"b\"/>"
    "<Value Percentage=\"1000\" Color=\"3\" Name=\"c\"/>";

TEST_F(ColorScheme, WritesNothingOverAFileThatCouldNotBeRead) {
  writeValues(kThreeValues);
  const std::string before = quel::testing::readFile(file());
  {
    const quel::testing::NoDescriptors none;
    EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 0);
  }
  EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 2);
  EXPECT_FALSE(DeviationColorScheme::GetInstance()->save());
  EXPECT_EQ(quel::testing::readFile(file()), before);
  DeviationColorScheme::FreeInstance();
  EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 3);
  EXPECT_TRUE(DeviationColorScheme::GetInstance()->save());
}

TEST_F(ColorScheme, LosesNoColourWhereverMemoryRunsOutWhileTheFileIsRead) {
  writeValues(kThreeValues);
  const auto saveWhatWasRead = [&](bool made, bool failed) {
    EXPECT_EQ(made, !failed);  // no table rather than a wrong one
    DeviationColorScheme* scheme = DeviationColorScheme::GetInstance();
    EXPECT_EQ(scheme->getDevLevelNum(), 3);
    EXPECT_TRUE(scheme->save());
    DeviationColorScheme::FreeInstance();
    EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 3);
    DeviationColorScheme::FreeInstance();
  };
  EXPECT_GT(quel::testing::failEachNew([] { return DeviationColorScheme::GetInstance() != nullptr; }, saveWhatWasRead),
            3);
}

TEST_F(ColorScheme, ReplacesAFileThatIsDamaged) {
  writeTable("<QuelmetraDataFile><Devia");
  EXPECT_EQ(DeviationColorScheme::GetInstance()->getDevLevelNum(), 0);
  EXPECT_TRUE(DeviationColorScheme::GetInstance()->save());
}

}  // namespace

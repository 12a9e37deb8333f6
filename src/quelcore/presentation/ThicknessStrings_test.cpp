#include "quelcore/presentation/ThicknessStrings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>

#include "quelplatform/qmEnv/QmEnvLocaleEmbedded.h"
#include "testing/TempHome.h"

namespace {

using testing::ElementsAre;

// First in this program: nothing was kept yet, and the units are those that nothing stands for.
TEST(ThicknessAtFirst, IsShownInMillimetres) {
  const quel::testing::TempHome home;
  std::vector<qmWString> captions;
  EXPECT_TRUE(getThicknessStrings(captions));
  EXPECT_THAT(captions, ElementsAre(u"< 1.2 mm", u"1.2 mm - 3.0 mm", u"> 3.0 mm"));
}

class Thickness : public testing::Test {
 protected:
  Thickness() {
    // Whatever was kept by another test gives way to these units.
    captionsIn(QM_UNITS_FOOT);
  }
  ~Thickness() override {
    quelplatform::setUnits(std::nullopt);
    quelplatform::setLocaleAvailable(true);
  }

  static std::vector<qmWString> captions() {
    std::vector<qmWString> captions = {u"of", u"the", u"caller", u"before"};
    EXPECT_TRUE(getThicknessStrings(captions));
    return captions;
  }

  static std::vector<qmWString> captionsIn(qmEnvUnits units) {
    quelplatform::setUnits(units);
    return captions();
  }

  quel::testing::TempHome home_;
};

TEST_F(Thickness, IsShownInMillimetresWithOneDecimal) {
  EXPECT_THAT(captionsIn(QM_UNITS_MILLIMETRE), ElementsAre(u"< 1.2 mm", u"1.2 mm - 3.0 mm", u"> 3.0 mm"));
}

TEST_F(Thickness, IsShownInOtherUnitsWithTwoDecimals) {
  EXPECT_THAT(captionsIn(QM_UNITS_CENTIMETRE), ElementsAre(u"< 0.12 cm", u"0.12 cm - 0.30 cm", u"> 0.30 cm"));
  EXPECT_THAT(captionsIn(QM_UNITS_METRE), ElementsAre(u"< 0.00 m", u"0.00 m - 0.00 m", u"> 0.00 m"));
  EXPECT_THAT(captionsIn(QM_UNITS_INCH), ElementsAre(u"< 0.05 in", u"0.05 in - 0.12 in", u"> 0.12 in"));
  EXPECT_THAT(captionsIn(QM_UNITS_MICROMETRE),
              ElementsAre(u"< 1200.00 \u00B5m", u"1200.00 \u00B5m - 3000.00 \u00B5m", u"> 3000.00 \u00B5m"));
  EXPECT_THAT(captionsIn(QM_UNITS_FOOT), ElementsAre(u"< 0.00 ft", u"0.00 ft - 0.01 ft", u"> 0.01 ft"));
}

TEST_F(Thickness, IsShownInAUnitOfTheApplication) {
  const auto own = static_cast<qmEnvUnits>(77);
  quelplatform::defineUnit(own, u"x", 0.5);
  EXPECT_THAT(captionsIn(own), ElementsAre(u"< 0.60 x", u"0.60 x - 1.50 x", u"> 1.50 x"));
}

TEST_F(Thickness, IsComputedInSinglePrecision) {
  // 123456.789 x 1.2 and x 3 lie at 148148.1468 and 370370.367; single precision has no more than these.
  const auto fine = static_cast<qmEnvUnits>(79);
  quelplatform::defineUnit(fine, u"x", 123456.789);
  EXPECT_THAT(captionsIn(fine), ElementsAre(u"< 148148.16 x", u"148148.16 x - 370370.38 x", u"> 370370.38 x"));
  const auto finer = static_cast<qmEnvUnits>(80);
  quelplatform::defineUnit(finer, u"y", 1e30);
  const qmWString huge = captionsIn(finer)[0];
  EXPECT_EQ(huge.substr(0, 9), u"< 1200000");
  EXPECT_EQ(huge.size(), qmWString(u"< .00 y").size() + 31);
}

// A unit that changes its name behind the number is not noticed: the captions were kept.
TEST_F(Thickness, IsFormattedAnewOnlyWhenTheUnitsChange) {
  const auto own = static_cast<qmEnvUnits>(78);
  quelplatform::defineUnit(own, u"before", 2.0);
  const std::vector<qmWString> first = captionsIn(own);
  quelplatform::defineUnit(own, u"after", 3.0);
  EXPECT_EQ(captionsIn(own), first);
  captionsIn(QM_UNITS_INCH);
  EXPECT_THAT(captionsIn(own), ElementsAre(u"< 3.60 after", u"3.60 after - 9.00 after", u"> 9.00 after"));
}

class DecimalComma : public std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST_F(Thickness, HasADecimalPointInEveryLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  const std::vector<qmWString> shown = captionsIn(QM_UNITS_MILLIMETRE);
  std::locale::global(before);
  EXPECT_EQ(shown[0], u"< 1.2 mm");
}

TEST_F(Thickness, HasNoUnitWithoutALocale) {
  quelplatform::setLocaleAvailable(false);
  EXPECT_THAT(captions(), ElementsAre(u"< 1.2 ", u"1.2  - 3.0 ", u"> 3.0 "));
}

TEST_F(Thickness, HasItsUnitAgainOnceThereIsALocale) {
  quelplatform::setUnits(QM_UNITS_MILLIMETRE);
  quelplatform::setLocaleAvailable(false);
  EXPECT_THAT(captions(), ElementsAre(u"< 1.2 ", u"1.2  - 3.0 ", u"> 3.0 "));
  quelplatform::setLocaleAvailable(true);
  EXPECT_THAT(captions(), ElementsAre(u"< 1.2 mm", u"1.2 mm - 3.0 mm", u"> 3.0 mm"));
}

}  // namespace

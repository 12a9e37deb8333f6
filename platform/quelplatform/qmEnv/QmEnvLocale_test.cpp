#include "quelplatform/qmEnv/QmEnvLocale.h"

#include <gtest/gtest.h>

#include <limits>

#include "quelplatform/qmEnv/QmEnvLocaleEmbedded.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::TempHome;
using quel::testing::writeFile;

// First in this program: the process has made no object yet.
TEST(LocaleAtFirst, IsAbsentUntilItIsMade) {
  EXPECT_EQ(QmEnvLocale::GetInstance(false), nullptr);
  EXPECT_NE(QmEnvLocale::GetInstance(true), nullptr);
  EXPECT_NE(QmEnvLocale::GetInstance(false), nullptr);
}

class Locale : public testing::Test {
 protected:
  ~Locale() override {
    quelplatform::setUnits(std::nullopt);
    quelplatform::setLocaleAvailable(true);
  }

  static qmEnvUnits units() { return QmEnvLocale::GetInstance(true)->GetUnits(); }

  TempHome home_;
};

TEST_F(Locale, IsMadeOnDemandAndCanBeWithdrawn) {
  QmEnvLocale* locale = QmEnvLocale::GetInstance(true);
  ASSERT_NE(locale, nullptr);
  EXPECT_EQ(QmEnvLocale::GetInstance(false), locale);
  quelplatform::setLocaleAvailable(false);
  EXPECT_EQ(QmEnvLocale::GetInstance(true), nullptr);
}

TEST_F(Locale, ShowsMillimetresUnlessToldOtherwise) { EXPECT_EQ(units(), QM_UNITS_MILLIMETRE); }

TEST_F(Locale, ShowsTheUnitOfTheParametersUnlessTheApplicationSetOne) {
  writeFile(home_.path() / "params.ini", "QmEnv.Units = 3\n");
  EXPECT_EQ(units(), QM_UNITS_INCH);
  quelplatform::setUnits(QM_UNITS_METRE);
  EXPECT_EQ(units(), QM_UNITS_METRE);
  quelplatform::setUnits(std::nullopt);
  EXPECT_EQ(units(), QM_UNITS_INCH);
}

TEST_F(Locale, TakesANumberThatNoUnitHasForTheBaseUnit) {
  writeFile(home_.path() / "params.ini", "QmEnv.Units = 99\n");
  EXPECT_EQ(units(), QM_UNITS_MILLIMETRE);
  quelplatform::setUnits(static_cast<qmEnvUnits>(-1));
  EXPECT_EQ(units(), QM_UNITS_MILLIMETRE);
  EXPECT_EQ(QmEnvLocale::GetMetricString(static_cast<qmEnvUnits>(99)), u"");
  EXPECT_EQ(QmEnvLocale::GetFactor(static_cast<qmEnvUnits>(99)), 1.0);
}

struct Case {
  qmEnvUnits units;
  const char16_t* name;
  double inMillimetres;
};

TEST_F(Locale, NamesItsUnitsAndKnowsTheirLength) {
  for (const Case& c : {Case{QM_UNITS_MILLIMETRE, u"mm", 1.0},
                        {QM_UNITS_CENTIMETRE, u"cm", 10.0},
                        {QM_UNITS_METRE, u"m", 1000.0},
                        {QM_UNITS_INCH, u"in", 25.4},
                        {QM_UNITS_MICROMETRE, u"\u00B5m", 0.001},
                        {QM_UNITS_FOOT, u"ft", 304.8}}) {
    EXPECT_EQ(QmEnvLocale::GetMetricString(c.units), c.name);
    EXPECT_DOUBLE_EQ(QmEnvLocale::GetFactor(c.units) * c.inMillimetres, 1.0);
  }
}

TEST_F(Locale, TakesUnitsThatTheApplicationDefines) {
  const auto own = static_cast<qmEnvUnits>(77);
  EXPECT_TRUE(quelplatform::defineUnit(own, u"x", 0.5));
  quelplatform::setUnits(own);
  EXPECT_EQ(units(), own);
  EXPECT_EQ(QmEnvLocale::GetMetricString(own), u"x");
  EXPECT_EQ(QmEnvLocale::GetFactor(own), 0.5);
  EXPECT_TRUE(quelplatform::defineUnit(own, u"y", 0.25));
  EXPECT_EQ(QmEnvLocale::GetMetricString(own), u"y");
}

TEST_F(Locale, RefusesUnitsThatAreNone) {
  EXPECT_FALSE(quelplatform::defineUnit(QM_UNITS_INCH, u"x", 0.5));
  EXPECT_FALSE(quelplatform::defineUnit(static_cast<qmEnvUnits>(-5), u"x", 0.5));
  for (const double factor :
       {0.0, -1.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
    EXPECT_FALSE(quelplatform::defineUnit(static_cast<qmEnvUnits>(78), u"x", factor));
  }
}

}  // namespace

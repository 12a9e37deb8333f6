#include "quelplatform/prim_math/qmEnvUnitsConverter.h"

#include <gtest/gtest.h>

#include "quelplatform/qmEnv/QmEnvLocaleEmbedded.h"
#include "testing/TempHome.h"

namespace {

class UnitsConverter : public testing::Test {
 protected:
  ~UnitsConverter() override {
    quelplatform::setUnits(std::nullopt);
    quelplatform::setLocaleAvailable(true);
  }

  quel::testing::TempHome home_;
};

TEST_F(UnitsConverter, LeavesTheBaseUnitAsItIs) {
  EXPECT_EQ(qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor, 1.0);
  EXPECT_EQ(qmEnvUnitsConverter(CNVDIR_TO_BASE).factor, 1.0);
}

TEST_F(UnitsConverter, ConvertsEitherWay) {
  quelplatform::setUnits(QM_UNITS_INCH);
  EXPECT_DOUBLE_EQ(qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor * 254.0, 10.0);
  EXPECT_DOUBLE_EQ(qmEnvUnitsConverter(CNVDIR_TO_BASE).factor * 10.0, 254.0);
}

TEST_F(UnitsConverter, KeepsTheFactorOfItsConstruction) {
  const qmEnvUnitsConverter before(CNVDIR_FROM_BASE);
  quelplatform::setUnits(QM_UNITS_METRE);
  EXPECT_EQ(before.factor, 1.0);
  EXPECT_EQ(qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor, 0.001);
}

TEST_F(UnitsConverter, ConvertsNothingWithoutALocale) {
  quelplatform::setUnits(QM_UNITS_METRE);
  quelplatform::setLocaleAvailable(false);
  EXPECT_EQ(qmEnvUnitsConverter(CNVDIR_FROM_BASE).factor, 1.0);
}

TEST_F(UnitsConverter, BeginsWithItsFactor) {
  const qmEnvUnitsConverter converter(CNVDIR_FROM_BASE);
  EXPECT_EQ(static_cast<const void*>(&converter), static_cast<const void*>(&converter.factor));
}

}  // namespace

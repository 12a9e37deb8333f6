#include "quelcore/tensor/qmReconsFilterByZ.h"

#include <gtest/gtest.h>

#include <limits>

#include "quelcore/tensor/filterByZCaches.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::TempHome;
using quel::testing::writeFile;

struct Ratios {
  double close = -1.0;
  double far = -1.0;
  bool operator==(const Ratios&) const = default;
};

class FilterByZTest : public ::testing::Test {
 protected:
  FilterByZTest() { quelcore::resetFilterByZCaches(); }
  ~FilterByZTest() override { quelcore::resetFilterByZCaches(); }

  void setParameters(const std::string& lines) { writeFile(home_.path() / "params.ini", lines); }
  tag_qmReconsTensorData& withLens(double lens) {
    head_.tensor()->lensType = lens;
    return *head_.tensor();
  }
  Ratios plain(double lens) {
    Ratios ratios;
    qmReconsGetFilterByZRatios(&withLens(lens), ratios.close, ratios.far, false);
    return ratios;
  }
  Ratios calibration(double lens) {
    Ratios ratios;
    qmReconsGetFilterByZRatios(&withLens(lens), ratios.close, ratios.far, true);
    return ratios;
  }
  Ratios forRE(double lens) {
    Ratios ratios;
    qmReconsGetFilterByZRatiosForRE(&withLens(lens), ratios.close, ratios.far);
    return ratios;
  }
  double halfHeight(double lens) {
    double height = -1.0;
    qmReconsGetFilterByZHalfHeightForCOP(&withLens(lens), height);
    return height;
  }

  TempHome home_;
  SampleHead head_;
};

TEST_F(FilterByZTest, GivesTheDefaultsForAbsentKeys) {
  EXPECT_EQ(plain(50), (Ratios{1.0, 1.0}));
  EXPECT_EQ(calibration(50), (Ratios{2.0, 2.0}));
  EXPECT_EQ(forRE(50), (Ratios{1.0, 1.0}));
  EXPECT_EQ(halfHeight(50), 130.0);
}

TEST_F(FilterByZTest, ReadsTheKeysOfTheLens) {
  setParameters(
      "qmPatchReconsFilterByZRatioClose.50 = 1.5\nqmPatchReconsFilterByZRatioFar.50 = 2.5\n"
      "qmPatchReconsFilterByZRatioCloseForCalib.50 = 3.5\nqmPatchReconsFilterByZRatioFarForCalib.50 = 4.5\n"
      "qmReconsLS_FilterByZRatioClose.50 = 5.5\nqmReconsLS_FilterByZRatioFar.50 = 6.5\n"
      "qmPatchLUTCalibZHalfHeightForCOP.50 = 7.5\nqmPatchLUTCalibZHalfHeightForCOP.-3 = 8.5\n");
  EXPECT_EQ(plain(50), (Ratios{1.5, 2.5}));
  EXPECT_EQ(calibration(50), (Ratios{3.5, 4.5}));
  EXPECT_EQ(forRE(50), (Ratios{5.5, 6.5}));
  EXPECT_EQ(halfHeight(50), 7.5);
  EXPECT_EQ(halfHeight(-3.9), 8.5);
}

TEST_F(FilterByZTest, TruncatesTheLens) {
  setParameters("qmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  EXPECT_EQ(plain(50.9), (Ratios{1.5, 1.0}));
}

TEST_F(FilterByZTest, ReadsOnceWhileTheLensStaysAndAgainAfterAnother) {
  setParameters("qmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  EXPECT_EQ(plain(50).close, 1.5);
  setParameters("qmPatchReconsFilterByZRatioClose.50 = 9.5\n");
  EXPECT_EQ(plain(50).close, 1.5);
  EXPECT_EQ(plain(35).close, 1.0);
  EXPECT_EQ(plain(50).close, 9.5);
}

TEST_F(FilterByZTest, KeepsACacheForEachFunction) {
  setParameters("qmReconsLS_FilterByZRatioClose.50 = 5.5\nqmPatchLUTCalibZHalfHeightForCOP.50 = 7.5\n");
  EXPECT_EQ(plain(50).close, 1.0);
  EXPECT_EQ(forRE(50).close, 5.5);
  EXPECT_EQ(halfHeight(50), 7.5);
  EXPECT_EQ(forRE(35).close, 1.0);
  setParameters("qmPatchLUTCalibZHalfHeightForCOP.50 = 9.5\n");
  EXPECT_EQ(halfHeight(50), 7.5);
}

TEST_F(FilterByZTest, GivesTheInitialValuesForLensZeroWithoutReading) {
  setParameters(
      "qmPatchReconsFilterByZRatioClose.0 = 1.5\nqmReconsLS_FilterByZRatioClose.0 = 1.5\n"
      "qmPatchLUTCalibZHalfHeightForCOP.0 = 1.5\n");
  for (const double lens : {0.0, 0.9, -0.9}) {
    EXPECT_EQ(plain(lens), (Ratios{1.0, 1.0}));
    EXPECT_EQ(forRE(lens), (Ratios{1.0, 1.0}));
    EXPECT_EQ(halfHeight(lens), 130.0);
  }
}

TEST_F(FilterByZTest, ReadsForCalibrationEveryTimeAndLeavesTheCacheAlone) {
  setParameters("qmPatchReconsFilterByZRatioCloseForCalib.50 = 3.5\nqmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  EXPECT_EQ(calibration(50).close, 3.5);
  setParameters("qmPatchReconsFilterByZRatioCloseForCalib.50 = 4.5\nqmPatchReconsFilterByZRatioClose.50 = 1.75\n");
  EXPECT_EQ(calibration(50).close, 4.5);
  EXPECT_EQ(plain(50).close, 1.75);  // read now, not before
}

TEST_F(FilterByZTest, UsesThePlainKeysForCalibrationOfTheQuelHead200) {
  setParameters("qmPatchReconsFilterByZRatioCloseForCalib.50 = 3.5\nqmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  head_.tensor()->ohType = 7;
  EXPECT_EQ(calibration(50).close, 1.5);
}

TEST_F(FilterByZTest, UsesThePlainKeysForCalibrationWhenCameraZeroHasACompleteLut) {
  setParameters("qmPatchReconsFilterByZRatioCloseForCalib.50 = 3.5\nqmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  tag_qmDistortLuts luts = {};
  qmImageRecord image = {};
  head_.tensor()->distortParams[0].luts = &luts;
  EXPECT_EQ(calibration(50).close, 3.5);
  luts.tables[0] = &image;
  EXPECT_EQ(calibration(50).close, 3.5);
  luts.tables[0] = nullptr;
  luts.tables[1] = &image;
  EXPECT_EQ(calibration(50).close, 3.5);
  luts.tables[0] = &image;
  EXPECT_EQ(calibration(50).close, 1.5);
  head_.tensor()->distortParams[1].luts = &luts;
  head_.tensor()->distortParams[0].luts = nullptr;
  EXPECT_EQ(calibration(50).close, 3.5);
}

TEST_F(FilterByZTest, TakesALensBeyondIntegersForTheNearestOne) {
  setParameters(
      "qmPatchLUTCalibZHalfHeightForCOP.2147483647 = 1.5\nqmPatchLUTCalibZHalfHeightForCOP.-2147483648 = 2.5\n");
  EXPECT_EQ(halfHeight(1e300), 1.5);
  EXPECT_EQ(halfHeight(-std::numeric_limits<double>::infinity()), 2.5);
  quelcore::resetFilterByZCaches();
  EXPECT_EQ(halfHeight(std::numeric_limits<double>::quiet_NaN()), 130.0);
}

TEST_F(FilterByZTest, IsSilentAndLeavesOutputsAloneForANullTensor) {
  const RecordingLog log;
  double a = -7.0;
  double b = -8.0;
  qmReconsGetFilterByZRatios(nullptr, a, b, true);
  qmReconsGetFilterByZRatiosForRE(nullptr, a, b);
  qmReconsGetFilterByZHalfHeightForCOP(nullptr, a);
  EXPECT_EQ(a, -7.0);
  EXPECT_EQ(b, -8.0);
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
}

}  // namespace

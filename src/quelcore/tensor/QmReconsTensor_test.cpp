// The tensor as an owning object: copies, getters under their version limits, loading. LUTs are in
// QmReconsTensorLuts_test.cpp.
#include "quelcore/tensor/QmReconsTensor.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>

#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/filterByZCaches.h"
#include "quelcore/tensor/qmReconsFilterByZ.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace {

using quel::testing::differingFields;
using quel::testing::Line;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::ElementsAre;

constexpr const char* kModule = "QmReconsTensor";

/// Opens the constructor that takes a pointer.
class FromPointer : public QmReconsTensor {
 public:
  explicit FromPointer(const tag_qmReconsTensorData* tensor) : QmReconsTensor(tensor) {}
};

bool sameTables(const tag_qmReconsTensorData& a, const tag_qmReconsTensorData& b) {
  for (int camera = 0; camera < 3; ++camera) {
    const qmDistortTableSet& x = a.distortTables[camera];
    const qmDistortTableSet& y = b.distortTables[camera];
    if (x.xCols != y.xCols || x.xRows != y.xRows || x.yCols != y.yCols || x.yRows != y.yRows) return false;
    for (std::int32_t row = 0; row < x.xRows; ++row) {
      if (x.xTable[row] == y.xTable[row]) return false;  // its own copy
      if (std::memcmp(x.xTable[row], y.xTable[row], sizeof(float) * x.xCols) != 0) return false;
      if (std::memcmp(x.yTable[row], y.yTable[row], sizeof(float) * x.yCols) != 0) return false;
    }
  }
  return true;
}

class TensorObjectTest : public ::testing::Test {
 protected:
  TensorObjectTest() : blocksBefore_(quelplatform::allocatedBlocks()) {
    quel::testing::fillPreservedFields(*head_.tensor());
    std::memset(head_.tensor()->distortLutsInfo, 0, sizeof(head_.tensor()->distortLutsInfo));
    std::memset(head_.tensor()->distortLutsInfo2, 0, sizeof(head_.tensor()->distortLutsInfo2));
  }

  std::u16string stored(std::int32_t version = -17) {
    writeFile(dir_.path() / "block.tns", quel::testing::tensorFileBytes(*head_.tensor(), version));
    return dir_.wide("block.tns");
  }
  void expectNothingLeft() { EXPECT_EQ(quelplatform::allocatedBlocks(), blocksBefore_); }

  TempHome home_;
  TempDir dir_;
  SampleHead head_;
  std::int64_t blocksBefore_;
};

// --- Copies --------------------------------------------------------------------------------------------------------

TEST_F(TensorObjectTest, IsEmptyAtFirst) {
  const QmReconsTensor tensor;
  EXPECT_EQ(tensor.version, 0);
  EXPECT_EQ(tensor.projectionsValid, 0);
  const tag_qmReconsTensorData zero = {};
  EXPECT_EQ(differingFields(tensor, zero), "");
}

TEST_F(TensorObjectTest, ConvertsToAPointerToItsRecord) {
  QmReconsTensor tensor;
  const QmReconsTensor& constant = tensor;
  tag_qmReconsTensorData* record = tensor;
  const tag_qmReconsTensorData* constantRecord = constant;
  EXPECT_EQ(static_cast<void*>(record), static_cast<void*>(&tensor));
  EXPECT_EQ(constantRecord, record);
}

TEST_F(TensorObjectTest, IsCopiedWithImagesOfItsOwn) {
  {
    QmReconsTensor tensor;
    ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
    const QmReconsTensor byObject(tensor);
    const QmReconsTensor byRecord(static_cast<const tag_qmReconsTensorData&>(tensor));
    const FromPointer byPointer(&tensor);
    QmReconsTensor assigned;
    assigned = tensor;
    QmReconsTensor assignedRecord;
    assignedRecord = static_cast<const tag_qmReconsTensorData&>(tensor);
    const QmReconsTensor* const copies[] = {&byObject, &byRecord, &byPointer, &assigned, &assignedRecord};
    for (const QmReconsTensor* copy : copies) {
      EXPECT_EQ(differingFields(*copy, tensor), "");
      EXPECT_TRUE(sameTables(*copy, tensor));
    }
  }
  expectNothingLeft();
}

TEST_F(TensorObjectTest, CopiesEachImageInItsOwnSize) {
  {
    QmReconsTensor tensor;
    tensor.distortTables[1] = {static_cast<float**>(alloc_image(3, 2, 4, Image_border)), 3, 2,
                               static_cast<float**>(alloc_image(5, 4, 4, Image_border)), 5, 4};
    tensor.distortTables[1].xTable[1][2] = 1.5F;
    tensor.distortTables[1].yTable[3][4] = 2.5F;
    const QmReconsTensor copy(tensor);
    EXPECT_EQ(copy.distortTables[1].xTable[1][2], 1.5F);
    EXPECT_EQ(copy.distortTables[1].yTable[3][4], 2.5F);
    EXPECT_EQ(copy.distortTables[0].xTable, nullptr);
  }
  expectNothingLeft();
}

TEST_F(TensorObjectTest, MadeFromANullPointerIsEmpty) {
  const FromPointer tensor(nullptr);
  EXPECT_EQ(tensor.version, 0);
  EXPECT_EQ(tensor.distortTables[0].xTable, nullptr);
}

TEST_F(TensorObjectTest, ReleasesWhatItHeldWhenItIsAssigned) {
  {
    QmReconsTensor a;
    QmReconsTensor b;
    ASSERT_TRUE(a.LoadFromFile(stored().c_str()));
    head_.tensor()->ohType = 5;
    ASSERT_TRUE(b.LoadFromFile(stored().c_str()));
    a = b;
    EXPECT_EQ(a.imageWidth, 640);
    EXPECT_TRUE(sameTables(a, b));
    b = QmReconsTensor();
    EXPECT_EQ(b.version, 0);
    EXPECT_EQ(b.distortTables[2].yTable, nullptr);
  }
  expectNothingLeft();
}

TEST_F(TensorObjectTest, IsLeftAloneByItsOwnAssignment) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  float** const image = tensor.distortTables[0].xTable;
  const QmReconsTensor& itself = tensor;
  tensor = itself;
  EXPECT_EQ(tensor.distortTables[0].xTable, image);
  tensor = static_cast<const tag_qmReconsTensorData&>(itself);  // a second copy could come to lie where the image was
  EXPECT_EQ(tensor.distortTables[0].xTable, image);
  EXPECT_EQ(tensor.version, -17);
}

TEST_F(TensorObjectTest, MayBeAssignedARecordThatSharesItsImages) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  const QmReconsTensor before(tensor);
  const tag_qmReconsTensorData shallow = tensor;
  tensor = shallow;
  EXPECT_TRUE(sameTables(tensor, before));
}

TEST_F(TensorObjectTest, CopiesWithoutTheImagesThatMemoryDoesNotHold) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  const auto failures = quel::testing::failEachAllocation([&](std::int64_t succeeding) {
    const QmReconsTensor copy(tensor);
    EXPECT_EQ(differingFields(copy, tensor), "");
    int images = 0;
    for (const qmDistortTableSet& tables : copy.distortTables) {
      images += (tables.xTable != nullptr) + (tables.yTable != nullptr);
    }
    EXPECT_EQ(images, succeeding < 6 ? 5 : 6);
  });
  EXPECT_EQ(failures, 6);
}

// --- Getters -------------------------------------------------------------------------------------------------------

TEST_F(TensorObjectTest, TellsTheCurrentFormatAndItsOwnVersion) {
  QmReconsTensor tensor;
  for (const std::int32_t version : {0, -4, -17}) {
    tensor.version = version;
    EXPECT_EQ(tensor.GetVersion(), -17.0);
    EXPECT_TRUE(tensor.IsVersion(version));
    EXPECT_FALSE(tensor.IsVersion(version - 1.0));
    EXPECT_FALSE(tensor.IsVersion(version + 0.5));
  }
  EXPECT_FALSE(tensor.IsVersion(std::numeric_limits<double>::quiet_NaN()));
}

TEST_F(TensorObjectTest, AnswersForTheHeadWhateverItsVersion) {
  QmReconsTensor tensor(*head_.tensor());
  tensor.ccdPixelSize = 1.5;
  tensor.lensType = 2.5;
  tensor.pixel2WorldRatio = 3.5;
  tensor.workingDistance = 4.5;
  for (const std::int32_t version : {0, -1, -17}) {
    tensor.version = version;
    double value = 0.0;
    EXPECT_TRUE(tensor.GetCCDPixelSize(value));
    EXPECT_EQ(value, 1.5);
    EXPECT_TRUE(tensor.GetLensType(value));
    EXPECT_EQ(value, 2.5);
    EXPECT_TRUE(tensor.GetPixel2WorldRatio(value));
    EXPECT_EQ(value, 3.5);
    EXPECT_TRUE(tensor.GetWorkingDistance(value));
    EXPECT_EQ(value, 4.5);
    double box[6];
    EXPECT_TRUE(tensor.GetReconstBoxCenterAndHalfSize(box[0], box[1], box[2], box[3], box[4], box[5]));
    EXPECT_THAT(box, ElementsAre(21.5, 22.5, 23.5, 24.5, 19.5, 20.5));
  }
}

TEST_F(TensorObjectTest, GivesTheTemperatureOfEachSource) {
  const QmReconsTensor tensor(*head_.tensor());
  double value = 0.0;
  EXPECT_TRUE(tensor.GetTemperature(TEMPERATURE_FIRST, value));
  EXPECT_EQ(value, 21.0);
  EXPECT_TRUE(tensor.GetTemperature(TEMPERATURE_SECOND, value));
  EXPECT_EQ(value, 21.125);
  EXPECT_TRUE(tensor.GetTemperature(TEMPERATURE_REFERENCE, value));
  EXPECT_EQ(value, 21.25);
  for (const std::int32_t source : {-1, 3, 1000}) {
    value = -7.0;
    EXPECT_FALSE(tensor.GetTemperature(static_cast<TemperatureSource>(source), value));
    EXPECT_EQ(value, -7.0);
  }
}

TEST_F(TensorObjectTest, GivesTheGreatestResultOfTheCameras) {
  QmReconsTensor tensor;
  tensor.version = -17;
  for (int greatest = 0; greatest < 3; ++greatest) {
    for (int i = 0; i < 3; ++i) {
      tensor.resultAvg[i] = i == greatest ? 3.0 : 1.0;
      tensor.resultMax[i] = i == greatest ? 4.0 : 1.0;
      tensor.resultStd[i] = i == greatest ? 5.0 : 1.0;
    }
    double value = 0.0;
    EXPECT_TRUE(tensor.GetResultAvg(value));
    EXPECT_EQ(value, 3.0);
    EXPECT_TRUE(tensor.GetResultMax(value));
    EXPECT_EQ(value, 4.0);
    EXPECT_TRUE(tensor.GetResultStd(value));
    EXPECT_EQ(value, 5.0);
  }
}

TEST_F(TensorObjectTest, GivesTheAverageAloneForVersionsAboveMinusFive) {
  QmReconsTensor tensor;
  ASSERT_EQ(qmTensorDataForceLoad(stored(-4).c_str(), tensor, 1), 1);
  double value = 0.0;
  EXPECT_TRUE(tensor.GetResultAvg(value));
  EXPECT_EQ(value, -1.0);
  value = -7.0;
  EXPECT_FALSE(tensor.GetResultMax(value));
  EXPECT_FALSE(tensor.GetResultStd(value));
  EXPECT_EQ(value, -7.0);
}

TEST_F(TensorObjectTest, AnswersForItsIdentityFromTheVersionOnThatHoldsIt) {
  QmReconsTensor tensor(*head_.tensor());
  for (std::int32_t version = 0; version >= -17; --version) {
    tensor.version = version;
    const bool results = version <= -5;
    const bool identity = version <= -6;
    const bool timeStamp = version <= -8;
    double value = 0.0;
    EXPECT_EQ(tensor.GetResultMax(value), results);
    EXPECT_EQ(tensor.GetResultStd(value), results);
    EXPECT_TRUE(tensor.GetResultAvg(value));

    int number = -1;
    EXPECT_EQ(tensor.GetCalibrationID(number), identity);
    EXPECT_EQ(number, identity ? 7 : -1);
    EXPECT_EQ(tensor.GetMappingID(99), identity);
    tag_qmCalibrationID calibration = {};
    EXPECT_EQ(tensor.GetCalibrationInfo(calibration), identity);
    EXPECT_EQ(calibration.calibWord2, identity ? 17 : 0);
    qmWString name = u"untouched";
    EXPECT_EQ(tensor.GetFileName(name), identity);
    EXPECT_EQ(name, identity ? u"ABCD1234-7.tns" : u"untouched");
    unsigned char machine[9] = "........";
    EXPECT_EQ(tensor.GetMachineID(machine, 8), identity);
    EXPECT_STREQ(reinterpret_cast<const char*>(machine), identity ? "ABCD1234" : "........");

    std::int32_t stamp = -1;
    EXPECT_EQ(tensor.GetCalibrationTimeStamp(stamp), timeStamp);
    EXPECT_EQ(stamp, timeStamp ? 18 : -1);
  }
}

TEST_F(TensorObjectTest, GivesTheWholeCalibrationIdentity) {
  const QmReconsTensor tensor(*head_.tensor());
  tag_qmCalibrationID calibration;
  ASSERT_TRUE(tensor.GetCalibrationInfo(calibration));
  EXPECT_EQ(std::memcmp(calibration.machineId, "ABCD1234", 8), 0);
  EXPECT_EQ(calibration.blockNumber, 7);
  EXPECT_EQ(calibration.calibWord0, 15);
  EXPECT_EQ(calibration.imageTag, 16);
  EXPECT_EQ(calibration.calibWord2, 17);
  EXPECT_EQ(calibration.calibrationTimeStamp, 18);
}

TEST_F(TensorObjectTest, RefusesABufferTooSmallForTheMachine) {
  const QmReconsTensor tensor(*head_.tensor());
  unsigned char machine[8] = {};
  EXPECT_FALSE(tensor.GetMachineID(machine, 7));
  EXPECT_FALSE(tensor.GetMachineID(machine, -1));
  EXPECT_FALSE(tensor.GetMachineID(nullptr, 8));
  EXPECT_EQ(machine[0], 0);
  EXPECT_TRUE(tensor.GetMachineID(machine, 1000));
}

TEST_F(TensorObjectTest, HasNoLimitsInXAndYFromAFileThatIsTooOld) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored(-8).c_str()));
  double box[6];
  EXPECT_TRUE(tensor.GetReconstBoxCenterAndHalfSize(box[0], box[1], box[2], box[3], box[4], box[5]));
  EXPECT_THAT(box, ElementsAre(0.0, -1.0, 0.0, -1.0, 19.5, 20.5));
}

// --- Loading -------------------------------------------------------------------------------------------------------

TEST_F(TensorObjectTest, LoadsAFileWithoutLutsAndWithoutALutFile) {
  QmReconsTensor tensor;
  const RecordingLog log;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  EXPECT_EQ(tensor.blockNumber, 7);
  EXPECT_EQ(tensor.imageWidth, 1536);
  EXPECT_THAT(log.records(), ElementsAre(Line(0, "QmReconsTensorIO", "Calculate distort pixel tables"),
                                         Line(0, "QmReconsTensorIO", "Finished calculating distort pixel tables"),
                                         Line(0, kModule, "empty tensor lutIds set")));
}

TEST_F(TensorObjectTest, SaysThatAFileNameIsMissing) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  const RecordingLog log;
  EXPECT_FALSE(tensor.LoadFromFile(nullptr));
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "Failed to load block. Invalid file name")));
  EXPECT_EQ(tensor.version, 0);
}

TEST_F(TensorObjectTest, NamesTheFileThatDoesNotLoad) {
  QmReconsTensor tensor;
  const RecordingLog log;
  EXPECT_FALSE(tensor.LoadFromFile(u"missing\\block.tns"));
  EXPECT_THAT(log.told(), ElementsAre(Line(5, kModule, "Failed to load block from 'missing\\block.tns'")));
  EXPECT_THAT(log.records(), ::testing::SizeIs(3));
}

TEST_F(TensorObjectTest, CanBeLoadedAgainAfterAFailure) {
  {
    QmReconsTensor tensor;
    const std::u16string good = stored();
    const std::string bytes = quel::testing::tensorFileBytes(*head_.tensor(), -17);
    writeFile(dir_.path() / "cut.tns", bytes.substr(0, 18500));
    for (int n = 0; n < 2; ++n) {
      EXPECT_FALSE(tensor.LoadFromFile(dir_.wide("cut.tns").c_str()));
      EXPECT_TRUE(tensor.LoadFromFile(good.c_str()));
    }
  }
  expectNothingLeft();
}

TEST_F(TensorObjectTest, WarmsTheCacheOfTheSecondFilterButNotOfTheFirst) {
  quelcore::resetFilterByZCaches();
  writeFile(home_.path() / "params.ini",
            "qmReconsLS_FilterByZRatioClose.50 = 1.5\nqmPatchReconsFilterByZRatioClose.50 = 1.5\n");
  head_.tensor()->lensType = 50.0;
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  writeFile(home_.path() / "params.ini",
            "qmReconsLS_FilterByZRatioClose.50 = 9.5\nqmPatchReconsFilterByZRatioClose.50 = 9.5\n");
  double close = 0.0;
  double far = 0.0;
  qmReconsGetFilterByZRatiosForRE(tensor, close, far);
  EXPECT_EQ(close, 1.5);
  qmReconsGetFilterByZRatios(tensor, close, far, false);  // loading asked for calibration, which is not cached
  EXPECT_EQ(close, 9.5);
  quelcore::resetFilterByZCaches();
}

TEST_F(TensorObjectTest, ProjectsAfterTheWholeRoadFromTheFile) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(stored().c_str()));
  const quel::Vec3 point = head_.point(0.4, -0.6, 0.3);
  for (int camera = 0; camera < 3; ++camera) {
    double pixel[2];
    ASSERT_EQ(qmRTProjectPointtoImage(tensor, point.data(), camera, PROJECT_EXACT, pixel), 1);
    EXPECT_NEAR(pixel[0], head_.pixel(point, camera)[0], 1e-8);
    EXPECT_NEAR(pixel[1], head_.pixel(point, camera)[1], 1e-8);
  }
}

// --- Storing -------------------------------------------------------------------------------------------------------

TEST_F(TensorObjectTest, StoresAndLoadsWithoutLuts) {
  QmReconsTensor tensor(*head_.tensor());
  ASSERT_TRUE(tensor.StoreToFile(dir_.wide("out.tns").c_str()));
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "ABCD1234-7.lut"));
  QmReconsTensor loaded;
  ASSERT_TRUE(loaded.LoadFromFile(dir_.wide("out.tns").c_str()));
  EXPECT_EQ(differingFields(loaded, tensor), "");
}

TEST_F(TensorObjectTest, FailsToStoreWhereNothingCanBeWritten) {
  QmReconsTensor tensor(*head_.tensor());
  EXPECT_FALSE(tensor.StoreToFile(dir_.wide("missing/out.tns").c_str()));
  EXPECT_FALSE(tensor.StoreToFile(u"/dev/full"));
  EXPECT_FALSE(tensor.StoreToFile(nullptr));
}

}  // namespace

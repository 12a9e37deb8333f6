#include "quelcore/patches/QmPatchBlockInfo.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>

#include "quelcore/patches/lutsParams.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using namespace quel::testing;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr OH_CAMERA_TYPE kType = OH_CAMERA_640x480;
constexpr OH_CAMERA_TYPE kOther = OH_CAMERA_QUELHEAD_100;

tag_qmImage image(std::int32_t width, std::int32_t height) {
  tag_qmImage made{};
  made.imageId.imageTag = 77;
  made.width = width;
  made.height = height;
  made.temperature[0] = 20.1F;
  made.temperature[1] = 21.2F;
  made.temperature[2] = 22.3F;
  made.ohType = kType;
  made.pixel2WorldRatio = 1.5;
  made.workingDistance = std::numeric_limits<double>::signaling_NaN();
  made.lensType = 35;
  made.ccdPixelSize = -0.0;
  made.headParam4 = 4.5;
  return made;
}

TEST(QmPatchBlockInfo, IsEmptyAtFirstButForTheMachine) {
  const TempHome home;
  writeFile(home.path() / "quelmetra.ini", "[Machine]\nMachineID=PATCH123\n");
  const QmPatchBlockInfo info;
  EXPECT_FALSE(info.isInit());
  EXPECT_EQ(std::string(info.machineId, 8), "PATCH123");
  EXPECT_THAT(info.headParams, Each(0.0));
  EXPECT_THAT(info.imageWidths, Each(0.0));
  EXPECT_THAT(info.imageHeights, Each(0.0));
  EXPECT_THAT(info.temperatures, Each(0.0));
  EXPECT_EQ(info.calibWord0, 0);
  EXPECT_EQ(info.imageTag, 0);
  EXPECT_EQ(info.calibWord2, 0);
}

TEST(QmPatchBlockInfo, HasItsFieldsInOrder) {
  EXPECT_EQ(offsetof(QmPatchBlockInfo, ohType), 0u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, headParams), 8u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, imageWidths), 48u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, imageHeights), 72u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, temperatures), 96u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, machineId), 120u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, calibWord0), 128u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, imageTag), 132u);
  EXPECT_EQ(offsetof(QmPatchBlockInfo, calibWord2), 136u);
}

TEST(QmPatchBlockInfo, IsFilledFromOneImageForAllCameras) {
  const tag_qmImage one = image(1536, 1024);
  QmPatchBlockInfo info;
  info.initialize(&one);
  EXPECT_TRUE(info.isInit());
  EXPECT_EQ(info.ohType, kType);
  EXPECT_EQ(std::memcmp(info.headParams, &one.pixel2WorldRatio, 5 * sizeof(double)), 0);
  EXPECT_THAT(info.imageWidths, Each(1536.0));
  EXPECT_THAT(info.imageHeights, Each(1024.0));
  // Single precision, widened: not 20.1.
  EXPECT_THAT(info.temperatures,
              ElementsAre(static_cast<double>(20.1F), static_cast<double>(21.2F), static_cast<double>(22.3F)));
  EXPECT_EQ(info.imageTag, 77);
  EXPECT_EQ(info.calibWord0, 0);
}

TEST(QmPatchBlockInfo, TakesTheDefaultTypeWhereTheImageHasNone) {
  tag_qmImage one = image(10, 20);
  one.ohType = OH_CAMERA_INVALID;
  QmPatchBlockInfo info;
  info.initialize(&one);
  EXPECT_EQ(info.ohType, getDefCameraType());
  EXPECT_TRUE(info.isInit());
}

TEST(QmPatchBlockInfo, TakesTheSizeOfEachFurtherCameraFromItsOwnImage) {
  const tag_qmImage images[] = {image(10, 11), image(20, 21), image(30, 31), image(40, 41)};
  for (const auto& [cameras, widths] : {std::pair{0u, std::array{10.0, 10.0, 10.0}},
                                        {1u, {10.0, 10.0, 10.0}},
                                        {2u, {10.0, 20.0, 10.0}},
                                        {3u, {10.0, 20.0, 30.0}},
                                        {4u, {10.0, 20.0, 30.0}},
                                        {0xffffffffu, {10.0, 20.0, 30.0}}}) {
    QmPatchBlockInfo info;
    info.initialize(images, cameras);
    EXPECT_THAT(info.imageWidths, ::testing::ElementsAreArray(widths)) << cameras;
    EXPECT_EQ(info.imageHeights[1], widths[1] + 1);
    EXPECT_EQ(info.imageHeights[2], widths[2] + 1);
    EXPECT_THAT(info.temperatures, Each(::testing::Gt(20.0)));
  }
}

TEST(QmPatchBlockInfo, IsFilledFromTheImagesOfAPatch) {
  const tag_qmImage images[] = {image(10, 11), image(20, 21), image(30, 31)};
  qmPatchImage patch{0, {&images[0], nullptr, &images[2]}};
  QmPatchBlockInfo info;
  info.initialize(&patch);
  EXPECT_THAT(info.imageWidths, ElementsAre(10, 10, 30));
  EXPECT_THAT(info.imageHeights, ElementsAre(11, 11, 31));
  patch = {0, {nullptr, &images[1], nullptr}};
  QmPatchBlockInfo without;
  without.initialize(&patch);
  EXPECT_FALSE(without.isInit());
  EXPECT_THAT(without.imageWidths, ElementsAre(0, 20, 0));
  EXPECT_THAT(without.imageHeights, ElementsAre(0, 21, 0));
}

TEST(QmPatchBlockInfo, IgnoresNulls) {
  const tag_qmImage one = image(10, 11);
  QmPatchBlockInfo info;
  info.initialize(&one);
  info.initialize(static_cast<const tag_qmImage*>(nullptr));
  info.initialize(static_cast<const tag_qmImage*>(nullptr), 3);
  info.initialize(static_cast<const qmPatchImage*>(nullptr));
  info.updateTensor(nullptr);
  EXPECT_THAT(info.imageWidths, Each(10.0));
}

TEST(QmPatchBlockInfo, IsWrittenIntoATensorAndTouchesNothingElse) {
  const tag_qmImage one = image(10, 11);
  QmPatchBlockInfo info;
  info.initialize(&one);
  std::memcpy(info.machineId, "MACHINE8", 8);
  info.calibWord0 = 5;
  info.calibWord2 = 6;
  auto tensor = std::make_unique<tag_qmReconsTensorData>();
  std::memset(static_cast<void*>(tensor.get()), 0x5a, sizeof(*tensor));
  auto expected = std::make_unique<tag_qmReconsTensorData>(*tensor);
  info.updateTensor(tensor.get());
  for (int n = 0; n < 3; ++n) expected->temperature[n] = static_cast<double>(one.temperature[n]);
  expected->ohType = kType;
  std::memcpy(&expected->pixel2WorldRatio, &one.pixel2WorldRatio, 8);
  std::memcpy(&expected->workingDistance, &one.workingDistance, 8);
  std::memcpy(&expected->lensType, &one.lensType, 8);
  std::memcpy(&expected->ccdPixelSize, &one.ccdPixelSize, 8);
  std::memcpy(&expected->headParam4, &one.headParam4, 8);
  std::memcpy(expected->machineId, "MACHINE8", 8);
  expected->calibWord0 = 5;
  expected->imageTag = 77;
  expected->calibWord2 = 6;
  expected->imageWidth = 640;
  expected->imageHeight = 480;
  EXPECT_EQ(std::memcmp(tensor.get(), expected.get(), sizeof(*tensor)), 0);
}

TEST(QmPatchBlockInfo, KeepsTheTensorsImageSizeForATypeWithoutOne) {
  const TempHome home;
  QmPatchBlockInfo info;
  info.ohType = static_cast<OH_CAMERA_TYPE>(4711);
  auto tensor = std::make_unique<tag_qmReconsTensorData>();
  tensor->imageWidth = 12;
  tensor->imageHeight = 34;
  info.updateTensor(tensor.get());
  EXPECT_EQ(tensor->ohType, 4711);
  EXPECT_EQ(tensor->imageWidth, 12);
  EXPECT_EQ(tensor->imageHeight, 34);
}

class LutsParams : public ::testing::Test {
 protected:
  LutsParams() {
    quelcore::lutsParams() = {};
    std::filesystem::create_directories(home_.path() / "multistage");
  }
  ~LutsParams() override { quelcore::lutsParams() = {}; }

  std::filesystem::path file(OH_CAMERA_TYPE type) const {
    return home_.path() / "multistage" / (std::to_string(type) + ".ini");
  }
  void write(OH_CAMERA_TYPE type, const std::string& content) const { writeFile(file(type), content); }

  std::string readLine(const std::string& name, OH_CAMERA_TYPE type, bool cop, bool trg) const {
    return "lut parameters initialized for ohType = " + name + " (" + std::to_string(type) +
           ") : bUseDistortLutCopBased_ = " + (cop ? "true" : "false") +
           " bUseDistortLutTrgBased_ = " + (trg ? "true" : "false") + "\r\n\tby file " + file(type).string();
  }

  TempHome home_;
  RecordingLog log_;
};

constexpr const char* kModule = "QmPatchBlockInfo";

TEST_F(LutsParams, AnswerForEachKindOfTableAndForEither) {
  for (const bool cop : {false, true}) {
    for (const bool trg : {false, true}) {
      quelcore::lutsParams() = {};
      log_.clear();
      write(kType, std::string("[General]\nqmDistortLutCopBased=") + (cop ? "-3" : "0") +
                       "\nqmDistortLutTrgBased=" + (trg ? "1" : "none") + "\n");
      EXPECT_EQ(QmPatchBlockInfo::getUseDistortLutCop(kType), cop);
      EXPECT_EQ(QmPatchBlockInfo::getUseDistortLutTrg(kType), trg);
      EXPECT_EQ(QmPatchBlockInfo::getUseDistortLut(kType), cop || trg);
      EXPECT_THAT(log_.records(), ElementsAre(Line(0, kModule, readLine("640 x 480", kType, cop, trg))));
    }
  }
}

TEST_F(LutsParams, TakeAnAbsentKeyForNo) {
  write(kType, "[General]\nqmDistortLutTrgBased=1\n[Other]\nqmDistortLutCopBased=1\n");
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutCop(kType));
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLutTrg(kType));
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
}

TEST_F(LutsParams, AreReadOnceForAType) {
  write(kType, "[General]\nqmDistortLutCopBased=1\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
  write(kType, "[General]\nqmDistortLutCopBased=0\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
  std::filesystem::remove(file(kType));
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLutCop(kType));
  EXPECT_EQ(log_.records().size(), 1u);
}

TEST_F(LutsParams, AreReadAnewForAnotherType) {
  write(kType, "[General]\nqmDistortLutCopBased=1\n");
  write(kOther, "[General]\nqmDistortLutTrgBased=1\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLutCop(kType));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutCop(kOther));
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLutTrg(kOther));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(0, kModule, readLine("640 x 480", kType, true, false)),
                          Line(0, kModule,
                               "lutsParams is initialized once more: previous ohType = 640 x 480 (5) new ohType = "
                               "QuelHead 100 (1)"),
                          Line(0, kModule, readLine("QuelHead 100", kOther, false, true))));
}

TEST_F(LutsParams, KeepServingThePreviousTypeWhenTypeZeroIsAskedFor) {
  write(kType, "[General]\nqmDistortLutCopBased=1\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
  log_.clear();
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLutCop(OH_CAMERA_INVALID));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(0, kModule,
                               "lutsParams is initialized once more: previous ohType = 640 x 480 (5) new ohType = "
                               "Unknown (0)"),
                          Line(0, kModule, "New ohType is invalid, keep the previous")));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutTrg(OH_CAMERA_INVALID));
  log_.clear();
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(LutsParams, ReportTypeZeroBeforeAnyOther) {
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLut(OH_CAMERA_INVALID));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutCop(OH_CAMERA_INVALID));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutTrg(OH_CAMERA_INVALID));
  EXPECT_THAT(log_.records(), ElementsAre(NumberedError(5, kModule, 0xc4040066), NumberedError(5, kModule, 0xc4040066),
                                          NumberedError(5, kModule, 0xc4040066)));
  EXPECT_FALSE(quelcore::lutsParams().initialised);
}

TEST_F(LutsParams, ReportAMissingFileEachTimeAndTryAgain) {
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLut(kType));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLutTrg(kType));
  EXPECT_THAT(log_.records(),
              ElementsAre(NumberedError(5, kModule, 0xc4040067), NumberedError(5, kModule, 0xc4040067)));
  EXPECT_FALSE(quelcore::lutsParams().initialised);
  write(kType, "[General]\nqmDistortLutCopBased=1\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
}

TEST_F(LutsParams, AreNotInitialisedAfterTheFileOfAnotherTypeIsMissing) {
  write(kType, "[General]\nqmDistortLutCopBased=1\n");
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLut(kOther));
  EXPECT_FALSE(quelcore::lutsParams().initialised);
  EXPECT_EQ(quelcore::lutsParams().ohType, OH_CAMERA_INVALID);
  log_.clear();
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLut(OH_CAMERA_INVALID));
  EXPECT_THAT(log_.records(), ElementsAre(NumberedError(5, kModule, 0xc4040066)));
  EXPECT_TRUE(QmPatchBlockInfo::getUseDistortLut(kType));
}

TEST_F(LutsParams, ReportAPathThatCannotBeMade) {
  quelcore::lutsParams().path[0] = u'x';
  EXPECT_FALSE(QmPatchBlockInfo::getUseDistortLut(static_cast<OH_CAMERA_TYPE>(-5)));
  EXPECT_THAT(log_.records(), ElementsAre(NumberedError(5, kModule, 0xc4040067)));
  EXPECT_EQ(quelcore::lutsParams().path[0], u'\0');
}

TEST(readLutsParams, TellsWhyThereAreNoParameters) {
  const TempHome home;
  quelcore::lutsParams() = {};
  EXPECT_FALSE(quelcore::readLutsParams(OH_CAMERA_INVALID));
  EXPECT_EQ(lastProblem(), "the camera type is not known");
  EXPECT_FALSE(quelcore::readLutsParams(kType));
  EXPECT_EQ(lastProblem(), "there is no such file");
  qmWChar path[260] = {};
  ASSERT_NE(QmWorkPlace::MakeMultiStageCalibFullPath(kType, path, 260), 0);
  const std::filesystem::path file(toNarrow(path));
  std::filesystem::create_directories(file.parent_path());
  writeFile(file, "[General]\nqmDistortLutCopBased=yes\nqmDistortLutTrgBased=1\n");
  EXPECT_TRUE(quelcore::readLutsParams(kType));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("qmDistortLutCopBased: expected 0 or 1, found \"yes\""));
  quelcore::lutsParams() = {};
}

}  // namespace

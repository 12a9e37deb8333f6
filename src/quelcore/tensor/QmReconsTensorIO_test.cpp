// Reading tensor files of every version, and refusing damaged ones. Their LUT identifiers are in
// tensorFileLutIds_test.cpp, writing is in tensorFileWriter_test.cpp.
#include "quelcore/tensor/QmReconsTensorIO.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/tensorFile_fixture.h"
#include "quelplatform/qmEnv/qmCamera.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/FailingMemory.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::differingFields;
using quel::testing::legacyTensorFileBytes;
using quel::testing::Line;
using quel::testing::Loaded;
using quel::testing::Message;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::tensorFileBytes;
using quel::testing::TensorFileTest;
using quel::testing::testRandom;
using quel::testing::writeFile;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmReconsTensorIO";
constexpr const char* kNote =
    "NOTE: use qmRTeditTensorDataTool to update the tensor's distortion params from the images\n";

/// The record that a reader makes of a file of `version` with `content`.
tag_qmReconsTensorData readFrom(const tag_qmReconsTensorData& content, std::int32_t version) {
  tag_qmReconsTensorData t = content;
  t.version = version;
  if (version > -16) {
    std::memset(t.lutFrameTransform, 0, sizeof(t.lutFrameTransform));
    for (int i = 0; i < 4; ++i) t.lutFrameTransform[i][i] = 1.0;
    std::memcpy(t.projectionsInLutFrame, t.projections, sizeof(t.projections));
  }
  if (version > -15) std::memset(t.distortLutsInfo2, 0, sizeof(t.distortLutsInfo2));
  if (version > -14) {
    t.lutExtraFlag = 0;
    std::memset(t.lutExtraValue, 0, sizeof(t.lutExtraValue));
  }
  for (int i = 0; i < 3; ++i) {
    if (version > -13) std::memset(t.distortParams[i].distortExtra, 0, sizeof(t.distortParams[i].distortExtra));
    if (version > -17) t.distortParams[i].distortOption = 1;
    t.distortParams2[i] = t.distortParams[i];
  }
  if (version > -12) std::memset(t.distortLutsInfo, 0, sizeof(t.distortLutsInfo));
  if (version > -11) {
    t.reconstBoxCenterX = t.reconstBoxCenterY = 0.0;
    t.reconstBoxHalfSizeX = t.reconstBoxHalfSizeY = -1.0;
  }
  if (version > -10) t.temperature[1] = t.temperature[2] = t.temperature[0];
  if (version > -9) qmRTfillLocsAndCalibDist(&t, nullptr);  // held to the cameras in tests of its own
  if (version > -8) t.calibrationTimeStamp = 0;
  if (version > -7) {
    t.reconstBoxCenterZ = 0.0;
    t.reconstBoxHalfSizeZ = 60.0;
  }
  if (version > -6) {
    std::memset(t.machineId, 0, sizeof(t.machineId));
    t.blockNumber = t.calibWord0 = t.imageTag = t.calibWord2 = 0;
  }
  if (version > -5) {
    for (tag_qmDistortParams& p : t.distortParams) p = {0, 0, 0, 0, 0, 767.5, 511.5, {}, nullptr, 1};
    for (tag_qmDistortParams& p : t.distortParams2) p = t.distortParams[0];
    for (int i = 0; i < 3; ++i) t.resultAvg[i] = t.resultStd[i] = t.resultMax[i] = -1.0;
    t.resultValue0 = t.resultValue1 = t.resultValue2 = -1.0;
    t.resultInt = -1;
  }
  return t;
}

// --- Every version -------------------------------------------------------------------------------------------------

TEST_F(TensorFileTest, ReadsEveryVersionFromMinusFiveOnWithTheDefaultsOfWhatItLacks) {
  for (std::int32_t version = -5; version >= -17; --version) {
    Loaded loaded;
    const RecordingLog log;
    ASSERT_EQ(load(tensorFileBytes(content(), version), loaded), 1) << "version " << version;
    EXPECT_EQ(differingFields(*loaded, readFrom(content(), version)), "") << "version " << version;
    EXPECT_THAT(log.records(), ElementsAre(Line(0, kModule, "Calculate distort pixel tables"),
                                           Line(0, kModule, "Finished calculating distort pixel tables")));
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(loaded->distortParams[i].luts, nullptr);
      EXPECT_EQ(loaded->distortParams2[i].luts, nullptr);
    }
  }
}

TEST_F(TensorFileTest, ReadsVersionMinusFourOnlyWhenForced) {
  Loaded loaded;
  {
    const RecordingLog log;
    EXPECT_EQ(load(tensorFileBytes(content(), -4), loaded), 0);
    EXPECT_THAT(log.records(), ElementsAre(Line(4, kModule, kNote), BareTrace(kModule), BareTrace(kModule)));
  }
  EXPECT_EQ(load(tensorFileBytes(content(), -4), loaded, 1), 1);
  EXPECT_EQ(differingFields(*loaded, readFrom(content(), -4)), "");
  EXPECT_EQ(load(tensorFileBytes(content(), -4), loaded, -1), 1);
}

TEST_F(TensorFileTest, AddsATraceWhenTheUnforcedLoadFails) {
  writeFile(path(), tensorFileBytes(content(), -4));
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(Line(4, kModule, kNote), BareTrace(kModule), BareTrace(kModule), BareTrace(kModule)));
  writeFile(path(), tensorFileBytes(content(), -5));
  EXPECT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), 1);
}

TEST_F(TensorFileTest, StopsAForcedLoadOfTheOldestFilesAtTheCameraLocations) {
  // Their projections are still zero when locations are to be derived from them. The upgrade of such files builds on
  // what the record holds then: all that was read, and the defaults up to that place.
  for (std::int32_t version = 0; version >= -3; --version) {
    Loaded loaded;
    const RecordingLog log;
    EXPECT_EQ(load(tensorFileBytes(content(), version), loaded, 1), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));

    tag_qmReconsTensorData t = readFrom(content(), version);
    if (version > -1) t.temperature[0] = -273.0;
    if (version > -2) {
      t.ohType = 1;
      t.pixel2WorldRatio = 4.545;
    }
    if (version > -3) {
      t.workingDistance = 1240.0;
      t.lensType = 50.0;
      t.ccdPixelSize = 0.009;
      t.headParam4 = 70.0;
      t.reconstBoxHalfSizeZ = 45.0;
    }
    t.projectionsValid = 0;
    std::memset(t.projections, 0, sizeof(t.projections));
    // Not reached any more:
    std::memset(t.cameraLocations, 0, sizeof(t.cameraLocations));
    t.calibDistance = 0.0;
    t.temperature[1] = t.temperature[2] = version > -1 ? -273.0 : 0.0;
    t.reconstBoxHalfSizeX = t.reconstBoxHalfSizeY = 0.0;
    std::memset(t.lutFrameTransform, 0, sizeof(t.lutFrameTransform));
    std::memset(t.projectionsInLutFrame, 0, sizeof(t.projectionsInLutFrame));
    for (int i = 0; i < 3; ++i) {
      t.distortParams[i].distortOption = 0;
      t.distortParams2[i] = {};
    }
    EXPECT_EQ(differingFields(*loaded, t), "") << "version " << version;
    EXPECT_EQ(loaded->distortTables[0].xTable, nullptr);
  }
}

TEST_F(TensorFileTest, TellsALegacyFileByItsFirstWord) {
  Loaded loaded;
  EXPECT_EQ(load(legacyTensorFileBytes(content()), loaded), 0);
  EXPECT_EQ(loaded->version, 0);
  EXPECT_EQ(loaded->numCameras, 3);
  EXPECT_EQ(loaded->worldScale, content().worldScale);
  EXPECT_EQ(std::memcmp(loaded->epipole, content().epipole, sizeof(content().epipole)), 0);
  EXPECT_EQ(loaded->resultInt, 0);  // the note came first

  content().numCameras = 1000;
  EXPECT_EQ(load(legacyTensorFileBytes(content()), loaded, 1), 0);
  EXPECT_EQ(loaded->numCameras, 1000);
  EXPECT_EQ(loaded->resultInt, -1);
  EXPECT_EQ(loaded->ohType, 1);
}

TEST_F(TensorFileTest, RefusesANewerFileBeforeAnythingElseIsRead) {
  for (const std::int32_t version : {-18, -1000, std::numeric_limits<std::int32_t>::min()}) {
    std::string bytes = tensorFileBytes(content(), -17);
    std::memcpy(bytes.data(), &version, 4);
    Loaded loaded;
    const RecordingLog log;
    EXPECT_EQ(load(bytes, loaded, 1), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
    EXPECT_EQ(loaded->version, 0);
    EXPECT_EQ(loaded->numCameras, 0);
  }
}

TEST_F(TensorFileTest, ReleasesWhatTheRecordHeldBefore) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  {
    Loaded loaded;
    for (int n = 0; n < 3; ++n) ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
    writeFile(path(), "");
    EXPECT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), 0);
    EXPECT_EQ(loaded->blockNumber, 0);
    EXPECT_EQ(loaded->distortTables[0].xTable, nullptr);
  }
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

// --- Steps along the way -------------------------------------------------------------------------------------------

TEST_F(TensorFileTest, ReplacesCameraTypeZeroByTheDefaultWithOneLine) {
  content().ohType = 0;
  Loaded loaded;
  const RecordingLog log;
  ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
  EXPECT_EQ(loaded->ohType, 4);
  EXPECT_EQ(loaded->imageWidth, 1536);
  EXPECT_EQ(loaded->imageHeight, 1024);
  const std::string invalid = toNarrow(getOHCameraName(OH_CAMERA_INVALID));
  const std::string standard = toNarrow(getOHCameraName(OH_CAMERA_DEFAULT));
  EXPECT_THAT(
      log.records().front(),
      Line(5, kModule, "Wrong ohType = " + invalid + " (0) - use default ohType was set = " + standard + " (4)"));
  EXPECT_EQ(log.records().size(), 3U);
}

TEST_F(TensorFileTest, TakesTheImageSizeFromTheCameraTypeAndNoneForAnUnknownOne) {
  struct Row {
    std::int32_t type, width, height, columns, rows;
  };
  const Row rows[] = {{1, 1536, 1024, 62, 41},   {2, 1280, 1024, 52, 41}, {5, 640, 480, 26, 20},
                      {8, 4096, 3000, 164, 120}, {999, 0, 0, 1, 1},       {-5, 0, 0, 1, 1}};
  for (const Row& row : rows) {
    content().ohType = row.type;
    Loaded loaded;
    ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
    EXPECT_EQ(loaded->ohType, row.type);
    EXPECT_EQ(loaded->imageWidth, row.width);
    EXPECT_EQ(loaded->imageHeight, row.height);
    for (const qmDistortTableSet& tables : loaded->distortTables) {
      EXPECT_EQ(tables.xCols, row.columns);
      EXPECT_EQ(tables.yCols, row.columns);
      EXPECT_EQ(tables.xRows, row.rows);
      EXPECT_EQ(tables.yRows, row.rows);
    }
  }
}

TEST_F(TensorFileTest, TakesTheHalfSizeInZFromTheLensInFilesOlderThanMinusSeven) {
  for (const double lens : {50.0, 50.0000001, 35.0, 0.0}) {
    content().lensType = lens;
    Loaded loaded;
    ASSERT_EQ(load(tensorFileBytes(content(), -6), loaded), 1);
    EXPECT_EQ(loaded->reconstBoxHalfSizeZ, lens == 50.0 ? 45.0 : 60.0);
    EXPECT_EQ(loaded->reconstBoxCenterZ, 0.0);
  }
}

TEST_F(TensorFileTest, DerivesProjectionsWhereTheFileHasMetricTablesAlone) {
  const tag_qmReconsTensorData truth = content();
  content().projectionsValid = 0;
  std::memset(content().projections, 0, sizeof(content().projections));
  Loaded loaded;
  ASSERT_EQ(load(tensorFileBytes(content(), -15), loaded), 1);
  EXPECT_EQ(loaded->projectionsValid, 1);
  double P[3][4][4];
  ASSERT_EQ(qmRTComputeProjections(&truth, P), 1);
  EXPECT_EQ(std::memcmp(loaded->projections, P, sizeof(P)), 0);
  for (int camera = 0; camera < 3; ++camera) {
    const quel::Vec3 centre = quel::centreOf(head_.cameras()[camera]);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(loaded->cameraLocations[camera][i], centre[i], 1e-7);
  }
  // The default of the LUT frame was taken before there were projections.
  for (const auto& P4 : loaded->projectionsInLutFrame) {
    for (const auto& row : P4) EXPECT_THAT(row, Each(0.0));
  }
}

TEST_F(TensorFileTest, StopsAtTheCameraLocationsOfAnOlderFileWithoutProjections) {
  content().projectionsValid = 0;
  std::memset(content().projections, 0, sizeof(content().projections));
  for (const std::int32_t version : {-4, -8}) {
    Loaded loaded;
    const RecordingLog log;
    EXPECT_EQ(load(tensorFileBytes(content(), version), loaded, 1), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
    EXPECT_EQ(loaded->projectionsValid, 0);
    EXPECT_EQ(loaded->reconstBoxHalfSizeX, 0.0);  // its default comes later
  }
  Loaded loaded;
  EXPECT_EQ(load(tensorFileBytes(content(), -9), loaded), 1);
  EXPECT_EQ(loaded->projectionsValid, 1);
}

TEST_F(TensorFileTest, DerivesProjectionsForAFlagOfExactlyZero) {
  content().projectionsValid = 2;
  content().projections[0][0][0] += 1.0;
  Loaded loaded;
  ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
  EXPECT_EQ(loaded->projectionsValid, 2);
  EXPECT_EQ(loaded->projections[0][0][0], content().projections[0][0][0]);
}

TEST_F(TensorFileTest, LeavesProjectionsAloneWithoutMetricTables) {
  content().reconsFlag = 0;
  content().projectionsValid = 0;
  Loaded loaded;
  ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
  EXPECT_EQ(loaded->projectionsValid, 0);
}

TEST_F(TensorFileTest, GoesOnToTheCameraLocationsWhenProjectionsCannotBeDerived) {
  content().reconsFlag = 2;  // not 0, yet not the 1 that the derivation demands
  content().projectionsValid = 0;
  Loaded loaded;
  const RecordingLog log;
  ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
  EXPECT_EQ(loaded->projectionsValid, 0);
  EXPECT_THAT(log.records().back(), Message(5, "qmReconsTensorCore", 0xc43d0003, "txt"));
}

TEST_F(TensorFileTest, FailsWithATraceWhenDerivedCamerasStandInAWrongOrder) {
  // Turned about Z by half a turn, the uppermost camera is the lowest.
  SampleHead head;
  std::swap(content().projections[0], content().projections[1]);
  Loaded loaded;
  {
    const RecordingLog log;
    EXPECT_EQ(load(tensorFileBytes(content(), -8), loaded), 0);
    EXPECT_THAT(log.records().front().text, ::testing::HasSubstr("camera 0 is not the upper cammera"));
    EXPECT_EQ(log.records().size(), 3U);
  }
  content().projectionsValid = 0;
  content().worldScale = 0.0;
  const RecordingLog log;
  EXPECT_EQ(load(tensorFileBytes(content(), -17), loaded), 0);
  EXPECT_THAT(log.told().back().text, ::testing::HasSubstr("camera 0 is not the upper cammera"));
  EXPECT_THAT(log.records().back(), BareTrace(kModule));
}

TEST_F(TensorFileTest, StoresTheDistortOptionInAllSixModels) {
  for (const std::int32_t option : {0, 1, 2, -7}) {
    content().distortParams[0].distortOption = option;
    Loaded loaded;
    ASSERT_EQ(load(tensorFileBytes(content(), -17), loaded), 1);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(loaded->distortParams[i].distortOption, option);
      EXPECT_EQ(loaded->distortParams2[i].distortOption, option);
    }
  }
}

// --- Damage --------------------------------------------------------------------------------------------------------

TEST_F(TensorFileTest, RefusesAFileCutOffAtAnyByte) {
  const std::string bytes = tensorFileBytes(content(), -17);
  writeFile(path(), bytes);
  Loaded loaded;
  ASSERT_EQ(qmTensorDataForceLoad(widePath().c_str(), &loaded, 0), 1);
  for (std::size_t size = bytes.size(); size-- > 0;) {
    std::filesystem::resize_file(path(), size);
    const RecordingLog log;
    ASSERT_EQ(qmTensorDataForceLoad(widePath().c_str(), &loaded, 0), 0) << size;
    const auto records = log.records();
    ASSERT_GE(records.size(), 2U) << size;
    ASSERT_THAT(records.back(), BareTrace(kModule)) << size;
    ASSERT_THAT(records[records.size() - 2], BareTrace(kModule)) << size;
  }
}

TEST_F(TensorFileTest, IgnoresWhatFollowsTheLastField) {
  Loaded loaded;
  EXPECT_EQ(load(tensorFileBytes(content(), -17) + std::string(100000, 'x'), loaded), 1);
  EXPECT_EQ(differingFields(*loaded, readFrom(content(), -17)), "");
}

TEST_F(TensorFileTest, IgnoresWhatStandsInThePads) {
  std::string bytes = tensorFileBytes(content(), -17);
  for (const std::size_t pad : {8U, 8440U, 10752U, 11480U, 12136U}) bytes.replace(pad, 4, "\xFF\x01\x02\x03");
  Loaded loaded;
  EXPECT_EQ(load(bytes, loaded), 1);
  EXPECT_EQ(differingFields(*loaded, readFrom(content(), -17)), "");
}

TEST_F(TensorFileTest, SurvivesEveryFlippedBitOfItsLengthsAndManyElsewhere) {
  const std::string bytes = tensorFileBytes(content(), -17);
  auto random = testRandom();
  const auto tryFlip = [&](std::size_t at, int bit) {
    std::string damaged = bytes;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << bit));
    Loaded loaded;
    const std::int32_t result = load(damaged, loaded, 1);
    EXPECT_TRUE(result == 0 || result == 1);
  };
  for (std::size_t at = 0; at < 8; ++at) {
    for (int bit = 0; bit < 8; ++bit) tryFlip(at, bit);
  }
  for (std::size_t at = 18044; at < 18072; ++at) {
    for (int bit = 0; bit < 8; ++bit) tryFlip(at, bit);
  }
  for (int n = 0; n < 500; ++n) tryFlip(random() % bytes.size(), static_cast<int>(random() % 8));
}

TEST_F(TensorFileTest, LeavesATraceWhenThereIsNoFileToOpen) {
  Loaded loaded;
  loaded->blockNumber = 99;
  const std::u16string missing = dir_.wide("missing.tns");
  const std::u16string directory = dir_.path().u16string();
  for (const char16_t* file : {missing.c_str(), directory.c_str(), u"", static_cast<const char16_t*>(nullptr)}) {
    const RecordingLog log;
    EXPECT_EQ(qmTensorDataForceLoad(file, &loaded, 0), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_EQ(loaded->blockNumber, 99);
  }
}

TEST_F(TensorFileTest, TreatsAnEmptyDeviceAsAShortFile) {
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataForceLoad(u"/dev/null", &loaded, 0), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
}

TEST_F(TensorFileTest, ReportsAFailedReadWithPathAndReason) {
  Loaded loaded;
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataForceLoad(u"/proc/self/mem", &loaded, 0), 0);  // its first page cannot be read
  EXPECT_THAT(log.records(),
              ElementsAre(BareTrace(kModule),
                          Message(5, kModule, 0xc43d0030,
                                  "qmTensorDataLoad-ReadDataByFields|/proc/self/mem|5|Input/output error")));
}

TEST_F(TensorFileTest, GivesZeroForANullRecord) {
  writeFile(path(), tensorFileBytes(content(), -17));
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataForceLoad(widePath().c_str(), nullptr, 0), 0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(TensorFileTest, LoadsWithoutDistortionImagesWhenMemoryRunsOut) {
  writeFile(path(), tensorFileBytes(content(), -17));
  const auto failures = quel::testing::failEachAllocation([&](std::int64_t) {
    Loaded loaded;
    EXPECT_EQ(qmTensorDataForceLoad(widePath().c_str(), &loaded, 0), 1);
    EXPECT_EQ(differingFields(*loaded, readFrom(content(), -17)), "");
    EXPECT_EQ(loaded->distortTables[2].yCols, 62);
  });
  EXPECT_GE(failures, 6);
}

}  // namespace

// The LUTs of a tensor: loaded with it, counted, renamed. Storing is in QmReconsTensorLutsStore_test.cpp.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <limits>
#include <thread>
#include <vector>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelcore/tensor/tensorLuts_fixture.h"
#include "testing/RecordingLog.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::kId0;
using quel::testing::kId101;
using quel::testing::kId2;
using quel::testing::Line;
using quel::testing::RecordingLog;
using quel::testing::setLut;
using quel::testing::TensorLutsTest;
using quel::testing::writeLuts;
using quelplatform::distortLutsReferences;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmReconsTensor";

// --- Loading -------------------------------------------------------------------------------------------------------

TEST_F(TensorLutsTest, AreAttachedFromTheFileBesideTheTensorFile) {
  const RecordingLog log;
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  EXPECT_THAT(log.records(), Contains(Line(0, kModule, "loaded luts file " + lutsFile())));
  EXPECT_NE(tensor.distortParams[0].luts, nullptr);
  EXPECT_EQ(tensor.distortParams[1].luts, nullptr);
  EXPECT_NE(tensor.distortParams[2].luts, nullptr);
  EXPECT_NE(tensor.distortParams2[1].luts, nullptr);
  EXPECT_EQ(tensor.distortParams2[0].luts, nullptr);
  for (const char* id : {kId0, kId2, kId101}) EXPECT_EQ(distortLutsReferences(id), 1) << id;

  const quel::Vec3 point = head_.point(0.1, 0.2, 0.1);
  double pixel[2];
  ASSERT_EQ(qmRTProjectPointtoImage(tensor, point.data(), 0, PROJECT_EXACT, pixel), 1);
  EXPECT_NEAR(pixel[0], head_.pixel(point, 0)[0] + 1.0, 1e-8);
  ASSERT_EQ(qmRTProjectPointtoImage(tensor, point.data(), 2, PROJECT_EXACT, pixel), 1);
  EXPECT_NEAR(pixel[0], head_.pixel(point, 2)[0] + 2.0, 1e-8);
}

TEST_F(TensorLutsTest, ArePutAsideByTheDistortionImagesWhichShowTheModelAlone) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const quel::Vec2 seen = quel::distortedPixel(head_.cameras()[0], {500.0, 500.0});
  EXPECT_NEAR(tensor.distortTables[0].xTable[20][20], seen[0] - 500.0, 1e-5);
}

TEST_F(TensorLutsTest, ComeFromBesideAnotherFileIfOneIsNamed) {
  fs::create_directory(dir_.path() / "other");
  fs::rename(dir_.path() / "ABCD1234-7.lut", dir_.path() / "other/ABCD1234-7.lut");
  QmReconsTensor tensor;
  EXPECT_FALSE(tensor.LoadFromFile(tensorFile().c_str()));
  EXPECT_TRUE(tensor.LoadFromFile(tensorFile().c_str(), dir_.wide("other/anything.tns").c_str()));
  EXPECT_NE(tensor.distortParams[0].luts, nullptr);
}

TEST_F(TensorLutsTest, ComeFromTheCurrentDirectoryForABareFileName) {
  const fs::path before = fs::current_path();
  fs::current_path(dir_.path());
  QmReconsTensor tensor;
  EXPECT_TRUE(tensor.LoadFromFile(u"block.tns"));
  EXPECT_NE(tensor.distortParams[0].luts, nullptr);
  fs::current_path(before);
}

TEST_F(TensorLutsTest, DoNotComeFromTheCurrentDirectoryForAPathThatIsTooLong) {
  const fs::path before = fs::current_path();
  fs::current_path(dir_.path());
  std::u16string longPath = u"./";
  while (longPath.size() < 1100) longPath += u"./";
  QmReconsTensor tensor;
  const RecordingLog log;
  EXPECT_FALSE(tensor.LoadFromFile((longPath + u"block.tns").c_str()));
  EXPECT_EQ(tensor.distortParams[0].luts, nullptr);
  fs::current_path(before);
}

TEST_F(TensorLutsTest, ThatCannotBeReadFailTheLoadWithTheFilesNamed) {
  fs::remove(dir_.path() / "ABCD1234-7.lut");
  QmReconsTensor tensor;
  const RecordingLog log;
  EXPECT_FALSE(tensor.LoadFromFile(tensorFile().c_str()));
  EXPECT_EQ(tensor.blockNumber, 7);
  EXPECT_THAT(log.told(), Contains(Line(5, kModule, "failed to load tensor's luts from file " + lutsFile())));
  EXPECT_THAT(log.told().back(),
              Line(5, kModule, "Failed to load luts files from block '" + toNarrow(tensorFile()) + "'"));
}

TEST_F(TensorLutsTest, ThatCannotBeReadFromBesideAnotherFileFailTheLoadOfTheTensorFile) {
  QmReconsTensor tensor;
  const RecordingLog log;
  EXPECT_FALSE(tensor.LoadFromFile(tensorFile().c_str(), dir_.wide("elsewhere/other.tns").c_str()));
  EXPECT_THAT(log.told().back(),
              Line(5, kModule, "Failed to load luts files from block '" + toNarrow(tensorFile()) + "'"));
}

TEST_F(TensorLutsTest, AreLookedForInADirectoryThatEndsInASeparatorWithoutAnother) {
  QmReconsTensor tensor;
  for (const auto& [source, file] :
       {std::pair{u"/x.tns", "/ABCD1234-7.lut"}, std::pair{u"\\x.tns", "\\ABCD1234-7.lut"}}) {
    const RecordingLog log;
    EXPECT_FALSE(tensor.LoadFromFile(tensorFile().c_str(), source));
    EXPECT_THAT(log.told(), Contains(Line(5, kModule, std::string("failed to load tensor's luts from file ") + file)));
  }
}

TEST_F(TensorLutsTest, ThatTheFileLacksFailTheLoadButNotTheOtherCameras) {
  writeLuts(dir_.wide("ABCD1234-7.lut"), {kId2});
  {
    QmReconsTensor tensor;
    const RecordingLog log;
    EXPECT_FALSE(tensor.LoadFromFile(tensorFile().c_str()));
    EXPECT_EQ(tensor.distortParams[0].luts, nullptr);
    EXPECT_NE(tensor.distortParams[2].luts, nullptr);
    EXPECT_THAT(log.told(),
                Contains(Line(5, kModule, std::string("cannot get luts for id \"") + kId0 + "\" file " + lutsFile())));
    EXPECT_THAT(
        log.told(),
        Contains(Line(5, kModule, std::string("cannot get luts for id \"") + kId101 + "\" file " + lutsFile())));
  }
  EXPECT_EQ(distortLutsReferences(kId2), -1);
}

TEST_F(TensorLutsTest, OfOneIdentifierHoldAReferenceForEachOfItsUsers) {
  setLut(content().distortLutsInfo[1], kId0);
  setLut(content().distortLutsInfo2[0], kId0);
  writeTensor();
  {
    QmReconsTensor tensor;
    ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
    EXPECT_EQ(distortLutsReferences(kId0), 3);
    EXPECT_EQ(tensor.distortParams[0].luts, tensor.distortParams2[0].luts);
    const QmReconsTensor copy(tensor);
    EXPECT_EQ(distortLutsReferences(kId0), 6);
  }
  EXPECT_EQ(distortLutsReferences(kId0), -1);
}

TEST_F(TensorLutsTest, OfOldSetsLoseTheirNaNCellsAndNewerOnesKeepThem) {
  for (const std::int32_t lutVersion : {1, 2}) {
    writeLuts(dir_.wide("ABCD1234-7.lut"), {kId0, kId2, kId101}, lutVersion, true);
    QmReconsTensor tensor;
    ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
    const float cell = tensor.distortParams[0].luts->tables[0][1].rows[3][0];
    if (lutVersion < 2) {
      EXPECT_EQ(cell, std::numeric_limits<float>::max());
    } else {
      EXPECT_TRUE(std::isnan(cell));
    }
    EXPECT_EQ(tensor.distortParams[0].luts->tables[0][1].rows[3][1], 1.0F);
  }
}

TEST_F(TensorLutsTest, OfAnOldSetThatIsSharedLoseNaNCellsInEveryTableAtTheNextLoad) {
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  for (const std::int32_t lutVersion : {1, 2}) {
    writeLuts(dir_.wide("ABCD1234-7.lut"), {kId0, kId2, kId101}, lutVersion);
    QmReconsTensor first;
    ASSERT_TRUE(first.LoadFromFile(tensorFile().c_str()));
    const tag_qmDistortLuts& luts = *first.distortParams[0].luts;
    float* const cells[] = {&luts.tables[0][0].rows[0][0], &luts.tables[0][1].rows[34][39],
                            &luts.tables[1][1].rows[7][8]};
    for (float* cell : cells) *cell = kNaN;
    QmReconsTensor second;
    ASSERT_TRUE(second.LoadFromFile(tensorFile().c_str()));
    ASSERT_EQ(second.distortParams[0].luts, &luts);
    for (const float* cell : cells) {
      EXPECT_TRUE(lutVersion < 2 ? *cell == std::numeric_limits<float>::max() : std::isnan(*cell));
    }
    EXPECT_EQ(luts.tables[0][0].rows[0][1], 1.0F);
  }
}

// --- Counting ------------------------------------------------------------------------------------------------------

TEST_F(TensorLutsTest, AreSharedByCopiesAndFreedWithTheLast) {
  {
    QmReconsTensor tensor;
    ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
    {
      const QmReconsTensor copy(tensor);
      EXPECT_EQ(copy.distortParams[0].luts, tensor.distortParams[0].luts);
      EXPECT_EQ(distortLutsReferences(kId0), 2);
      QmReconsTensor assigned;
      assigned = copy;
      EXPECT_EQ(distortLutsReferences(kId0), 3);
      assigned = tensor;
      EXPECT_EQ(distortLutsReferences(kId0), 3);
    }
    EXPECT_EQ(distortLutsReferences(kId0), 1);
  }
  EXPECT_EQ(distortLutsReferences(kId0), -1);
}

TEST_F(TensorLutsTest, AreSharedByTensorsLoadedFromOneFile) {
  QmReconsTensor a;
  QmReconsTensor b;
  ASSERT_TRUE(a.LoadFromFile(tensorFile().c_str()));
  ASSERT_TRUE(b.LoadFromFile(tensorFile().c_str()));
  EXPECT_EQ(a.distortParams[0].luts, b.distortParams[0].luts);
  EXPECT_EQ(distortLutsReferences(kId0), 2);
}

TEST_F(TensorLutsTest, AreCountedForAFlagOtherThanOneButNotDropped) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  tensor.distortLutsInfo[0].useLut = 2;
  { const QmReconsTensor copy(tensor); }
  EXPECT_EQ(distortLutsReferences(kId0), 2);
  tensor.distortLutsInfo[0].useLut = 1;
}

TEST_F(TensorLutsTest, ThatWereNeverAttachedKeepTheReferencesOfOthers) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  {
    QmReconsTensor unattached;
    setLut(unattached.distortLutsInfo[0], kId0);
  }
  EXPECT_EQ(distortLutsReferences(kId0), 1);
}

TEST_F(TensorLutsTest, AreDroppedFromThreeCamerasAtOnce) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  EXPECT_TRUE(QmReconsTensor::clearLUTs(tensor.distortParams, tensor.distortLutsInfo));
  for (int camera = 0; camera < 3; ++camera) {
    EXPECT_EQ(tensor.distortParams[camera].luts, nullptr);
    EXPECT_EQ(tensor.distortLutsInfo[camera].useLut, 0);
    EXPECT_STREQ(tensor.distortLutsInfo[camera].lutId, "");
  }
  EXPECT_EQ(distortLutsReferences(kId0), 0);
  EXPECT_NE(tensor.distortParams2[1].luts, nullptr);
  EXPECT_FALSE(QmReconsTensor::clearLUTs(nullptr, tensor.distortLutsInfo));
  EXPECT_FALSE(QmReconsTensor::clearLUTs(tensor.distortParams, nullptr));
}

TEST_F(TensorLutsTest, AreCountedRightWhenTensorsComeAndGoOnManyThreads) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  std::atomic<int> loads = 0;
  std::vector<std::thread> threads;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        QmReconsTensor copy(tensor);
        QmReconsTensor another;
        another = copy;
        QmReconsTensor loaded;
        if (loaded.LoadFromFile(tensorFile().c_str()) && loaded.distortParams[0].luts != nullptr) ++loads;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(loads, 200);
  EXPECT_EQ(distortLutsReferences(kId0), 1);
  EXPECT_EQ(distortLutsReferences(kId101), 1);
}

// --- Renumbering ---------------------------------------------------------------------------------------------------

TEST_F(TensorLutsTest, AreRenamedWhenTheBlockIsRenumbered) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const tag_qmDistortLuts* const luts = tensor.distortParams[0].luts;
  const RecordingLog log;
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, 8));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "ABCD12340000000008000");
  EXPECT_STREQ(tensor.distortLutsInfo[2].lutId, "ABCD12340000000008002");
  EXPECT_STREQ(tensor.distortLutsInfo2[1].lutId, "ABCD12340000000008101");
  EXPECT_STREQ(tensor.distortLutsInfo[1].lutId, "");
  EXPECT_EQ(tensor.distortParams[0].luts, luts);
  EXPECT_EQ(distortLutsReferences("ABCD12340000000008000"), 1);
  const auto renamed = [](const char* from, const char* to, const std::string& text) {
    return Line(0, kModule, std::string(text).replace(text.find('<'), 1, from).append(to));
  };
  EXPECT_THAT(log.records(), ElementsAre(renamed(kId0, "ABCD12340000000008000", "old lutId = < replaced by lutId = "),
                                         renamed(kId0, "ABCD12340000000008000", "lutsId = < replaced by = "),
                                         renamed(kId101, "ABCD12340000000008101", "old lutId = < replaced by lutId = "),
                                         renamed(kId101, "ABCD12340000000008101", "lutsId = < replaced by = "),
                                         renamed(kId2, "ABCD12340000000008002", "old lutId = < replaced by lutId = "),
                                         renamed(kId2, "ABCD12340000000008002", "lutsId = < replaced by = ")));
  tensor.LoadFromFile(nullptr);
  EXPECT_EQ(distortLutsReferences("ABCD12340000000008000"), -1);
}

TEST_F(TensorLutsTest, AreLeftAloneByTheSameNumber) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const RecordingLog log;
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, 7));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, kId0);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(TensorLutsTest, AreRenamedForEveryFlagOtherThanZero) {
  QmReconsTensor tensor;
  for (tag_qmDistortLutsInfo& info : tensor.distortLutsInfo) setLut(info, kId0);
  tensor.distortLutsInfo[0].useLut = 2;
  tensor.distortLutsInfo[1].useLut = 0;
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, 8));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "ABCD12340000000008000");
  EXPECT_STREQ(tensor.distortLutsInfo[1].lutId, kId0);
  EXPECT_STREQ(tensor.distortLutsInfo[2].lutId, "ABCD12340000000008000");
}

TEST_F(TensorLutsTest, AreRenamedByPositionWhateverStandsThere) {
  QmReconsTensor tensor;
  std::memcpy(tensor.machineId, "ABCD1234", 8);
  setLut(tensor.distortLutsInfo[0], "something-else-altogeth");
  setLut(tensor.distortLutsInfo[1], "short");
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, 8));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "ABCD12340000000008ogeth");
  EXPECT_STREQ(tensor.distortLutsInfo[1].lutId, "ABCD12340000000008");
}

TEST_F(TensorLutsTest, AreNotLoggedAsReplacedWhenTheTextStaysTheSame) {
  QmReconsTensor tensor;
  setLut(tensor.distortLutsInfo[0], "ABCD12340000000008000");
  const RecordingLog log;
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, 8));
  EXPECT_THAT(log.records(),
              ElementsAre(Line(0, kModule, "lutsId = ABCD12340000000008000 replaced by = ABCD12340000000008000")));
}

TEST_F(TensorLutsTest, KeepTheirNamesInsideTheRecordWhenANumberIsLonger) {
  QmReconsTensor tensor;
  setLut(tensor.distortLutsInfo[0], std::string(23, 'i'));
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, -2147483647));  // its prefix has one character more
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "ABCD1234-2147483647iiii");

  ASSERT_EQ(addDistortLuts(std::string(23, 'k').c_str(), &tensor.distortParams[1].luts), 1);
  setLut(tensor.distortLutsInfo[1], std::string(23, 'k'));
  EXPECT_TRUE(tensor.updateLutsId("ABCD1234", 7, -2147483647));
  EXPECT_EQ(distortLutsReferences("ABCD1234-2147483647kkkk"), 1);
}

}  // namespace

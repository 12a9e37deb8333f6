// The LUTs of a tensor: loaded with it, counted, renamed, stored under the block's identifiers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <thread>
#include <vector>

#include "quelcore/tensor/DistortLuts.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmDistort/qmDistortEmbedded.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::Line;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quelplatform::distortLutsReferences;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmReconsTensor";

constexpr const char* kId0 = "ABCD12340000000007000";
constexpr const char* kId2 = "ABCD12340000000007002";
constexpr const char* kId101 = "ABCD12340000000007101";

void setLut(tag_qmDistortLutsInfo& info, const std::string& id) {
  std::memset(&info, 0, sizeof(info));
  info.useLut = 1;
  id.copy(info.lutId, LUT_ID_SIZE - 1);
}

/// Writes a LUT file with one set per identifier, whose displacement in x is 1, 2, 3 ... pixels everywhere.
void writeLuts(const std::u16string& path, const std::vector<std::string>& ids, std::int32_t lutVersion = 2,
               bool firstCellNaN = false) {
  DistortLutsManager::LutList list;
  float shift = 0.0F;
  for (const std::string& id : ids) {
    shift += 1.0F;
    const quelplatform::LutGrid grid = {{-1000.0, -1000.0}, {100.0, 100.0}, 40, 35, {-1000.0F, 1000.0F}, lutVersion};
    list.emplace_back(id, quelplatform::makeDistortLuts(id, grid, [&](double x, double, double, float d[2]) {
                        d[0] = firstCellNaN && x == -1000.0 ? std::numeric_limits<float>::quiet_NaN() : shift;
                        d[1] = 0.0F;
                      }));
  }
  ASSERT_TRUE(DistortLutsManager::storeLutsFile(list, path.c_str(), true));
  DistortLutsManager::getManager().releaseAllDistortLuts();
}

class TensorLutsTest : public ::testing::Test {
 protected:
  TensorLutsTest() {
    quel::testing::fillPreservedFields(content());
    const double identity[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
    qmMathCopyMat4ToMat4(identity, content().lutFrameTransform);
    setLut(content().distortLutsInfo[0], kId0);
    setLut(content().distortLutsInfo[2], kId2);
    setLut(content().distortLutsInfo2[1], kId101);
    writeTensor();
    writeLuts(dir_.wide("ABCD1234-7.lut"), {kId0, kId2, kId101});
  }
  ~TensorLutsTest() override { releaseAllDistortLuts(); }

  tag_qmReconsTensorData& content() { return *head_.tensor(); }
  void writeTensor() { writeFile(dir_.path() / "block.tns", quel::testing::tensorFileBytes(content(), -17)); }
  std::u16string tensorFile() const { return dir_.wide("block.tns"); }
  std::string lutsFile() const { return toNarrow(dir_.path().u16string() + u"\\ABCD1234-7.lut"); }

  TempHome home_;
  TempDir dir_;
  SampleHead head_;
};

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
  std::vector<std::thread> threads;
  for (int n = 0; n < 4; ++n) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        QmReconsTensor copy(tensor);
        QmReconsTensor another;
        another = copy;
        QmReconsTensor loaded;
        loaded.LoadFromFile(tensorFile().c_str());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
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
}

// --- Storing -------------------------------------------------------------------------------------------------------

TEST_F(TensorLutsTest, AreStoredUnderTheBlocksOwnIdentifiers) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  tensor.blockNumber = 9;
  fs::create_directory(dir_.path() / "out");
  ASSERT_TRUE(tensor.StoreToFile(dir_.wide("out/new.tns").c_str()));
  EXPECT_TRUE(fs::exists(dir_.path() / "out/ABCD1234-9.lut"));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "ABCD12340000000009000");
  EXPECT_STREQ(tensor.distortLutsInfo2[1].lutId, "ABCD12340000000009101");
  EXPECT_NE(tensor.distortParams[0].luts, nullptr);
  EXPECT_EQ(distortLutsReferences("ABCD12340000000009000"), 1);

  QmReconsTensor loaded;
  ASSERT_TRUE(loaded.LoadFromFile(dir_.wide("out/new.tns").c_str()));
  EXPECT_EQ(quel::testing::differingFields(loaded, tensor), "");
  EXPECT_EQ(loaded.distortParams[2].luts->tables[0][0].rows[0][0], 2.0F);
}

TEST_F(TensorLutsTest, MayBeStoredOverTheirOwnFile) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const std::string before = readFile(dir_.path() / "ABCD1234-7.lut");
  for (int n = 0; n < 3; ++n) ASSERT_TRUE(tensor.StoreToFile(tensorFile().c_str()));
  EXPECT_EQ(distortLutsReferences(kId0), 1);
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  EXPECT_EQ(tensor.distortParams[0].luts->tables[0][0].rows[0][0], 1.0F);
  EXPECT_EQ(readFile(dir_.path() / "ABCD1234-7.lut").size(), before.size());
}

TEST_F(TensorLutsTest, GetOneIdentifierEachWhereCamerasSharedOne) {
  setLut(content().distortLutsInfo[1], kId0);
  writeTensor();
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  ASSERT_TRUE(tensor.StoreToFile(tensorFile().c_str()));
  EXPECT_STREQ(tensor.distortLutsInfo[1].lutId, "ABCD12340000000007001");
  EXPECT_EQ(tensor.distortParams[1].luts->tables[0][0].rows[0][0], 1.0F);
  EXPECT_EQ(distortLutsReferences(kId0), 1);
}

TEST_F(TensorLutsTest, OfAHeadOfTheQuelHead200FamilyAreNotStored) {
  content().ohType = 7;
  content().imageWidth = 2448;
  content().imageHeight = 2048;
  writeTensor();
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  tensor.blockNumber = 9;
  EXPECT_TRUE(tensor.StoreToFile(dir_.wide("new.tns").c_str()));
  EXPECT_FALSE(fs::exists(dir_.path() / "ABCD1234-9.lut"));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, kId0);
}

TEST_F(TensorLutsTest, TakeTheMachinesOwnIdentityWhereTheTensorHasNone) {
  writeFile(home_.path() / "quelmetra.ini", "[Machine]\nMachineID = MYHOST01\n");
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  std::memset(tensor.machineId, 0, sizeof(tensor.machineId));
  ASSERT_TRUE(tensor.StoreToFile(dir_.wide("new.tns").c_str()));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, "MYHOST010000000007000");
  EXPECT_TRUE(fs::exists(dir_.path() / "7.lut"));  // the file name keeps to the tensor's empty machine
}

TEST_F(TensorLutsTest, ThatCannotBeStoredFailTheStoreWhichWritesTheTensorAllTheSame) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const tag_qmDistortLuts* const luts = tensor.distortParams[0].luts;
  fs::create_directory(dir_.path() / "out");
  fs::create_directory(dir_.path() / "out/ABCD1234-7.lut");  // in the way
  EXPECT_FALSE(tensor.StoreToFile(dir_.wide("out/new.tns").c_str()));
  EXPECT_TRUE(fs::exists(dir_.path() / "out/new.tns"));
  EXPECT_EQ(tensor.distortParams[0].luts, luts);
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, kId0);
}

TEST_F(TensorLutsTest, ThatAreMissingFailTheStoreAndLeaveTheFileAlone) {
  writeLuts(dir_.wide("ABCD1234-7.lut"), {kId2});
  QmReconsTensor tensor;
  ASSERT_FALSE(tensor.LoadFromFile(tensorFile().c_str()));
  const std::string before = readFile(dir_.path() / "ABCD1234-7.lut");
  EXPECT_FALSE(tensor.StoreToFile(tensorFile().c_str()));
  EXPECT_EQ(readFile(dir_.path() / "ABCD1234-7.lut"), before);
}

TEST_F(TensorLutsTest, WithoutAnIdentifierAreNotGatheredYetGetOne) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  tensor.distortLutsInfo[1].useLut = 1;
  EXPECT_FALSE(tensor.StoreToFile(tensorFile().c_str()));  // it is not in the file that was just written
  EXPECT_STREQ(tensor.distortLutsInfo[1].lutId, "ABCD12340000000007001");
  EXPECT_EQ(tensor.distortParams[1].luts, nullptr);
  EXPECT_NE(tensor.distortParams[0].luts, nullptr);
}

// --- Memory --------------------------------------------------------------------------------------------------------

TEST_F(TensorLutsTest, LeaveNothingBehindWhereverMemoryRunsOutInLoadCopyAndStore) {
  const std::string tensorBytes = readFile(dir_.path() / "block.tns");
  const std::string lutBytes = readFile(dir_.path() / "ABCD1234-7.lut");
  const auto failures = quel::testing::failEachAllocation([&](std::int64_t) {
    {
      QmReconsTensor tensor;
      if (tensor.LoadFromFile(tensorFile().c_str())) {
        QmReconsTensor copy(tensor);
        tensor = copy;
        copy.StoreToFile(dir_.wide("copy.tns").c_str());
      }
    }
    releaseAllDistortLuts();
    EXPECT_EQ(readFile(dir_.path() / "block.tns"), tensorBytes);
    fs::remove(dir_.path() / "copy.tns");
    writeFile(dir_.path() / "ABCD1234-7.lut", lutBytes);
  });
  EXPECT_GT(failures, 12);
}

}  // namespace

// The LUTs of a tensor that is stored: under the block's own identifiers, and with memory running out.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "quelcore/tensor/tensorLuts_fixture.h"
#include "testing/FailingMalloc.h"
#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::kId0;
using quel::testing::kId101;
using quel::testing::kId2;
using quel::testing::Line;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::setLut;
using quel::testing::TensorLutsTest;
using quel::testing::writeFile;
using quel::testing::writeLuts;
using quelplatform::distortLutsReferences;
using ::testing::AnyOf;
using ::testing::Contains;

constexpr const char* kModule = "QmReconsTensor";

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
  EXPECT_GT(before.size(), 3U * 2U * 40U * 35U * sizeof(float));
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
  EXPECT_FALSE(before.empty());
}

TEST_F(TensorLutsTest, WithAFlagOtherThanOneAreNotStoredAndKeepTheirIdentifier) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  tensor.distortLutsInfo[0].useLut = 2;
  tensor.blockNumber = 9;
  const RecordingLog log;
  EXPECT_FALSE(tensor.StoreToFile(dir_.wide("new.tns").c_str()));  // it is looked for in the file that was written
  EXPECT_THAT(log.told(), Contains(Line(5, kModule,
                                        std::string("cannot get luts for id \"") + kId0 + "\" file " +
                                            toNarrow(dir_.path().u16string() + u"\\ABCD1234-9.lut"))));
  EXPECT_STREQ(tensor.distortLutsInfo[0].lutId, kId0);
  EXPECT_STREQ(tensor.distortLutsInfo[2].lutId, "ABCD12340000000009002");
  DistortLutsManager::LutMap stored = {{"ABCD12340000000009000", nullptr}};
  ASSERT_TRUE(DistortLutsManager::getManager().loadLutsFile(stored, dir_.wide("ABCD1234-9.lut").c_str()));
  EXPECT_EQ(stored.begin()->second, nullptr);
  EXPECT_TRUE(fs::exists(dir_.path() / "new.tns"));
  tensor.distortLutsInfo[0].useLut = 1;
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

TEST_F(TensorLutsTest, FailTheLoadWithItsLineWhereverTheLanguagesMemoryRunsOut) {
  const std::u16string file = tensorFile();
  const std::string unopened = "Failed to load block from '" + toNarrow(file) + "'";
  const std::string withoutLuts = "Failed to load luts files from block '" + toNarrow(file) + "'";
  struct Outcome {
    bool loaded;
    std::string lastTold;
  };
  int failedLoads = 0;
  RecordingLog log;
  quel::testing::failEachNew(
      [&] {
        log.clear();
        QmReconsTensor tensor;
        const bool loaded = tensor.LoadFromFile(file.c_str());
        quel::testing::newSuccesses = -1;
        return Outcome{loaded, log.told().empty() ? "" : log.told().back().text};
      },
      [&](const Outcome& outcome, bool failed) {
        EXPECT_TRUE(outcome.loaded || failed);
        if (!outcome.loaded) {
          EXPECT_THAT(outcome.lastTold, AnyOf(unopened, withoutLuts));
          ++failedLoads;
        }
        for (const char* id : {kId0, kId2, kId101}) EXPECT_EQ(distortLutsReferences(id), -1) << id;
      });
  EXPECT_GT(failedLoads, 5);
}

TEST_F(TensorLutsTest, KeepTheirCountWhereverTheLanguagesMemoryRunsOutInCopyStoreAndRename) {
  const std::u16string file = tensorFile();
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(file.c_str()));
  const auto store = [&] {
    QmReconsTensor copy(tensor);
    return copy.StoreToFile(file.c_str());
  };
  int number = 7;  // another each time, since a name that is known needs no memory
  const auto rename = [&] {
    QmReconsTensor copy(tensor);
    const bool renamed = copy.updateLutsId("ABCD1234", 7, ++number);
    quel::testing::newSuccesses = -1;
    for (const tag_qmDistortLutsInfo& info :
         {copy.distortLutsInfo[0], copy.distortLutsInfo[2], copy.distortLutsInfo2[1]}) {
      EXPECT_EQ(distortLutsReferences(info.lutId), 2) << info.lutId;  // the copy's and the original's
    }
    return renamed;
  };
  const auto check = [&](bool done, bool failed) {
    EXPECT_TRUE(done || failed);
    for (const char* id : {kId0, kId2, kId101}) EXPECT_EQ(distortLutsReferences(id), 1) << id;
  };
  EXPECT_GT(quel::testing::failEachNew(store, check), 10);
  EXPECT_GT(quel::testing::failEachNew(rename, check), 5);
  EXPECT_EQ(tensor.distortParams[0].luts->tables[0][0].rows[0][0], 1.0F);
}

TEST_F(TensorLutsTest, LeaveATensorProjectingAsBeforeWhicheverAllocationsOfAStoreFail) {
  const std::u16string file = tensorFile();
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(file.c_str()));
  const auto before = projectedBits(tensor);
  for (const bool allThatFollow : {false, true}) {
    std::int64_t n = 0;
    for (bool failed = true; failed; ++n) {
      const bool stored =
          quel::testing::withFailingMalloc(n, allThatFollow, [&] { return tensor.StoreToFile(file.c_str()); });
      failed = quel::testing::mallocFailures > 0;
      EXPECT_TRUE(stored || failed);
      EXPECT_EQ(projectedBits(tensor), before) << n;
      QmReconsTensor stands;
      EXPECT_TRUE(stands.LoadFromFile(file.c_str())) << n;
      EXPECT_EQ(projectedBits(stands), before) << n;
    }
    EXPECT_TRUE(quel::testing::kSanitized || n > 50) << n;
  }
}

}  // namespace

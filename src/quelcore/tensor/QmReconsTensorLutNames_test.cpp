// Tensors whose LUTs share identifiers: each keeps its own tables, whatever their names have come to mean.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <string_view>

#include "quelcore/base/QmProblem.h"
#include "quelcore/tensor/tensorLuts_fixture.h"
#include "quelplatform/qmEnv/qmMemoryEmbedded.h"
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
using quel::testing::tensorFileBytes;
using quel::testing::TensorLutsTest;
using quel::testing::writeFile;
using quel::testing::writeLuts;
using quelplatform::distortLutsReferences;
using ::testing::Contains;
using ::testing::ElementsAre;

constexpr const char* kId0OfBlock8 = "ABCD12340000000008000";

class TensorLutNames : public TensorLutsTest {
 protected:
  /// Another block, of number `number`, whose LUTs have displacements of their own. To be made before LUTs are loaded,
  /// since making it releases all LUTs.
  std::u16string otherBlock(int number) {
    const std::string prefix = "ABCD1234000000000" + std::to_string(number);
    fs::create_directory(dir_.path() / "other");
    content().blockNumber = number;
    setLut(content().distortLutsInfo[0], prefix + "000");
    setLut(content().distortLutsInfo[2], prefix + "002");
    setLut(content().distortLutsInfo2[1], prefix + "101");
    writeFile(dir_.path() / "other/block.tns", tensorFileBytes(content(), -17));
    writeLuts(dir_.wide("other/ABCD1234-" + std::to_string(number) + ".lut"),
              {prefix + "101", prefix + "000", prefix + "002"});
    return dir_.wide("other/block.tns");
  }

  const std::int64_t blocks_ = quelplatform::allocatedBlocks();
};

TEST_F(TensorLutNames, ThatMoveToARenamedSetLeaveTheOtherTensorItsTables) {
  const std::u16string eighth = otherBlock(8);
  {
    QmReconsTensor other;
    ASSERT_TRUE(other.LoadFromFile(eighth.c_str()));
    const auto before = projectedBits(other);
    {
      QmReconsTensor renamed;
      ASSERT_TRUE(renamed.LoadFromFile(tensorFile().c_str()));
      const auto own = projectedBits(renamed);
      ASSERT_NE(own, before);
      ASSERT_TRUE(renamed.updateLutsId("ABCD1234", 7, 8));
      EXPECT_EQ(projectedBits(renamed), own);
      EXPECT_EQ(projectedBits(other), before);
      { const QmReconsTensor copy(other); }
      EXPECT_EQ(projectedBits(other), before);
      EXPECT_EQ(distortLutsReferences(kId0OfBlock8), 1) << "the renamed set's";
    }
    EXPECT_EQ(projectedBits(other), before);
  }
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks_);
}

TEST_F(TensorLutNames, ThatMovedAwayLeaveTheRenamedTensorItsTables) {
  const std::u16string eighth = otherBlock(8);
  {
    QmReconsTensor renamed;
    ASSERT_TRUE(renamed.LoadFromFile(tensorFile().c_str()));
    const auto own = projectedBits(renamed);
    {
      QmReconsTensor other;
      ASSERT_TRUE(other.LoadFromFile(eighth.c_str()));
      ASSERT_TRUE(renamed.updateLutsId("ABCD1234", 7, 8));
    }
    EXPECT_EQ(projectedBits(renamed), own);
    EXPECT_EQ(distortLutsReferences(kId0OfBlock8), 1);
  }
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks_);
}

TEST_F(TensorLutNames, ThatMeanAnotherSetByNowAreNotMovedByARenaming) {
  const std::u16string other = otherBlock(7);
  QmReconsTensor first;
  ASSERT_TRUE(first.LoadFromFile(tensorFile().c_str()));
  const auto own = projectedBits(first);
  QmReconsTensor second;
  ASSERT_TRUE(second.LoadFromFile(other.c_str()));
  const auto others = projectedBits(second);
  EXPECT_TRUE(first.updateLutsId("ABCD1234", 7, 8));
  EXPECT_STREQ(first.distortLutsInfo[0].lutId, kId0OfBlock8);
  EXPECT_EQ(distortLutsReferences(kId0OfBlock8), -1);
  EXPECT_EQ(distortLutsReferences(kId0), 1);
  EXPECT_EQ(projectedBits(first), own);
  EXPECT_EQ(projectedBits(second), others);
}

TEST_F(TensorLutNames, OfAnotherLoadedBlockAreNotTakenForThoseOfAStoredOne) {
  const std::u16string eighth = otherBlock(8);
  {
    QmReconsTensor other;
    ASSERT_TRUE(other.LoadFromFile(eighth.c_str()));
    const auto others = projectedBits(other);
    QmReconsTensor stored;
    ASSERT_TRUE(stored.LoadFromFile(tensorFile().c_str()));
    const auto own = projectedBits(stored);
    ASSERT_NE(own, others);
    stored.blockNumber = 8;
    ASSERT_TRUE(stored.StoreToFile(tensorFile().c_str()));
    EXPECT_STREQ(stored.distortLutsInfo[0].lutId, kId0OfBlock8);
    EXPECT_EQ(projectedBits(stored), own);
    EXPECT_EQ(projectedBits(other), others);

    QmReconsTensor loaded;
    ASSERT_TRUE(loaded.LoadFromFile(tensorFile().c_str()));
    EXPECT_EQ(projectedBits(loaded), own);
    EXPECT_EQ(loaded.distortParams[0].luts, stored.distortParams[0].luts);
    ASSERT_TRUE(loaded.LoadFromFile(eighth.c_str()));
    EXPECT_EQ(projectedBits(loaded), others);
  }
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks_);
}

TEST_F(TensorLutNames, OfAFileThatChangedMeanItsNewTablesAndTheEarlierOnesStayWithTheirHolder) {
  const std::u16string changed = otherBlock(7);
  {
    QmReconsTensor earlier;
    ASSERT_TRUE(earlier.LoadFromFile(tensorFile().c_str()));
    const auto before = projectedBits(earlier);
    QmReconsTensor now;
    ASSERT_TRUE(now.LoadFromFile(changed.c_str()));
    EXPECT_EQ(now.distortParams[0].luts->tables[0][0].rows[0][0], 2.0F);
    EXPECT_EQ(projectedBits(earlier), before);
    earlier = now;
    EXPECT_EQ(distortLutsReferences(kId0), 2);
  }
  EXPECT_EQ(quelplatform::allocatedBlocks(), blocks_);
}

TEST_F(TensorLutNames, OfLutsThatAreNotAttachedTakeNoReference) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  QmReconsTensor unattached;
  setLut(unattached.distortLutsInfo[0], kId0);
  { const QmReconsTensor copy(unattached); }
  EXPECT_EQ(distortLutsReferences(kId0), 1);
  QmReconsTensor::clearLUTs(unattached.distortParams, unattached.distortLutsInfo);
  EXPECT_EQ(distortLutsReferences(kId0), 1);
}

// --- Stores that fail ----------------------------------------------------------------------------------------------

TEST_F(TensorLutNames, AreNewAndTheTablesAsBeforeWhereTheFileCannotBeReadBack) {
  QmReconsTensor tensor;
  ASSERT_TRUE(tensor.LoadFromFile(tensorFile().c_str()));
  const auto before = projectedBits(tensor);
  const std::u16string file = dir_.wide("copy.tns");
  int renamed = 0;
  const auto storeACopy = [&] {
    QmReconsTensor copy(tensor);
    copy.blockNumber = 9;
    const bool stored = copy.StoreToFile(file.c_str());
    quel::testing::newSuccesses = -1;
    renamed += !stored && std::string_view(copy.distortLutsInfo[0].lutId) == "ABCD12340000000009000" ? 1 : 0;
    EXPECT_EQ(projectedBits(copy), before) << stored;
    EXPECT_EQ(projectedBits(QmReconsTensor(copy)), before) << stored;
    return stored;
  };
  const auto check = [](bool stored, bool failed) { EXPECT_TRUE(stored || failed); };
  EXPECT_GT(quel::testing::failEachAllocation([&](std::int64_t) { storeACopy(); }), 12);
  EXPECT_GT(quel::testing::failEachNew(storeACopy, check), 50);
  EXPECT_GT(renamed, 10);
  for (const char* id : {kId0, kId2, kId101}) EXPECT_EQ(distortLutsReferences(id), 1) << id;
}

// --- The name of the file ------------------------------------------------------------------------------------------

TEST_F(TensorLutNames, ReachNoFileOutsideTheTensorsFolder) {
  fs::create_directories(dir_.path() / "a/b");
  writeLuts(dir_.wide("ev-7.lut"), {kId0, kId2, kId101});
  const std::string outside = readFile(dir_.path() / "ev-7.lut");
  for (const char* machine : {"../../ev", "..\\..\\ev"}) {
    std::memcpy(content().machineId, machine, sizeof(content().machineId));
    writeFile(dir_.path() / "a/b/block.tns", tensorFileBytes(content(), -17));
    const std::u16string file = dir_.wide("a/b/block.tns");
    const std::string luts = toNarrow(dir_.path().u16string() + u"/a/b\\") + machine + "-7.lut";
    RecordingLog log;
    QmReconsTensor tensor;
    EXPECT_FALSE(tensor.LoadFromFile(file.c_str())) << machine;
    EXPECT_THAT(log.told(), Contains(Line(5, "QmReconsTensor", "failed to load tensor's luts from file " + luts)));
    EXPECT_EQ(tensor.distortParams[0].luts, nullptr);
    ASSERT_NE(qmLastProblem(), nullptr);
    EXPECT_STREQ(qmLastProblem()->part, "name of the LUT file");

    tensor.distortLutsInfo[2].useLut = tensor.distortLutsInfo2[1].useLut = 0;
    tensor.distortLutsInfo[0].useLut = 1;
    ASSERT_TRUE(DistortLutsManager::getManager().addDistortLuts(kId0, &tensor.distortParams[0].luts));
    log.clear();
    EXPECT_FALSE(tensor.StoreToFile(file.c_str())) << machine;
    EXPECT_THAT(log.told(), ElementsAre(Line(5, "QmReconsTensor", "failed to store tensor's luts to file " + luts)));
    EXPECT_EQ(readFile(dir_.path() / "ev-7.lut"), outside);
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path() / "a/b"), fs::directory_iterator()), 1);
    releaseAllDistortLuts();
    tensor.distortParams[0].luts = nullptr;
  }
}

TEST_F(TensorLutNames, MayBeginWithDotsAndHoldBlanks) {
  for (const char* machine : {"..", ".", "..a", "a b"}) {
    std::memset(content().machineId, 0, sizeof(content().machineId));
    std::memcpy(content().machineId, machine, std::strlen(machine));
    writeTensor();
    writeLuts(dir_.wide(std::string(machine) + "-7.lut"), {kId0, kId2, kId101});
    QmReconsTensor tensor;
    EXPECT_TRUE(tensor.LoadFromFile(tensorFile().c_str())) << machine;
  }
}

}  // namespace

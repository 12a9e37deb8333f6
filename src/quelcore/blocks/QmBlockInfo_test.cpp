// The block table: both of its sources, what it writes, and its settings in two ini files.
#include "quelcore/blocks/QmBlockInfo.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <tuple>

#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/profile.h"
#include "testing/AsNobody.h"
#include "testing/FailingNew.h"
#include "testing/NoDescriptors.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::Line;
using quel::testing::NumberedError;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempHome;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmBlockInfo";
constexpr const char* kSection = "[HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement]\n";

std::string utf16(const std::u16string& text) {
  return std::string(reinterpret_cast<const char*>(text.data()), 2 * text.size());
}

class BlockTableTest : public ::testing::Test {
 protected:
  BlockTableTest() { QmBlockTable::FreeInstance(); }
  ~BlockTableTest() override { QmBlockTable::FreeInstance(); }

  void setBlocksIni(const std::string& text) { writeFile(home_.path() / "blocks.ini", text); }
  void setQuelmetraIni(const std::string& text) { writeFile(home_.path() / "quelmetra.ini", text); }
  void setParameters(const std::string& text) { writeFile(home_.path() / "params.ini", text); }

  std::string stored(const char16_t* section, const char16_t* key) const {
    qmWChar value[300];
    GetPrivateProfileStringW(section, key, u"(absent)", value, 300, home_.wide("blocks.ini").c_str());
    return toNarrow(value);
  }
  std::string setting(const char16_t* key) const {
    qmWChar value[300];
    GetPrivateProfileStringW(u"HKEY_LOCAL_MACHINE\\Software\\Quelmetra\\Measurement", key, u"(absent)", value, 300,
                             home_.wide("quelmetra.ini").c_str());
    return toNarrow(value);
  }
  static std::vector<int> lenses(const QmBlockTable& table) {
    std::vector<int> all;
    const int count = table.GetLensSupport(all);
    EXPECT_EQ(count, static_cast<int>(all.size()));
    return all;
  }
  void twoBlocks() {
    setBlocksIni(
        "[General]\nNumberOfBlocks=2\n"
        "[Block1]\nBlockName=Alpha\nTargetType=3\nExpCoef=12\nBlockLens=50;35\nMapFile=a.map\n"
        "[Block2]\nBlockName=Beta\nBlockLens=35\nMapFile=b.map\n");
  }

  TempHome home_;
};

// --- One item ------------------------------------------------------------------------------------------------------

TEST(QmBlockItem, IsEmptyAtFirst) {
  const QmBlockItem item;
  EXPECT_EQ(std::u16string(item.GetBlockName()), u"");
  EXPECT_EQ(std::u16string(item.GetMapFileName()), u"");
  EXPECT_EQ(item.GetLensSupportCount(), 0);
  EXPECT_EQ(item.GetLensSupport(), u"");
  EXPECT_EQ(item.GetTargetType(), 0U);
  EXPECT_EQ(item.GetExpansionCoef(), 0.0);
}

TEST(QmBlockItem, TakesNamesOfEveryKindAndNullForEmpty) {
  QmBlockItem item;
  qmWString name;
  item.SetBlockName("Blöck");
  EXPECT_EQ(std::u16string(item.GetBlockName()), u"Blöck");
  item.SetBlockName(u"wide");
  item.GetBlockName(name);
  EXPECT_EQ(name, u"wide");
  item.SetBlockName(qmWString(u"text"));
  EXPECT_EQ(std::u16string(item.GetBlockName()), u"text");
  item.SetBlockName(static_cast<const char*>(nullptr));
  EXPECT_EQ(std::u16string(item.GetBlockName()), u"");
  item.SetBlockName(u"again");
  item.SetBlockName(static_cast<const qmWChar*>(nullptr));
  EXPECT_EQ(std::u16string(item.GetBlockName()), u"");
  item.SetMapFileName(u"m.map");
  item.GetMapFileName(name);
  EXPECT_EQ(name, u"m.map");
  item.SetMapFileName(qmWString(u"n.map"));
  EXPECT_EQ(std::u16string(item.GetMapFileName()), u"n.map");
  item.SetMapFileName(nullptr);
  EXPECT_EQ(std::u16string(item.GetMapFileName()), u"");
}

TEST(QmBlockItem, IsAValue) {
  QmBlockItem a;
  a.SetBlockName(u"a");
  a.AddLensSupport(50);
  a.SetTargetType(7);
  a.SetExpansionCoef(0.25);
  QmBlockItem b = a;
  b.AddLensSupport(35);
  b.SetBlockName(u"b");
  EXPECT_EQ(a.GetLensSupportCount(), 1);
  EXPECT_EQ(std::u16string(a.GetBlockName()), u"a");
  EXPECT_EQ(b.GetTargetType(), 7U);
  EXPECT_EQ(b.GetExpansionCoef(), 0.25);
}

TEST(QmBlockItem, HoldsEachAddedLensOnce) {
  QmBlockItem item;
  for (const int lens : {50, 35, 50}) item.AddLensSupport(lens);
  EXPECT_EQ(item.GetLensSupport(), u"50;35");
  EXPECT_TRUE(item.IsLensSupport(35));
  EXPECT_FALSE(item.IsLensSupport(36));
  std::vector<int> lenses = {9};
  EXPECT_EQ(item.GetLensSupport(lenses), 2);
  EXPECT_THAT(lenses, ElementsAre(50, 35));
}

TEST(QmBlockItem, ReplacesItsLenses) {
  QmBlockItem item;
  item.SetLensSupport(std::vector<int>{1, 1, -2});
  EXPECT_EQ(item.GetLensSupport(), u"1;1;-2");
  const int two[] = {5, 6, 7};
  item.SetLensSupport(two, 2);
  EXPECT_EQ(item.GetLensSupport(), u"5;6");
  item.SetLensSupport(two, 1);
  EXPECT_EQ(item.GetLensSupportCount(), 1);
  item.SetLensSupport(two, 0);
  EXPECT_EQ(item.GetLensSupportCount(), 0);
  item.SetLensSupport(two, 3);
  item.SetLensSupport(two, -1);
  EXPECT_EQ(item.GetLensSupportCount(), 0);
  item.SetLensSupport(two, 3);
  item.SetLensSupport(nullptr, 3);
  EXPECT_EQ(item.GetLensSupportCount(), 0);
}

TEST(QmBlockItem, AppendsWhatAListTextHolds) {
  QmBlockItem item;
  EXPECT_EQ(item.SetLensSupport1("50;35"), 2);
  EXPECT_EQ(item.SetLensSupport2(u"35; 7x;abc;;-3"), 7);
  EXPECT_EQ(item.GetLensSupport(), u"50;35;35;7;0;0;-3");
  for (int i = 0; i < 4; ++i) {
    QmBlockItem empty;
    const int size = i == 0   ? empty.SetLensSupport1("")
                     : i == 1 ? empty.SetLensSupport2(u"")
                     : i == 2 ? empty.SetLensSupport1(nullptr)
                              : empty.SetLensSupport2(nullptr);
    EXPECT_EQ(size, 1);
    EXPECT_EQ(empty.GetLensSupport(), u"0");
  }
}

// --- From blocks.ini -----------------------------------------------------------------------------------------------

TEST_F(BlockTableTest, LoadsBlocksIniAndLooksAtNothingElse) {
  twoBlocks();
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = P\nQmMappingBlock.BlockLens1 = 9\n");
  setQuelmetraIni(std::string(kSection) + "BlockExpCoef=99\nAlpha=other.map\n");
  const RecordingLog log;
  const QmBlockTable table;
  EXPECT_THAT(log.records(),
              ElementsAre(Line(2, kModule, "Load QmBlockTable from " + (home_.path() / "blocks.ini").string())));
  ASSERT_EQ(table.GetBlockNumber(), 2);
  EXPECT_TRUE(table.IsInstance());
  EXPECT_EQ(table.GetError(), 0U);
  EXPECT_EQ(std::u16string(table.GetBlockName(0)), u"Alpha");
  EXPECT_EQ(std::u16string(table.GetMapFileName(0)), u"a.map");
  EXPECT_EQ(table.getBlock(0)->GetTargetType(), 3U);
  EXPECT_EQ(table.getBlock(0)->GetExpansionCoef(), 12 / 1000000.0);
  EXPECT_EQ(table.getBlock(0)->GetLensSupport(), u"50;35");
  EXPECT_EQ(table.getBlock(1)->GetTargetType(), 1U);
  EXPECT_EQ(table.getBlock(1)->GetExpansionCoef(), 0.0);
  EXPECT_THAT(lenses(table), ElementsAre(35, 50));
}

TEST_F(BlockTableTest, IsReadOnceUntilItIsFreed) {
  twoBlocks();
  const QmBlockTable first;
  setBlocksIni("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=New\nBlockLens=1\n");
  const QmBlockTable second;
  EXPECT_EQ(second.GetBlockNumber(), 2);
  QmBlockTable::FreeInstance();
  EXPECT_FALSE(second.IsInstance());
  EXPECT_EQ(second.GetBlockNumber(), 0);
  const QmBlockTable third;
  EXPECT_EQ(first.GetBlockNumber(), 1);
}

TEST_F(BlockTableTest, LeavesTheLensesOfASingleBlockAsTheyStand) {
  setBlocksIni("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=A\nBlockLens=50;35;50\n");
  EXPECT_THAT(lenses(QmBlockTable()), ElementsAre(50, 35, 50));
}

TEST_F(BlockTableTest, DropsBlocksWhoseNameBeginsWithZeroWithoutAGap) {
  setBlocksIni(
      "[General]\nNumberOfBlocks=3\n[Block1]\nBlockName=0ff\nBlockLens=1\n[Block2]\nBlockName=B\nBlockLens=2\n"
      "[Block3]\nBlockName=0\nBlockLens=3\n");
  const QmBlockTable table;
  ASSERT_EQ(table.GetBlockNumber(), 1);
  EXPECT_EQ(std::u16string(table.GetBlockName(0)), u"B");
}

TEST_F(BlockTableTest, GivesABlockWithoutKeysAnEmptyNameAndTheLensZero) {
  setBlocksIni("[General]\nNumberOfBlocks=1\n");
  const QmBlockTable table;
  ASSERT_EQ(table.GetBlockNumber(), 1);
  EXPECT_EQ(std::u16string(table.GetBlockName(0)), u"");
  EXPECT_THAT(lenses(table), ElementsAre(0));
}

TEST_F(BlockTableTest, ReadsAnEmptyFileAgainForEveryObject) {
  for (const char* text : {"", "[General]\nNumberOfBlocks=0\n", "[General]\nNumberOfBlocks=-5\n"}) {
    setBlocksIni(text);
    const RecordingLog log;
    const QmBlockTable first;
    const QmBlockTable second;
    EXPECT_EQ(first.GetBlockNumber(), 0);
    EXPECT_FALSE(first.IsInstance());
    EXPECT_EQ(second.GetError(), 0U);
    EXPECT_EQ(log.records().size(), 2U);
  }
}

TEST_F(BlockTableTest, CutsNamesAtTheSizeOfTheReadingBuffer) {
  setBlocksIni("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=" + std::string(400, 'n') + "\nBlockLens=1\n");
  EXPECT_EQ(std::u16string(QmBlockTable().GetBlockName(0)), std::u16string(259, u'n'));
}

// --- From the parameters -------------------------------------------------------------------------------------------

TEST_F(BlockTableTest, IsMadeFromTheParametersAndWrittenToBlocksIni) {
  setParameters(
      "QmMappingBlock.NumberOfBlocks = 3\n"
      "QmMappingBlock.BlockName1 = Alpha\nQmMappingBlock.BlockLens1 = 50;35\nQmMappingBlock.TargetType1 = 4\n"
      "QmMappingBlock.BlockName2 = 0none\n"
      "QmMappingBlock.BlockName3 = Beta\nQmMappingBlock.BlockLens3 = 35\n");
  setQuelmetraIni(std::string(kSection) +
                  "BlockExpCoef=1900\nLastMappingID=17\nCurrentMappingFile=B.MAP\nAlpha=a.map\nBeta=b.map\n");
  const RecordingLog log;
  const QmBlockTable table;
  EXPECT_THAT(log.records(), ElementsAre(Line(2, kModule,
                                              "Does not exist " + (home_.path() / "blocks.ini").string() +
                                                  " Load QmBlockTable from config")));
  ASSERT_EQ(table.GetBlockNumber(), 2);
  EXPECT_EQ(std::u16string(table.GetBlockName(1)), u"Beta");
  EXPECT_EQ(std::u16string(table.GetMapFileName(1)), u"b.map");
  EXPECT_EQ(table.getBlock(0)->GetTargetType(), 4U);
  EXPECT_EQ(table.getBlock(1)->GetTargetType(), 1U);
  EXPECT_EQ(table.getBlock(1)->GetExpansionCoef(), 1900 / 1e6);
  EXPECT_THAT(lenses(table), ElementsAre(35, 50));
  EXPECT_EQ(readFile(home_.path() / "blocks.ini"),
            utf16(u"\uFEFF[General]\r\nNumberOfBlocks=2\r\nLastMappingID=17\r\nActiveBlockIndex=1\r\n"
                  u"[Block1]\r\nBlockName=Alpha\r\nTargetType=4\r\nExpCoef=1900\r\nBlockLens=50;35\r\nMapFile=a.map\r\n"
                  u"[Block2]\r\nBlockName=Beta\r\nTargetType=1\r\nExpCoef=1900\r\nBlockLens=35\r\nMapFile=b.map\r\n"));

  QmBlockTable::FreeInstance();
  const QmBlockTable again;
  EXPECT_EQ(again.GetBlockNumber(), 2);
  EXPECT_EQ(again.GetActiveBlock(), 1);
  EXPECT_EQ(again.GetLastMappingID(), 17);
}

TEST_F(BlockTableTest, IsMadeWithoutQuelmetraIniToo) {
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = A\nQmMappingBlock.BlockLens1 = 5\n");
  const QmBlockTable table;
  EXPECT_EQ(std::u16string(table.GetMapFileName(0)), u"");
  EXPECT_EQ(table.getBlock(0)->GetExpansionCoef(), 0.0);
  EXPECT_EQ(stored(u"General", u"LastMappingID"), "0");
  EXPECT_EQ(stored(u"General", u"ActiveBlockIndex"), "0");
  EXPECT_FALSE(fs::exists(home_.path() / "quelmetra.ini"));
}

TEST_F(BlockTableTest, SaysThatThereAreNoBlocksInTheParameters) {
  for (const char* text : {"", "QmMappingBlock.NumberOfBlocks = 0\n", "QmMappingBlock.NumberOfBlocks = -1\n"}) {
    QmBlockTable::FreeInstance();
    setParameters(text);
    const RecordingLog log;
    const QmBlockTable table;
    EXPECT_EQ(table.GetError(), 0xC41D0001U);
    EXPECT_FALSE(table.IsInstance());
    ASSERT_EQ(log.records().size(), 2U);
    EXPECT_THAT(log.records().back(), NumberedError(5, kModule, 0xC41D0001));
    EXPECT_FALSE(fs::exists(home_.path() / "blocks.ini"));
  }
}

TEST_F(BlockTableTest, StopsAtABlockWithoutLensesAndKeepsThoseBeforeForTheNextTry) {
  for (const char* lens : {"", "QmMappingBlock.BlockLens2 = 0;5\n"}) {
    QmBlockTable::FreeInstance();
    setParameters(std::string("QmMappingBlock.NumberOfBlocks = 2\n"
                              "QmMappingBlock.BlockName1 = A\nQmMappingBlock.BlockLens1 = 5\n"
                              "QmMappingBlock.BlockName2 = B\n") +
                  lens);
    const RecordingLog log;
    const QmBlockTable table;
    EXPECT_EQ(table.GetError(), 0xC41D0002U);
    EXPECT_THAT(log.records().back(), NumberedError(5, kModule, 0xC41D0002));
    EXPECT_EQ(table.GetBlockNumber(), 1);
    EXPECT_TRUE(table.IsInstance());  // the lenses of the first block stand
    EXPECT_FALSE(fs::exists(home_.path() / "blocks.ini"));
  }
}

TEST_F(BlockTableTest, TriesAFailedLoadAgainOnTopOfWhatItLeft) {
  setParameters("");
  const QmBlockTable first;
  EXPECT_EQ(first.GetError(), 0xC41D0001U);
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = A\nQmMappingBlock.BlockLens1 = 5\n");
  const QmBlockTable second;
  EXPECT_EQ(second.GetBlockNumber(), 1);
  EXPECT_EQ(second.GetError(), 0xC41D0001U);  // nothing resets it but freeing
}

TEST_F(BlockTableTest, SkipsNamelessNumbersOfTheParameters) {
  setParameters("QmMappingBlock.NumberOfBlocks = 5\nQmMappingBlock.BlockName4 = D\nQmMappingBlock.BlockLens4 = 5\n");
  EXPECT_EQ(QmBlockTable().GetBlockNumber(), 1);
}

TEST_F(BlockTableTest, GoesOnWithoutBlocksIniWhenItCannotBeMade) {
  fs::create_directory(home_.path() / "blocks.ini");
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = A\nQmMappingBlock.BlockLens1 = 5\n");
  const RecordingLog log;
  QmBlockTable table;
  EXPECT_EQ(table.GetBlockNumber(), 1);
  EXPECT_TRUE(table.storeBlockInfo(0));
  EXPECT_EQ(table.GetError(), 0U);
  EXPECT_EQ(log.records().size(), 1U);
}

// --- Damage and exhausted memory -----------------------------------------------------------------------------------

TEST_F(BlockTableTest, ReadsNoMoreBlocksThanAHeadCanHaveWhateverADamagedNumberSays) {
  setBlocksIni("[General]\nNumberOfBlocks=2147483647\n");
  EXPECT_EQ(QmBlockTable().GetBlockNumber(), 10000);
  QmBlockTable::FreeInstance();
  fs::remove(home_.path() / "blocks.ini");
  setParameters(
      "QmMappingBlock.NumberOfBlocks = 2147483647\n"
      "QmMappingBlock.BlockName10000 = A\nQmMappingBlock.BlockLens10000 = 5\n"
      "QmMappingBlock.BlockName10001 = B\nQmMappingBlock.BlockLens10001 = 5\n");
  EXPECT_EQ(QmBlockTable().GetBlockNumber(), 1);
}

TEST_F(BlockTableTest, IsNeverHalfLoadedWhereverMemoryRunsOut) {
  twoBlocks();
  int toldOfMemory = 0;
  const auto failures = quel::testing::failEachNew(
      [] {
        const QmBlockTable table;
        return std::make_tuple(table.GetBlockNumber(), table.IsInstance(), table.GetError());
      },
      [&](const std::tuple<int, bool, std::uint32_t>& result, bool) {
        const auto [blocks, loaded, error] = result;
        EXPECT_TRUE(blocks == 0 || blocks == 2) << blocks;
        EXPECT_EQ(loaded, blocks == 2);
        if (error == 8) {
          ++toldOfMemory;
          EXPECT_FALSE(loaded);
        }
        QmBlockTable::FreeInstance();
      });
  EXPECT_GT(failures, 5);
  EXPECT_GT(toldOfMemory, 1);
}

TEST_F(BlockTableTest, HasAllBlocksOfTheParametersOrIsNotLoadedWhereverMemoryRunsOut) {
  setParameters(
      "QmMappingBlock.NumberOfBlocks = 2\n"
      "QmMappingBlock.BlockName1 = A block with a name of some length\nQmMappingBlock.BlockLens1 = 5;7\n"
      "QmMappingBlock.BlockName2 = Another block with a name of length\nQmMappingBlock.BlockLens2 = 9\n"
      "QmMappingBlock.TargetType2 = 3\n");
  const auto failures = quel::testing::failEachNew(
      [] {
        const QmBlockTable table;
        return std::make_tuple(table.GetBlockNumber(), table.IsInstance(), table.GetError());
      },
      [&](const std::tuple<int, bool, std::uint32_t>& result, bool failed) {
        EXPECT_THAT(result, ::testing::AnyOf(std::make_tuple(2, true, 0U), std::make_tuple(0, false, 8U)));
        EXPECT_TRUE(failed || std::get<bool>(result));
        if (std::get<bool>(result)) {
          EXPECT_EQ(QmBlockTable().getBlock(1)->GetTargetType(), 3U);
        }
        QmBlockTable::FreeInstance();
        fs::remove(home_.path() / "blocks.ini");
      });
  EXPECT_GT(failures, 20);
}

// --- Looking -------------------------------------------------------------------------------------------------------

TEST_F(BlockTableTest, LogsABadIndexInEveryOperationThatTestsIt) {
  twoBlocks();
  QmBlockTable table;
  for (const int index : {-1, 2, std::numeric_limits<int>::max()}) {
    const RecordingLog log;
    std::vector<int> none;
    EXPECT_EQ(table.getBlock(index), nullptr);
    EXPECT_EQ(table.GetBlockName(index), nullptr);
    EXPECT_EQ(table.GetMapFileName(index), nullptr);
    EXPECT_FALSE(table.GetLensSupport(index, none));
    EXPECT_FALSE(table.IsLensSupport(index, 50));
    EXPECT_FALSE(table.SetActiveBlock(index));
    EXPECT_FALSE(table.SetMapFileName(index, u"x"));
    EXPECT_THAT(
        log.records(),
        ::testing::AllOf(::testing::SizeIs(7),
                         ::testing::Each(Line(5, kModule, "Invalid block index (" + std::to_string(index) + ")."))));
  }
}

TEST_F(BlockTableTest, FindsTheFirstOfEqualNamesWithoutRegardToCase) {
  setBlocksIni(
      "[General]\nNumberOfBlocks=3\n[Block1]\nBlockName=Alpha\nBlockLens=1\nMapFile=M.map\n"
      "[Block2]\nBlockName=ALPHA\nBlockLens=2\nMapFile=\n[Block3]\nBlockName=Beta\nBlockLens=3\nMapFile=m.MAP\n");
  const QmBlockTable table;
  EXPECT_EQ(table.FindByBlockName(u"aLPHa"), 0);
  EXPECT_EQ(table.FindByBlockName(u"BETA"), 2);
  EXPECT_EQ(table.FindByBlockName(u"Gamma"), -1);
  EXPECT_EQ(table.FindByBlockName(nullptr), -1);
  EXPECT_EQ(table.FindByMapFile(u"m.map"), 0);
  EXPECT_EQ(table.FindByMapFile(u""), 1);
  EXPECT_EQ(table.FindByMapFile(nullptr), -1);
  EXPECT_TRUE(table.IsLensSupport(1, 2));
  EXPECT_FALSE(table.IsLensSupport(1, 1));
  std::vector<int> own;
  EXPECT_TRUE(table.GetLensSupport(2, own));
  EXPECT_THAT(own, ElementsAre(3));
  QmBlockTable::FreeInstance();
  EXPECT_EQ(table.FindByBlockName(u"Alpha"), -1);
}

// --- The active block ----------------------------------------------------------------------------------------------

TEST_F(BlockTableTest, HasTheOnlyBlockActiveAndNoneWithoutBlocks) {
  setBlocksIni("[General]\nNumberOfBlocks=1\nActiveBlockIndex=5\n[Block1]\nBlockName=A\nBlockLens=1\n");
  const QmBlockTable table;
  EXPECT_EQ(table.GetActiveBlock(), 0);
  QmBlockTable::FreeInstance();
  EXPECT_EQ(table.GetActiveBlock(), -1);
}

TEST_F(BlockTableTest, HandsOutAStoredActiveBlockWhateverItIs) {
  twoBlocks();
  const QmBlockTable table;
  for (const char16_t* index : {u"7", u"1", u"-2"}) {
    WritePrivateProfileStringW(u"General", u"ActiveBlockIndex", index, home_.wide("blocks.ini").c_str());
    EXPECT_EQ(table.GetActiveBlock(), std::stoi(toNarrow(index)));
  }
}

TEST_F(BlockTableTest, FallsBackToTheCurrentMappingFile) {
  twoBlocks();
  const QmBlockTable table;
  EXPECT_EQ(table.GetActiveBlock(), -1);
  setQuelmetraIni(kSection);
  EXPECT_EQ(table.GetActiveBlock(), -1);
  setQuelmetraIni(std::string(kSection) + "CurrentMappingFile=B.map\n");
  EXPECT_EQ(table.GetActiveBlock(), 1);
  WritePrivateProfileStringW(u"General", u"ActiveBlockIndex", u"-1", home_.wide("blocks.ini").c_str());
  EXPECT_EQ(table.GetActiveBlock(), 1);
  fs::remove(home_.path() / "blocks.ini");
  EXPECT_EQ(table.GetActiveBlock(), 1);
}

TEST_F(BlockTableTest, StoresTheActiveBlockInEachFileThatExists) {
  twoBlocks();
  QmBlockTable table;
  EXPECT_TRUE(table.SetActiveBlock(1));
  EXPECT_EQ(stored(u"General", u"ActiveBlockIndex"), "1");
  EXPECT_FALSE(fs::exists(home_.path() / "quelmetra.ini"));
  setQuelmetraIni("");
  EXPECT_TRUE(table.SetActiveBlock(0));
  EXPECT_EQ(stored(u"General", u"ActiveBlockIndex"), "0");
  EXPECT_EQ(setting(u"CurrentMappingFile"), "a.map");
  fs::remove(home_.path() / "blocks.ini");
  EXPECT_TRUE(table.SetActiveBlock(1));
  EXPECT_EQ(setting(u"CurrentMappingFile"), "b.map");
  EXPECT_FALSE(fs::exists(home_.path() / "blocks.ini"));
  fs::remove(home_.path() / "quelmetra.ini");
  EXPECT_FALSE(table.SetActiveBlock(1));
  EXPECT_EQ(table.GetError(), 0U);
}

// --- The mapping number and map files ------------------------------------------------------------------------------

TEST_F(BlockTableTest, ReadsTheMappingNumberFromBlocksIniAndThenFromQuelmetraIni) {
  twoBlocks();
  const QmBlockTable table;
  EXPECT_EQ(table.GetLastMappingID(), 0);
  setQuelmetraIni(std::string(kSection) + "LastMappingID=17\n");
  EXPECT_EQ(table.GetLastMappingID(), 17);
  WritePrivateProfileStringW(u"General", u"LastMappingID", u"8", home_.wide("blocks.ini").c_str());
  EXPECT_EQ(table.GetLastMappingID(), 8);
  WritePrivateProfileStringW(u"General", u"LastMappingID", u"-1", home_.wide("blocks.ini").c_str());
  EXPECT_EQ(table.GetLastMappingID(), 17);
}

TEST_F(BlockTableTest, StoresTheMappingNumberInEachFileThatExists) {
  QmBlockTable table;
  EXPECT_FALSE(table.SetLastMappingID(5));
  twoBlocks();
  setQuelmetraIni("");
  EXPECT_TRUE(table.SetLastMappingID(-7));
  EXPECT_EQ(stored(u"General", u"LastMappingID"), "-7");
  EXPECT_EQ(setting(u"LastMappingID"), "-7");
}

TEST_F(BlockTableTest, StoresAMapFileInTheTableAndBothFiles) {
  twoBlocks();
  setQuelmetraIni("");
  QmBlockTable table;
  EXPECT_TRUE(table.SetMapFileName(1, u"new.map"));
  EXPECT_EQ(std::u16string(table.GetMapFileName(1)), u"new.map");
  EXPECT_EQ(stored(u"Block2", u"MapFile"), "new.map");
  EXPECT_EQ(setting(u"Beta"), "new.map");
  EXPECT_TRUE(table.SetMapFileName(1, nullptr));
  EXPECT_EQ(std::u16string(table.GetMapFileName(1)), u"");
  EXPECT_EQ(stored(u"Block2", u"MapFile"), "");
  EXPECT_EQ(setting(u"Beta"), "");
}

// --- Failed writes -------------------------------------------------------------------------------------------------

class FailedWriteTest : public BlockTableTest {
 protected:
  /// Puts a file that reads but cannot be replaced in the place of an ini file: a link to one in /proc.
  void makeUnwritable(const char* name) {
    fs::remove(home_.path() / name);
    fs::create_symlink("/proc/self/status", home_.path() / name);
  }
};

TEST_F(FailedWriteTest, OfTheActiveBlockToBlocksIniIsLoggedButNoError) {
  twoBlocks();
  QmBlockTable table;
  makeUnwritable("blocks.ini");
  const RecordingLog log;
  EXPECT_FALSE(table.SetActiveBlock(1));
  EXPECT_EQ(table.GetError(), 0U);
  ASSERT_EQ(log.records().size(), 1U);
  EXPECT_EQ(log.records()[0].call, quelplatform::LogCall::WriteLogI);
  EXPECT_EQ(log.records()[0].level, 5);
  EXPECT_NE(log.records()[0].code, 0U);
  EXPECT_EQ(log.records()[0].sourceFile, kModule);
}

TEST_F(FailedWriteTest, ToQuelmetraIniBecomesTheErrorAndTheOtherFileIsWritten) {
  twoBlocks();
  QmBlockTable table;
  makeUnwritable("quelmetra.ini");
  for (const int operation : {0, 1, 2}) {
    const RecordingLog log;
    const bool result = operation == 0   ? table.SetActiveBlock(1)
                        : operation == 1 ? table.SetLastMappingID(3)
                                         : table.SetMapFileName(0, u"x.map");
    EXPECT_TRUE(result);
    EXPECT_NE(table.GetError(), 0U);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].call, quelplatform::LogCall::WriteLogI);
    EXPECT_EQ(log.records()[0].level, 5);
    EXPECT_EQ(log.records()[0].code, table.GetError());
  }
  EXPECT_EQ(stored(u"General", u"ActiveBlockIndex"), "1");
  EXPECT_EQ(stored(u"General", u"LastMappingID"), "3");
  EXPECT_EQ(stored(u"Block1", u"MapFile"), "x.map");
}

TEST_F(FailedWriteTest, ToBlocksIniOfTheOtherSettersBecomesTheErrorAndTheOtherFileIsWritten) {
  for (const int operation : {0, 1}) {
    QmBlockTable::FreeInstance();
    twoBlocks();
    setQuelmetraIni("");
    QmBlockTable table;
    makeUnwritable("blocks.ini");
    const RecordingLog log;
    EXPECT_TRUE(operation == 0 ? table.SetLastMappingID(3) : table.SetMapFileName(0, u"x.map"));
    EXPECT_NE(table.GetError(), 0U);
    ASSERT_EQ(log.records().size(), 1U);
    EXPECT_EQ(log.records()[0].call, quelplatform::LogCall::WriteLogI);
    EXPECT_EQ(log.records()[0].level, 5);
    EXPECT_EQ(log.records()[0].code, table.GetError());
    EXPECT_EQ(operation == 0 ? setting(u"LastMappingID") : setting(u"Alpha"), operation == 0 ? "3" : "x.map");
    fs::remove(home_.path() / "blocks.ini");
  }
}

TEST_F(FailedWriteTest, ToBothFilesFailsTheSetter) {
  twoBlocks();
  QmBlockTable table;
  makeUnwritable("blocks.ini");
  makeUnwritable("quelmetra.ini");
  const RecordingLog log;
  EXPECT_FALSE(table.SetLastMappingID(3));
  EXPECT_EQ(log.records().size(), 2U);
}

// --- Storing one block ---------------------------------------------------------------------------------------------

TEST_F(BlockTableTest, StoresNameTypeAndCoefficientOfOneBlock) {
  twoBlocks();
  QmBlockTable table;
  fs::remove(home_.path() / "blocks.ini");
  table.getBlock(1)->SetTargetType(6);
  table.getBlock(1)->SetExpansionCoef(0.0000019);
  EXPECT_TRUE(table.storeBlockInfo(1));
  EXPECT_EQ(readFile(home_.path() / "blocks.ini"),
            utf16(u"\uFEFF[Block2]\r\nBlockName=Beta\r\nTargetType=6\r\nExpCoef=1\r\n"));
}

TEST_F(BlockTableTest, StoresACoefficientInMillionthsTowardZero) {
  twoBlocks();
  QmBlockTable table;
  struct Row {
    double coefficient;
    const char* text;
  };
  const Row rows[] = {{0.0000019, "1"},
                      {-0.0000019, "-1"},
                      {1e300, "2147483647"},
                      {-1e300, "-2147483648"},
                      {std::numeric_limits<double>::quiet_NaN(), "0"}};
  for (const Row& row : rows) {
    table.getBlock(0)->SetExpansionCoef(row.coefficient);
    EXPECT_TRUE(table.storeBlockInfo(0));
    EXPECT_EQ(stored(u"Block1", u"ExpCoef"), row.text);
  }
  table.getBlock(0)->SetExpansionCoef(0.0000019);
  table.storeBlockInfo(0);
  QmBlockTable::FreeInstance();
  EXPECT_EQ(QmBlockTable().getBlock(0)->GetExpansionCoef(), 0.000001);
}

TEST_F(BlockTableTest, BringsTheLargestTargetTypeThroughTheFile) {
  twoBlocks();
  QmBlockTable table;
  table.getBlock(0)->SetTargetType(0xFFFFFFFFU);
  EXPECT_TRUE(table.storeBlockInfo(0));
  EXPECT_EQ(stored(u"Block1", u"TargetType"), "-1");
  QmBlockTable::FreeInstance();
  EXPECT_EQ(QmBlockTable().getBlock(0)->GetTargetType(), 0xFFFFFFFFU);
}

TEST_F(BlockTableTest, RejectsNoIndexWhenStoringYetWritesNothingOutsideTheTable) {
  twoBlocks();
  QmBlockTable table;
  fs::remove(home_.path() / "blocks.ini");
  const RecordingLog log;
  for (const int index : {-1, 2, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
    EXPECT_TRUE(table.storeBlockInfo(index));
  }
  EXPECT_EQ(readFile(home_.path() / "blocks.ini"), "\xFF\xFE");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BlockTableTest, LeavesOtherKeysOfTheFileAlone) {
  twoBlocks();
  QmBlockTable table;
  EXPECT_TRUE(table.storeBlockInfo(0));
  EXPECT_EQ(stored(u"Block1", u"BlockLens"), "50;35");
  EXPECT_EQ(stored(u"Block1", u"MapFile"), "a.map");
  EXPECT_EQ(stored(u"General", u"NumberOfBlocks"), "2");
}

TEST_F(BlockTableTest, IsSharedByAllItsObjects) {
  twoBlocks();
  QmBlockTable a;
  const QmBlockTable b = a;
  a.getBlock(0)->SetTargetType(99);
  EXPECT_EQ(b.getBlock(0)->GetTargetType(), 99U);
}

using quel::testing::lastProblem;
using quel::testing::lastRemarks;

TEST_F(BlockTableTest, LeavesNoProblemWhenItLoadsWell) {
  twoBlocks();
  EXPECT_TRUE(QmBlockTable().IsInstance());
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(BlockTableTest, TellsWhyThereIsNoTable) {
  EXPECT_FALSE(QmBlockTable().IsInstance());
  EXPECT_EQ(lastProblem(), "QmMappingBlock.NumberOfBlocks: expected 1 or more, found 0");
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = Alpha\n");
  EXPECT_FALSE(QmBlockTable().IsInstance());
  EXPECT_EQ(lastProblem(), "QmMappingBlock.BlockLens1: expected whole numbers, with ; between, found none");
  setBlocksIni("[General]\nNumberOfBlocks=x\n");
  EXPECT_FALSE(QmBlockTable().IsInstance());
  EXPECT_EQ(lastProblem(), "NumberOfBlocks of [General]: expected 1 or more, found 0");
}

TEST_F(BlockTableTest, RemarksOnBlocksThatArePassedOverAndLensesThatAreNone) {
  setBlocksIni(
      "[General]\nNumberOfBlocks=3\n[Block1]\nBlockName=0x\n[Block2]\nBlockName=a\nBlockLens=50;x\n"
      "[Block3]\nBlockName=b\nBlockLens=35\n");
  EXPECT_TRUE(QmBlockTable().IsInstance());
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("BlockName of [Block1]: expected a name, which does not begin with 0, found \"0x\"",
                          "BlockLens of [Block2]: expected whole numbers, with ; between, found \"50;x\""));
}

// --- Stores that could not be read ---------------------------------------------------------------------------------

TEST_F(BlockTableTest, IsNoTableWhereItsFileCannotBeReadForTheMoment) {
  twoBlocks();
  const std::string before = readFile(home_.path() / "blocks.ini");
  setParameters("QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = X\nQmMappingBlock.BlockLens1 = 5\n");
  {
    const quel::testing::NoDescriptors none;
    const QmBlockTable table;
    EXPECT_FALSE(table.IsInstance());
    EXPECT_EQ(table.GetBlockNumber(), 0);
    EXPECT_EQ(table.GetError(), 4u);
    EXPECT_EQ(lastProblem(), "it cannot be read (system code 4)");
  }
  EXPECT_EQ(readFile(home_.path() / "blocks.ini"), before);
  EXPECT_EQ(QmBlockTable().GetBlockNumber(), 2);
}

TEST_F(BlockTableTest, MakesNoFileFromSettingsThatCannotBeRead) {
  const std::string parameters =
      "QmMappingBlock.NumberOfBlocks = 1\nQmMappingBlock.BlockName1 = X\nQmMappingBlock.BlockLens1 = 5\n";
  setParameters(parameters);
  setQuelmetraIni(std::string(kSection) + "LastMappingID=17\nX=x.map\n");
  fs::permissions(home_.path(), static_cast<fs::perms>(0777));
  fs::permissions(home_.path() / "quelmetra.ini", fs::perms::none);
  EXPECT_TRUE(quel::testing::holdsAsNobody([this] {
    EXPECT_FALSE(QmBlockTable().IsInstance());
    EXPECT_FALSE(fs::exists(home_.path() / "blocks.ini"));
    QmBlockTable::FreeInstance();
  }));
  fs::permissions(home_.path() / "quelmetra.ini", fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(QmBlockTable().GetBlockNumber(), 1);
  EXPECT_EQ(stored(u"General", u"LastMappingID"), "17");
  EXPECT_EQ(stored(u"Block1", u"MapFile"), "x.map");
}

TEST_F(BlockTableTest, NeitherLoadsPartOfABlockNorWritesOverItWhereverMemoryRunsOut) {
  twoBlocks();
  const std::string before = readFile(home_.path() / "blocks.ini");
  const auto storeWhatWasRead = [&](bool loaded, bool) {
    QmBlockTable table;
    if (loaded) {
      for (const int index : {0, 1}) table.storeBlockInfo(index);
    }
    EXPECT_EQ(stored(u"Block1", u"BlockName"), "Alpha");
    EXPECT_EQ(stored(u"Block1", u"TargetType"), "3");
    EXPECT_EQ(stored(u"Block1", u"ExpCoef"), "12");
    EXPECT_EQ(stored(u"Block2", u"BlockName"), "Beta");
    EXPECT_EQ(table.GetBlockName(1), qmWString(u"Beta"));
    writeFile(home_.path() / "blocks.ini", before);
    QmBlockTable::FreeInstance();
  };
  EXPECT_GT(quel::testing::failEachNew([] { return QmBlockTable().IsInstance(); }, storeWhatWasRead), 3);
}

}  // namespace

// The list of blocks as a user keeps it.
#include "commands/tool_fixture.h"
#include "quelcore/blocks/QmBlockInfo.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/profile.h"

namespace queltool {
namespace {

using nlohmann::json;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

class BlocksTool : public Quel {
 protected:
  json list() const {
    const Outcome listed = run("blocks list --json");
    EXPECT_EQ(listed.code, 0) << listed.error;
    return json::parse(listed.out);
  }

  void makeHome(const std::string& blocksIni) const {
    std::filesystem::create_directories(path("home"));
    writeFile(path("home/blocks.ini"), blocksIni);
  }

  std::u16string stored(const char16_t* section, const char16_t* key) const {
    char16_t value[64] = {};
    GetPrivateProfileStringW(section, key, u"", value, 64, dir_.wide("home/blocks.ini").c_str());
    return value;
  }
};

TEST_F(BlocksTool, ListsNothingBeforeThereIsABlock) {
  EXPECT_EQ(list()["blocks"], json::array());
  EXPECT_THAT(run("blocks list").out, HasSubstr("no plates yet"));
}

TEST_F(BlocksTool, AddsBlocksThatTheListThenShows) {
  EXPECT_EQ(run("blocks add plate-50 --lens 50,35,50 --type 2 --map plate.map").code, 0);
  EXPECT_EQ(run("blocks add 'tall cube' --lens 80").code, 0);
  const json blocks = list()["blocks"];
  ASSERT_EQ(blocks.size(), 2u);
  EXPECT_EQ(blocks[0]["name"], "plate-50");
  EXPECT_EQ(blocks[0]["lenses"], json({50, 35}));
  EXPECT_EQ(blocks[0]["target_type"], 2);
  EXPECT_EQ(blocks[0]["map_file"], "plate.map");
  EXPECT_EQ(blocks[0]["expansion_coefficient"], 0.0);
  EXPECT_EQ(blocks[1]["name"], "tall cube");
  EXPECT_EQ(blocks[1]["target_type"], 1);
  EXPECT_EQ(blocks[1]["map_file"], "");
  EXPECT_EQ(stored(u"General", u"NumberOfBlocks"), u"2");
  EXPECT_EQ(stored(u"Block2", u"BlockLens"), u"80");
  EXPECT_THAT(run("blocks list").out, HasSubstr("tall cube"));
}

TEST_F(BlocksTool, MakesOneOfTheBlocksTheActiveOne) {
  run("blocks add a --lens 35");
  run("blocks add b --lens 50");
  EXPECT_EQ(run("blocks set-active B").code, 0);
  EXPECT_EQ(list()["blocks"][0]["active"], false);
  EXPECT_EQ(list()["blocks"][1]["active"], true);
  EXPECT_EQ(stored(u"General", u"ActiveBlockIndex"), u"1");
  EXPECT_EQ(run("blocks set-active a").code, 0);
  EXPECT_EQ(list()["blocks"][0]["active"], true);
}

TEST_F(BlocksTool, SetsAndClearsAMapFile) {
  run("blocks add a --lens 35");
  EXPECT_EQ(run("blocks map a 'two words.map'").code, 0);
  EXPECT_EQ(list()["blocks"][0]["map_file"], "two words.map");
  EXPECT_EQ(run("blocks map a ''").code, 0);
  EXPECT_EQ(list()["blocks"][0]["map_file"], "");
}

TEST_F(BlocksTool, NamesABlockThatIsNotThereOrIsThereAlready) {
  run("blocks add a --lens 35");
  expectFailure(run("blocks add A --lens 35"), "blocks.ini: there is a plate named A already");
  expectFailure(run("blocks set-active b"), "there is no plate named b");
  expectFailure(run("blocks map b file"), "there is no plate named b");
  EXPECT_EQ(list()["blocks"].size(), 1u);
}

TEST_F(BlocksTool, RefusesWhatTheListCouldNotGiveBack) {
  EXPECT_EQ(run("blocks").code, 2);
  EXPECT_EQ(run("blocks add a").code, 2);
  for (const char* name : {"''", "0a", "' a'", "'a '", "'\"a'", "'a\nb'", "$(printf %260s x | tr ' ' x)"}) {
    EXPECT_EQ(run("blocks add " + std::string(name) + " --lens 35").code, 2) << name;
    if (name != std::string("''") && name != std::string("0a")) {
      EXPECT_EQ(run("blocks add a --lens 35 --map " + std::string(name)).code, 2) << name;
    }
  }
  for (const char* lens : {"0", "-1", "x", "'35;50'", "''"}) {
    EXPECT_EQ(run("blocks add a --lens " + std::string(lens)).code, 2) << lens;
  }
  EXPECT_EQ(run("blocks add a --lens 35 --type -1").code, 2);
  EXPECT_EQ(list()["blocks"], json::array());
}

TEST_F(BlocksTool, TellsOfACountThatTheFileDoesNotBearOut) {
  makeHome("[General]\nNumberOfBlocks=2000000000\n[Block1]\nBlockName=a\n");
  expectFailure(run("blocks list"), "blocks.ini: NumberOfBlocks is 2000000000");
  expectFailure(run("blocks add b --lens 35"), "NumberOfBlocks");
}

TEST_F(BlocksTool, TellsWhatItReadsOtherwiseThanItStandsThere) {
  makeHome("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=a\nBlockLens=3,5x\n");
  const Outcome listed = run("blocks list");
  EXPECT_EQ(listed.code, 0);
  EXPECT_THAT(listed.error, HasSubstr("warning: "));
  EXPECT_THAT(listed.error, HasSubstr("BlockLens of [Block1]: expected whole numbers, with ; between, found \"3,5x\""));
  makeHome("[General]\nNumberOfBlocks=1\n[Block1]\nBlockName=a\nBlockLens=35\n");
  EXPECT_EQ(run("blocks list").error, "");
  makeHome("[Block1]\nBlockNa");
  EXPECT_THAT(run("blocks list").error, HasSubstr("NumberOfBlocks of [General]: expected 1 or more, found 0"));
}

TEST_F(BlocksTool, ChangesNothingWhereASectionIsPassedOver) {
  const std::string ini =
      "[General]\nNumberOfBlocks=2\n[Block1]\nBlockName=0gone\n[Block2]\nBlockName=b\nBlockLens=35\n";
  makeHome(ini);
  EXPECT_EQ(list()["blocks"].size(), 1u);
  for (const char* change : {"map b file", "set-active b", "add c --lens 50"}) {
    expectFailure(run("blocks " + std::string(change)), "a section of a plate has a name that begins with 0");
  }
  EXPECT_EQ(quel::testing::readFile(path("home/blocks.ini")), ini);
}

TEST_F(BlocksTool, WarnsOfCoefficientsThatStoringWouldChange) {
  std::string ini = "[General]\nNumberOfBlocks=4\n";
  const int millionths[] = {249, 250, -249, 2147483647};
  for (int n = 1; n <= 4; ++n) {
    ini += "[Block" + std::to_string(n) + "]\nBlockName=b" + std::to_string(n) +
           "\nBlockLens=35\nExpCoef=" + std::to_string(millionths[n - 1]) + "\n";
  }
  makeHome(ini);
  const Outcome listed = run("blocks list");
  EXPECT_THAT(listed.out,
              HasSubstr("  warning: plate b1: its coefficient of expansion, 0.000249, becomes 0.000248 when "
                        "the plate is stored\n  warning: plate b3: its coefficient of expansion, "
                        "-0.000249, becomes -0.000248 when the plate is stored\n"));
  EXPECT_EQ(listed.out.find("warning: plate b2"), std::string::npos);
  EXPECT_EQ(listed.out.find("warning: plate b4"), std::string::npos);
  // Storing does what was told.
  const json all = list();
  ASSERT_EQ(all["blocks"].size(), 4U);
  const quel::testing::TempHome home;
  std::filesystem::copy_file(path("home/blocks.ini"), home.path() / "blocks.ini");
  for (const json& block : all["blocks"]) {
    const double before = block["expansion_coefficient"], told = block["expansion_coefficient_once_stored"];
    QmBlockTable::FreeInstance();
    QmBlockTable table;
    const int index = table.FindByBlockName(toWide(block["name"].get<std::string>().c_str()).c_str());
    ASSERT_GE(index, 0);
    EXPECT_EQ(table.getBlock(index)->GetExpansionCoef(), before);
    ASSERT_TRUE(table.storeBlockInfo(index));
    QmBlockTable::FreeInstance();
    EXPECT_EQ(QmBlockTable().getBlock(index)->GetExpansionCoef(), told) << index;
  }
  QmBlockTable::FreeInstance();
}

// A calibration block is a head's; what the table lists are plates.
TEST_F(BlocksTool, CallsWhatTheTableListsPlates) {
  std::string told;
  for (const char* command : {"list", "add a --lens 35", "add a --lens 35", "set-active a", "map a b", "map c b",
                              "list", "--help", "list --help", "add --help", "set-active --help", "map --help"}) {
    const Outcome outcome = run(std::string("blocks ") + command);
    told += outcome.out + outcome.error;
  }
  EXPECT_THAT(told, HasSubstr("plate a added"));
  for (const char* other : {" a block ", " the block ", " block a", "no block", "active block", "the blocks"}) {
    std::string::size_type at = told.find(other);
    while (at != told.npos && told.compare(at, 16, " the block table") == 0) at = told.find(other, at + 1);
    EXPECT_EQ(at, told.npos) << other << " in " << told.substr(at == told.npos ? 0 : at, 60);
  }
}

TEST_F(BlocksTool, AddsNothingOfTheLeftoversOfABlockRemovedByHand) {
  makeHome("[General]\nNumberOfBlocks=0\n[Block1]\nBlockName=old\nMapFile=old.map\nExpCoef=12\n");
  EXPECT_EQ(run("blocks add new --lens 35").code, 0);
  const json block = list()["blocks"][0];
  EXPECT_EQ(block["name"], "new");
  EXPECT_EQ(block["map_file"], "");
  EXPECT_EQ(block["expansion_coefficient"], 0.0);
}

TEST_F(BlocksTool, FailsWhereTheFileCannotBeWritten) {
  std::filesystem::create_directories(path("home/blocks.ini"));
  expectFailure(run("blocks add a --lens 35"), "blocks.ini: cannot be written (system code ");
}

}  // namespace
}  // namespace queltool

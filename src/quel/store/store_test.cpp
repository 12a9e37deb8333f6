#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quel/store/BlockNames.h"
#include "quel/store/Materials.h"
#include "quel/store/Operations.h"
#include "quel/store/Plates.h"
#include "quel/store/ProjectTree.h"
#include "quel/store/SetupNumbers.h"
#include "testing/Numbers.h"
#include "testing/TempHome.h"

namespace quel {
namespace {

namespace fs = std::filesystem;

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::readFile;
using ::testing::SizeIs;
using testing::TempDir;
using testing::TempHome;
using testing::writeFile;

template <typename T>
std::string complaint(const Result<T>& result) {
  return result ? "none" : result.error().message();
}

TEST(BlockNames, NamesWhatBelongsToABlock) {
  const auto names = blockNames("QUEL0001", 12);
  ASSERT_TRUE(names);
  EXPECT_EQ(names->block, "QUEL0001-12");
  EXPECT_EQ(names->file, "QUEL0001-12.tns");
  EXPECT_EQ(names->lutFile, "QUEL0001-12.lut");
  EXPECT_THAT(names->lutPrefix, HasSubstr("QUEL0001"));
}

TEST(BlockNames, SharesTheLutFileAmongTheTilesOfABlock) {
  const auto tile = blockNames("M", 3, 2);
  ASSERT_TRUE(tile);
  EXPECT_NE(tile->file, blockNames("M", 3)->file);
  EXPECT_EQ(tile->lutFile, blockNames("M", 3)->lutFile);
}

TEST(BlockNames, RefusesWhatIsNoMachine) {
  for (const std::string& machine : {std::string(), std::string("NINECHARS"), std::string("A\0B", 3)}) {
    EXPECT_THAT(complaint(blockNames(machine, 1)), HasSubstr("1 to 8 characters"));
  }
}

TEST(Plates, AreNoneWhereNobodyHasToldOfOne) {
  const TempHome home;
  const auto listed = plates();
  ASSERT_TRUE(listed) << listed.error().message();
  EXPECT_THAT(*listed, IsEmpty());
}

TEST(Plates, AreListedInTheOrderOfTheTable) {
  const TempHome home;
  writeFile(home.path() / "blocks.ini",
            "[General]\nNumberOfBlocks=2\nActiveBlockIndex=1\n"
            "[Block1]\nBlockName=bench\nTargetType=3\nBlockLens=35;50\nExpansionCoef=11\nMapFile=bench.map\n"
            "[Block2]\nBlockName=field\nTargetType=1\nBlockLens=50\n");
  const auto listed = plates();
  ASSERT_TRUE(listed) << listed.error().message();
  ASSERT_THAT(*listed, SizeIs(2));
  const Plate& bench = listed->front();
  EXPECT_EQ(bench.name, "bench");
  EXPECT_THAT(bench.lenses, ElementsAre(35, 50));
  EXPECT_EQ(bench.targetType, 3U);
  EXPECT_EQ(listed->back().name, "field");
  EXPECT_THAT(listed->back().mapFile, IsEmpty());
  EXPECT_NE(bench.active, listed->back().active);
}

TEST(Plates, FailWhereTheTableNamesMoreThanItHas) {
  const TempHome home;
  writeFile(home.path() / "blocks.ini", "[General]\nNumberOfBlocks=9\n[Block1]\nBlockName=bench\nBlockLens=35\n");
  const auto listed = plates();
  ASSERT_FALSE(listed);
  EXPECT_THAT(listed.error().file, EndsWith("blocks.ini"));
  EXPECT_THAT(listed.error().cause, HasSubstr("NumberOfBlocks is 9, and there is no section [Block9]"));
}

TEST(SetupNumbers, AreThoseOfTheMap) {
  const TempHome home;
  EXPECT_THAT(setupNumbers().value(), IsEmpty());
  writeFile(home.path() / "SetupMap.txt",
            "        17         2 /store/car/door/s1\n        18        -1 /store/car/door/s2\n");
  const auto setups = setupNumbers();
  ASSERT_TRUE(setups) << setups.error().message();
  EXPECT_THAT(*setups,
              ElementsAre(NumberedSetup{17, 2, "/store/car/door/s1"}, NumberedSetup{18, -1, "/store/car/door/s2"}));
}

TEST(SetupNumbers, FailWhereTheMapIsNoFile) {
  const TempHome home;
  fs::create_directory(home.path() / "SetupMap.txt");
  EXPECT_THAT(complaint(setupNumbers()), HasSubstr("SetupMap.txt"));
}

class ATree : public ::testing::Test {
 protected:
  void SetUp() override {
    setup("car/door/s1", "setup.qms");
    setup("car/door/s2", "autosetup.qms");
    setup("car/loose", "setup.qms");
    setup("alone", "setup.qms");
    writeFile(root() / "car/door/part.qmp", "");
    fs::create_directories(root() / "car/no part/s3");
  }

  fs::path root() const { return folder_.path() / "store"; }

 private:
  void setup(const std::string& path, const std::string& marker) const {
    fs::create_directories(root() / path);
    writeFile(root() / path / marker, "");
  }

  const TempHome home_;
  const TempDir folder_;
};

TEST_F(ATree, HoldsProjectsPartsAndSetups) {
  const auto tree = readProjectTree(root());
  ASSERT_TRUE(tree) << tree.error().message();
  ASSERT_THAT(tree->projects, ElementsAre(Field(&StoredProject::name, "car")));
  ASSERT_THAT(tree->projects[0].parts, ElementsAre(Field(&StoredPart::name, "door")));
  EXPECT_THAT(tree->projects[0].parts[0].setups,
              ElementsAre(AllOf(Field(&StoredSetup::name, "s1"), Field(&StoredSetup::automatic, false)),
                          AllOf(Field(&StoredSetup::name, "s2"), Field(&StoredSetup::automatic, true))));
  EXPECT_THAT(tree->outsideParts, ElementsAre(EndsWith("store/alone"), EndsWith("store/car/loose")));
}

TEST_F(ATree, HoldsTheSetupsOfTheKindThatIsAskedFor) {
  const auto manual = readProjectTree(root(), SetupKind::Manual);
  const auto automatic = readProjectTree(root(), SetupKind::Automatic);
  EXPECT_THAT(manual->projects[0].parts[0].setups, ElementsAre(Field(&StoredSetup::name, "s1")));
  // What is a setup of the other kind is none here: a directory of the root is then a project.
  ASSERT_THAT(automatic->projects,
              ElementsAre(Field(&StoredProject::name, "alone"), Field(&StoredProject::name, "car")));
  EXPECT_THAT(automatic->projects[1].parts[0].setups, ElementsAre(Field(&StoredSetup::name, "s2")));
}

TEST_F(ATree, KnowsTheNumbersOfTheMap) {
  const auto map = setupMapFile();
  ASSERT_TRUE(map);
  writeFile(*map, "        17         2 " + (root() / "car/door/s1").string() + "\n");
  const auto tree = readProjectTree(root());
  const auto& setups = tree->projects[0].parts[0].setups;
  EXPECT_EQ(setups[0].number, 17);
  EXPECT_EQ(setups[0].cycle, 2);
  EXPECT_EQ(setups[1].number, -1);
}

TEST_F(ATree, IsNoneWhereTheRootIsNoDirectory) {
  EXPECT_THAT(complaint(readProjectTree(root() / "car/door/part.qmp")), EndsWith("part.qmp: is no directory"));
}

class AMaterialFile : public ::testing::Test {
 protected:
  fs::path file() const { return folder_.path() / "materials.txt"; }
  const TempDir folder_;
};

TEST_F(AMaterialFile, ReadsWhatWasWritten) {
  const std::vector<Material> materials = {{3, 35, "Steel", {0.5, 1.0, -2.25e-5}, 7},
                                           {3, 50, "Aluminium cast", {0.25, 1.5, 3.0}, 0},
                                           {4, 50, "Stahl ä", {0, 0, 0}, -1}};
  ASSERT_EQ(complaint(writeMaterials(file(), materials)), "none");
  const auto read = readMaterials(file());
  ASSERT_TRUE(read) << read.error().message();
  EXPECT_EQ(*read, materials);
}

TEST_F(AMaterialFile, IsNotWrittenWithWhatWouldNotBeReadBack) {
  ASSERT_EQ(complaint(writeMaterials(file(), {{3, 50, "Steel", {1, 2, 3}, 4}})), "none");
  const std::string before = readFile(file());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  const std::vector<Material> refused = {{3, 50, "", {1, 2, 3}, 4},    {3, 50, "a\tb", {1, 2, 3}, 4},
                                         {3, 50, "a;b", {1, 2, 3}, 4}, {3, 50, "\xFF", {1, 2, 3}, 4},
                                         {3, 50, "a", {nan, 2, 3}, 4}, {3, 50, "a", {1, 2, infinity}, 4}};
  for (const Material& material : refused) {
    EXPECT_THAT(complaint(writeMaterials(file(), {material})), HasSubstr("materials.txt: the material"));
  }
  EXPECT_THAT(complaint(writeMaterials(file(), {{3, 50, "a", {1, 2, 3}, 4}, {3, 50, "a", {5, 6, 7}, 8}})),
              HasSubstr("stands twice"));
  EXPECT_EQ(readFile(file()), before);
}

TEST_F(AMaterialFile, IsRefusedWithPlaceAndCauseWhereItIsDamaged) {
  writeFile(file(), "QmM1\n1\n3 50 2\nSteel 0.5 x 2 0\n");
  const auto read = readMaterials(file());
  ASSERT_FALSE(read);
  EXPECT_EQ(read.error().file, file().string());
  EXPECT_THAT(read.error().place, HasSubstr("line 4"));
  EXPECT_FALSE(readMaterials(folder_.path() / "none.txt"));
}

TEST_F(AMaterialFile, IsRefusedWhereARowWouldBePassedOver) {
  writeFile(file(), "QmM1\n1\n3 50 2\nSteel 1 2 3 4\nSteel 5 6 7 8\n");
  EXPECT_THAT(complaint(readMaterials(file())), HasSubstr("Steel"));
}

TEST_F(AMaterialFile, CannotBeWrittenWhereThereIsNoFolder) {
  EXPECT_THAT(complaint(writeMaterials(folder_.path() / "none/materials.txt", {})), HasSubstr("cannot be written"));
}

TEST(Operations, AreThoseOfTheFile) {
  const TempDir folder;
  const fs::path file = folder.path() / "operations.xml";
  writeFile(file,
            "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\n<QuelmetraDataFile VersionFile=\"1.00\">"
            "<Operation ID=\"7\" Type=\"COP\"><Tiles Size=\"2\">3 14 </Tiles></Operation>"
            "<Operation ID=\"8\" Type=\"other\"/></QuelmetraDataFile>");
  const auto list = readOperations(file);
  ASSERT_TRUE(list) << list.error().message();
  EXPECT_EQ(list->version, "1.00");
  ASSERT_THAT(list->operations, SizeIs(2));
  EXPECT_EQ(list->operations[0].id, "7");
  EXPECT_EQ(list->operations[0].type, "COP");
  EXPECT_EQ(list->operations[0].tiles, "3 14 ");
  EXPECT_EQ(list->operations[1].type, "Unknown");
}

TEST(Operations, AreRefusedWhereTheFileHoldsNone) {
  const TempDir folder;
  const fs::path file = folder.path() / "other.xml";
  writeFile(file, "<Something/>");
  EXPECT_THAT(complaint(readOperations(file)), HasSubstr("other.xml: is no operations file"));
  writeFile(file, "<QuelmetraDataFile VersionFile=\"1.00\">");
  EXPECT_FALSE(readOperations(file));
}

}  // namespace
}  // namespace quel

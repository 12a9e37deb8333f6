// What is told of an operations file that does not read, and of what in it is no operation.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/operations/XMLOperationIO.h"
#include "testing/FailingNew.h"

namespace {

using namespace quel::testing;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Types = std::vector<OperationTypeId>;
using Tiles = std::vector<std::uint32_t>;

std::string document(const std::string& operations) {
  return "<QuelmetraDataFile VersionFile=\"1.00\">\n" + operations + "\n</QuelmetraDataFile>";
}

const std::string kSound = document(
    "  <Operation ID=\"1\" Type=\"COP\">\n<Tiles Size=\"2\">3 4 </Tiles></Operation>\n<Operation ID=\"2\" "
    "Type=\"Unknown\"/>");

class OperationsProblem : public testing::Test {
 protected:
  bool load(const std::string& text) {
    writeFile(path(), text);
    return io_.load(wide().c_str(), true);
  }

  /// The problem that `getOperations` leaves of a file that loads.
  std::string problemOf(const std::string& text) {
    EXPECT_TRUE(load(text)) << text;
    EXPECT_EQ(lastProblem(), "none") << text;
    Types types;
    EXPECT_FALSE(io_.getOperations(types));
    return lastProblem();
  }

  std::filesystem::path path() const { return folder_.path() / "operations.xml"; }
  std::u16string wide() const { return folder_.wide("operations.xml"); }

  TempDir folder_;
  XMLOperationIO io_;
};

TEST_F(OperationsProblem, IsThereForNoSoundFile) {
  EXPECT_FALSE(load("x"));
  EXPECT_NE(lastProblem(), "none");
  EXPECT_EQ(problemOf(kSound), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  Tiles tiles;
  EXPECT_TRUE(io_.getOperationData(1, tiles));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  EXPECT_TRUE(io_.load(wide().c_str(), false));
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(OperationsProblem, TellsWhyAFileCannotBeOpened) {
  expectUnreadableTold(path(), kUnopenedXml, [this] { EXPECT_FALSE(io_.load(wide().c_str(), true)); });
}

TEST_F(OperationsProblem, TellsThePlaceWhereverTheFileIsCut) {
  expectEveryXmlCutTold(kSound, [this](const std::string& text) { EXPECT_FALSE(load(text)); });
}

TEST_F(OperationsProblem, SaysWhatTheHeaderLacks) {
  Types types;
  EXPECT_FALSE(io_.getOperations(types));
  EXPECT_EQ(lastProblem(), "no file was loaded");
  EXPECT_EQ(problemOf("<Other VersionFile=\"1.00\"/>"), "expected QuelmetraDataFile, found another root");
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path());
  EXPECT_EQ(problemOf("<QuelmetraDataFile/>"), "QuelmetraDataFile: expected VersionFile, found none");
}

TEST_F(OperationsProblem, RemarksOnTypesThatAreNotKnown) {
  EXPECT_EQ(problemOf(document("<Operation Type=\"COP\"/><Operation Type=\"cop\"/><Remark/>")), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("Operation 2: expected \"COP\" or \"Unknown\" as Type, found \"cop\"",
                                         "Operation 3: expected \"COP\" or \"Unknown\" as Type, found \"\""));
}

TEST_F(OperationsProblem, SaysWhatAnOperationLacks) {
  problemOf(kSound);
  Tiles tiles;
  EXPECT_FALSE(io_.getOperationData(7, tiles));
  EXPECT_EQ(lastProblem(), "Operation with ID 7: there is none");
  EXPECT_FALSE(io_.getOperationData(2, tiles));
  EXPECT_EQ(lastProblem(), "Operation with ID 2: expected Tiles, found none");
}

TEST_F(OperationsProblem, RemarksOnTilesThatAreNoNumbersWhateverTheListHeld) {
  problemOf(document("<Operation ID=\"1\" Type=\"COP\"><Tiles>3 8y  x 5</Tiles></Operation>"));
  for (Tiles tiles : {Tiles{}, Tiles{99, 98}}) {
    EXPECT_TRUE(io_.getOperationData(1, tiles));
    EXPECT_EQ(lastProblem(), "none");
    EXPECT_THAT(lastRemarks(), ElementsAre("number 2: expected a whole number, found \"8y\"",
                                           "number 3: expected a whole number, found \"x\""));
  }
}

TEST_F(OperationsProblem, OfExhaustedMemoryIsThat) {
  writeFile(path(), kSound);
  const std::u16string name = wide();
  const auto check = [](bool read, bool failed) {
    EXPECT_TRUE(read || failed);
    if (read) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // A document without the memory to look for an element says that there is none.
      EXPECT_THAT(lastProblem(), AnyOf("memory is exhausted", "expected QuelmetraDataFile, found another root"));
    }
  };
  EXPECT_GT(failEachNew([&] { return XMLOperationIO().load(name.c_str(), true); }, check), 3);
  ASSERT_TRUE(io_.load(name.c_str(), true));
  const auto countTypes = [&] {
    Types types;
    io_.getOperations(types);
    return types.size() == 2;
  };
  EXPECT_GT(failEachNew(countTypes, check), 1);
  const auto readTiles = [&] {
    Tiles tiles;
    return io_.getOperationData(1, tiles);
  };
  EXPECT_GT(failEachNew(readTiles, check), 1);
}

TEST_F(OperationsProblem, IsEachThreadsOwn) {
  writeFile(path(), "<a>");
  expectThreadsApart("line 1, column 4: <a> is not closed", [this] {
    XMLOperationIO io;
    io.load(wide().c_str(), true);
  });
}

}  // namespace

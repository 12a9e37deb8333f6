#include "quelcore/operations/XMLOperationIO.h"

#include "quelcore/base/problems_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::testRandom;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Numbers = std::vector<std::uint32_t>;
using Types = std::vector<OperationTypeId>;

const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" ?>\r\n";

class OperationsFile : public testing::Test {
 protected:
  std::string path() const { return (folder_.path() / "operations.xml").string(); }
  std::u16string wide() const { return folder_.wide("operations.xml"); }

  // A new document with the cursor inside its root.
  void begin(XMLOperationIO& io) {
    Types none;
    ASSERT_TRUE(io.load(wide().c_str(), false));
    io.getOperations(none);
    ASSERT_THAT(none, IsEmpty());
  }

  // The document of `elements` in a root, loaded, with the cursor inside the root; its types.
  Types open(XMLOperationIO& io, const std::string& elements) {
    writeFile(path(), kDeclaration + "<QuelmetraDataFile VersionFile=\"1.00\">" + elements + "</QuelmetraDataFile>");
    Types types;
    EXPECT_TRUE(io.load(wide().c_str(), true));
    io.getOperations(types);
    return types;
  }

  static bool add(XMLOperationIO& io, std::uint32_t id, OperationTypeId type, Numbers tiles) {
    return io.addOperation(id, type, tiles);
  }

  TempDir folder_;
};

TEST_F(OperationsFile, OfANewDocumentHoldsOneOperationInsideTheRoot) {
  XMLOperationIO io;
  begin(io);
  EXPECT_TRUE(add(io, 7, OPERATION_COP, {3, 14, 159}));
  EXPECT_TRUE(io.save());
  EXPECT_EQ(readFile(path()), kDeclaration +
                                  "<QuelmetraDataFile VersionFile=\"1.00\">\r\n"
                                  "  <Operation ID=\"7\" Type=\"COP\">\r\n"
                                  "    <Tiles Size=\"3\">3 14 159 </Tiles>\r\n"
                                  "  </Operation>\r\n"
                                  "</QuelmetraDataFile>\r\n");
}

TEST_F(OperationsFile, IsNotMadeBeforeItIsSaved) {
  XMLOperationIO io;
  begin(io);
  EXPECT_FALSE(std::filesystem::exists(path()));
  EXPECT_TRUE(io.save());
  EXPECT_TRUE(std::filesystem::exists(path()));
}

TEST_F(OperationsFile, IsNotReadForANewDocument) {
  writeFile(path(), "not xml at all");
  XMLOperationIO io;
  begin(io);
  EXPECT_EQ(readFile(path()), "not xml at all");
}

TEST_F(OperationsFile, StatesTheCurrentVersionWithTwoDecimals) {
  XMLOperationIO io;
  for (const auto& [version, text] :
       {std::pair{2.5F, "2.50"}, {1.239F, "1.24"}, {-3.0F, "-3.00"}, {1e10F, "10000000000.00"}}) {
    io.setCurVersion(version);
    begin(io);
    EXPECT_TRUE(io.save());
    EXPECT_THAT(readFile(path()), testing::HasSubstr("<QuelmetraDataFile VersionFile=\"" + std::string(text) + "\""));
  }
}

TEST_F(OperationsFile, ReplacesTheCurrentVersionByThatOfItsHeader) {
  writeFile(path(), "<QuelmetraDataFile VersionFile=\"3.75\"/>");
  XMLOperationIO io;
  Types types;
  ASSERT_TRUE(io.load(wide().c_str(), true));
  io.getOperations(types);
  begin(io);  // A new document states what the last one said.
  ASSERT_TRUE(io.save());
  EXPECT_THAT(readFile(path()), testing::HasSubstr("VersionFile=\"3.75\""));
}

TEST_F(OperationsFile, AppendsItsTypesInDocumentOrderAndAnswersFalseAllTheSame) {
  XMLOperationIO io;
  open(io, "");
  writeFile(path(),
            "<QuelmetraDataFile VersionFile=\"1\"><Operation Type=\"COP\"/><Operation Type=\"Unknown\"/>"
            "<Operation Type=\"cop\"/><Remark Type=\"COP\"/><Operation/></QuelmetraDataFile>");
  ASSERT_TRUE(io.load(wide().c_str(), true));
  Types types = {OPERATION_COP};
  EXPECT_FALSE(io.getOperations(types));
  EXPECT_THAT(types, ElementsAre(OPERATION_COP, OPERATION_COP, OPERATION_UNKNOWN, OPERATION_UNKNOWN, OPERATION_COP,
                                 OPERATION_UNKNOWN));
}

TEST_F(OperationsFile, HasNoTypesWithoutRootOrVersion) {
  for (const char* text : {"<Other VersionFile=\"1.00\"><Operation Type=\"COP\"/></Other>",
                           "<QuelmetraDataFile><Operation Type=\"COP\"/></QuelmetraDataFile>",
                           "<QuelmetraDataFile VersionFile=\"\"><Operation Type=\"COP\"/></QuelmetraDataFile>"}) {
    writeFile(path(), text);
    XMLOperationIO io;
    ASSERT_TRUE(io.load(wide().c_str(), true)) << text;
    Types types;
    EXPECT_FALSE(io.getOperations(types));
    EXPECT_THAT(types, IsEmpty()) << text;
  }
}

TEST_F(OperationsFile, WorksBesideTheRootBeforeItsTypesAreAskedFor) {
  XMLOperationIO io;
  writeFile(path(), "<QuelmetraDataFile VersionFile=\"1\"><Operation ID=\"1\" Type=\"COP\"/></QuelmetraDataFile>");
  ASSERT_TRUE(io.load(wide().c_str(), true));
  Numbers tiles;
  EXPECT_FALSE(io.getOperationData(1, tiles));
  EXPECT_FALSE(add(io, 2, OPERATION_COP, {}));  // A document has one root.
}

TEST_F(OperationsFile, GivesBackTheTilesOfEachOperation) {
  XMLOperationIO io;
  begin(io);
  EXPECT_TRUE(add(io, 1, OPERATION_COP, {5}));
  EXPECT_TRUE(add(io, 2, OPERATION_UNKNOWN, {4294967295u, 0, 7}));
  ASSERT_TRUE(io.save());
  XMLOperationIO again;
  Types types;
  ASSERT_TRUE(again.load(wide().c_str(), true));
  again.getOperations(types);
  EXPECT_THAT(types, ElementsAre(OPERATION_COP, OPERATION_UNKNOWN));
  Numbers tiles = {99};
  EXPECT_TRUE(again.getOperationData(2, tiles));
  EXPECT_TRUE(again.getOperationData(1, tiles));
  EXPECT_THAT(tiles, ElementsAre(99, 4294967295u, 0, 7, 5));
}

TEST_F(OperationsFile, HoldsNoTilesElementForAnEmptyListSoThatItsDataCannotBeRead) {
  XMLOperationIO io;
  begin(io);
  EXPECT_TRUE(add(io, 5, OPERATION_COP, {}));
  Numbers tiles;
  EXPECT_FALSE(io.getOperationData(5, tiles));
  ASSERT_TRUE(io.save());
  EXPECT_THAT(readFile(path()), testing::Not(testing::HasSubstr("Tiles")));
}

TEST_F(OperationsFile, HasNoDataForAnUnknownId) {
  XMLOperationIO io;
  open(io, "<Operation ID=\"1\" Type=\"COP\"><Tiles>1 </Tiles></Operation>");
  Numbers tiles;
  EXPECT_FALSE(io.getOperationData(2, tiles));
  EXPECT_TRUE(io.getOperationData(1, tiles));
}

TEST_F(OperationsFile, ComparesIdsAsText) {
  XMLOperationIO io;
  open(io, "<Operation ID=\"01\" Type=\"COP\"><Tiles>1 </Tiles></Operation><Thing ID=\"1\"><Tiles>2 </Tiles></Thing>");
  Numbers tiles;
  EXPECT_FALSE(io.getOperationData(1, tiles));
}

struct TileText {
  const char* text;
  Numbers numbers;
};

TEST_F(OperationsFile, SplitsTilesAtBlanksOnly) {
  const TileText cases[] = {
      {"3 14 159 ", {3, 14, 159}},
      {"   3    14  159", {3, 14, 159}},
      {"", {}},
      {"   ", {}},
      {"3\n14 5", {3, 5}},
      {"3\t4", {3}},
      {"x 7 8y -9", {0, 7, 8, 0}},
      {"99999999999", {4294967295u}},
      {"\n5", {5}},
      {"3 \r\n\t 4 \t\n", {3, 0, 4, 0}},
      {"\n\t-5 \n+5", {0, 0}},
  };
  for (const TileText& c : cases) {
    XMLOperationIO io;
    open(io, "<Operation ID=\"1\" Type=\"COP\"><Tiles Size=\"77\">" + std::string(c.text) + "</Tiles></Operation>");
    Numbers tiles;
    EXPECT_TRUE(io.getOperationData(1, tiles)) << c.text;
    EXPECT_THAT(tiles, ElementsAreArray(c.numbers)) << c.text;
  }
}

TEST_F(OperationsFile, LosesARemovedOperationAndKeepsTheOthers) {
  XMLOperationIO io;
  begin(io);
  for (const std::uint32_t id : {1u, 2u, 3u}) add(io, id, OPERATION_COP, {id});
  EXPECT_TRUE(io.removeOperation(2));
  EXPECT_TRUE(io.removeOperation(2));
  EXPECT_TRUE(io.removeOperation(77));
  Numbers tiles;
  EXPECT_FALSE(io.getOperationData(2, tiles));
  EXPECT_TRUE(io.getOperationData(3, tiles));
  EXPECT_TRUE(io.getOperationData(1, tiles));
  EXPECT_THAT(tiles, ElementsAre(3, 1));
}

TEST_F(OperationsFile, TakesAnOperationAgainAfterItsRemoval) {
  XMLOperationIO io;
  begin(io);
  for (const std::uint32_t id : {1u, 2u}) add(io, id, OPERATION_COP, {id});
  io.removeOperation(1);
  EXPECT_TRUE(add(io, 1, OPERATION_UNKNOWN, {8}));
  Numbers tiles;
  EXPECT_TRUE(io.getOperationData(1, tiles));
  EXPECT_THAT(tiles, ElementsAre(8));
}

TEST_F(OperationsFile, ReplacesAnArrayThatIsWrittenTwice) {
  XMLOperationIO io;
  begin(io);
  Numbers first = {1, 2};
  Numbers second = {3};
  Numbers none;
  EXPECT_TRUE(io.writeArray(first, u"List"));
  EXPECT_TRUE(io.writeArray(second, u"List"));
  Numbers read;
  EXPECT_TRUE(io.readArray(read, u"List"));
  EXPECT_THAT(read, ElementsAre(3));
  EXPECT_TRUE(io.writeArray(none, u"List"));
  EXPECT_FALSE(io.readArray(read, u"List"));
}

TEST_F(OperationsFile, RefusesAnArrayOfANameThatXmlDoesNotHave) {
  XMLOperationIO io;
  begin(io);
  Numbers values = {1};
  EXPECT_FALSE(io.writeArray(values, u"a b"));
}

TEST_F(OperationsFile, SearchesByNameOnceMoreFromTheLevelsStart) {
  XMLOperationIO io;
  open(io, "<A/><B/>");
  EXPECT_TRUE(io.FindElem(u"B"));
  EXPECT_TRUE(io.FindElem(u"A"));
  EXPECT_TRUE(io.FindElem(nullptr));   // B, which follows.
  EXPECT_FALSE(io.FindElem(nullptr));  // The end: no second search for a name that is none.
  EXPECT_FALSE(io.FindElem(u"C"));
}

TEST_F(OperationsFile, SearchesByAttributeFromTheLevelsStart) {
  XMLOperationIO io;
  open(io, "<A k=\"1\"/><B k=\"2\"/><A k=\"2\"/>");
  EXPECT_TRUE(io.FindElem(u"A", u"k", u"2"));
  EXPECT_TRUE(io.FindElem(u"A", u"k", u"1"));
  EXPECT_FALSE(io.FindElem(u"A", u"k", u"3"));
  EXPECT_FALSE(io.FindElem(u"A", nullptr, u"3"));
  EXPECT_FALSE(io.FindElem(u"A", u"k", nullptr));
}

TEST_F(OperationsFile, KeepsItsNameWhenAnotherCannotBeLoaded) {
  XMLOperationIO io;
  EXPECT_EQ(std::u16string(io.getFileName()), u"");
  begin(io);
  EXPECT_EQ(std::u16string(io.getFileName()), wide());
  EXPECT_FALSE(io.load(folder_.wide("absent").c_str(), true));
  EXPECT_EQ(std::u16string(io.getFileName()), wide());
  EXPECT_FALSE(io.load(nullptr, true));
  EXPECT_EQ(std::u16string(io.getFileName()), wide());
}

TEST_F(OperationsFile, OfAnotherMakeIsRefused) {
  const std::string whole =
      kDeclaration + "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"1\"/></QuelmetraDataFile>";
  const std::size_t needed = whole.size();
  for (std::size_t length = 0; length < needed; ++length) {
    writeFile(path(), whole.substr(0, length));
    XMLOperationIO io;
    EXPECT_FALSE(io.load(wide().c_str(), true)) << length;
    Types types;
    EXPECT_FALSE(io.getOperations(types));
    EXPECT_THAT(types, IsEmpty());
  }
}

TEST_F(OperationsFile, StaysWhenItCannotBeReplaced) {
  XMLOperationIO io;
  EXPECT_TRUE(io.load(folder_.wide("no such folder/operations.xml").c_str(), false));
  EXPECT_FALSE(io.save());
}

TEST(XMLOperationIO, DoesNothingBeforeALoad) {
  XMLOperationIO io;
  Numbers numbers;
  Types types;
  EXPECT_FALSE(io.save());
  EXPECT_FALSE(io.addOperation(1, OPERATION_COP, numbers));
  EXPECT_TRUE(io.removeOperation(1));
  EXPECT_FALSE(io.getOperations(types));
  EXPECT_FALSE(io.getOperationData(1, numbers));
  EXPECT_FALSE(io.FindElem(u"A"));
  EXPECT_FALSE(io.FindElem(u"A", u"k", u"1"));
  EXPECT_FALSE(io.readArray(numbers, u"A"));
  EXPECT_FALSE(io.writeArray(numbers, u"A"));
}

TEST(XMLOperationIO, NamesItsTypesExactly) {
  EXPECT_EQ(std::u16string(XMLOperationIO::getOperationNameByType(OPERATION_COP)), u"COP");
  EXPECT_EQ(std::u16string(XMLOperationIO::getOperationNameByType(OPERATION_UNKNOWN)), u"Unknown");
  EXPECT_EQ(std::u16string(XMLOperationIO::getOperationNameByType(static_cast<OperationTypeId>(77))), u"Unknown");
  EXPECT_EQ(XMLOperationIO::getOperationTypeByName(u"COP"), OPERATION_COP);
  for (const qmWChar* name : {u"Unknown", u"cop", u"COP ", u""}) {
    EXPECT_EQ(XMLOperationIO::getOperationTypeByName(name), OPERATION_UNKNOWN);
  }
  EXPECT_EQ(XMLOperationIO::getOperationTypeByName(nullptr), OPERATION_UNKNOWN);
}

TEST_F(OperationsFile, IsSharedByCopiesWhichOutliveTheOriginal) {
  auto original = std::make_unique<XMLOperationIO>();
  begin(*original);
  XMLOperationIO copy(*original);
  XMLOperationIO assigned;
  assigned = *original;
  add(*original, 1, OPERATION_COP, {11});
  original.reset();
  Numbers tiles;
  EXPECT_TRUE(copy.getOperationData(1, tiles));
  EXPECT_TRUE(assigned.getOperationData(1, tiles));
  EXPECT_THAT(tiles, ElementsAre(11, 11));
  EXPECT_EQ(std::u16string(copy.getFileName()), wide());
}

TEST_F(OperationsFile, HoldsAHundredThousandOperations) {
  XMLOperationIO io;
  begin(io);
  constexpr std::uint32_t kCount = 100000;
  for (std::uint32_t id = 0; id < kCount; ++id) ASSERT_TRUE(add(io, id, OPERATION_COP, {id, id + 1}));
  ASSERT_TRUE(io.save());
  XMLOperationIO again;
  Types types;
  ASSERT_TRUE(again.load(wide().c_str(), true));
  again.getOperations(types);
  EXPECT_EQ(types, Types(kCount, OPERATION_COP));
  auto random = testRandom();
  for (int round = 0; round < 20; ++round) {
    const auto id = static_cast<std::uint32_t>(random() % kCount);
    Numbers tiles;
    EXPECT_TRUE(again.getOperationData(id, tiles));
    EXPECT_THAT(tiles, ElementsAre(id, id + 1));
  }
}

TEST_F(OperationsFile, SurvivesExhaustedMemoryAtEveryStep) {
  const std::string whole = kDeclaration +
                            "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"1\" Type=\"COP\">"
                            "<Tiles>1 2 3 </Tiles></Operation></QuelmetraDataFile>";
  writeFile(path(), whole);
  const std::u16string name = wide();
  struct Outcome {
    Types types;
    Numbers tiles;
    bool read;
  };
  const auto failures = quel::testing::failEachNew(
      [&] {
        Outcome outcome;
        XMLOperationIO io;
        const bool loaded = io.load(name.c_str(), true);
        io.getOperations(outcome.types);
        outcome.read = loaded && io.getOperationData(1, outcome.tiles);
        return outcome;
      },
      [](const Outcome& outcome, bool failed) {
        if (failed) return;
        EXPECT_TRUE(outcome.read);
        EXPECT_THAT(outcome.types, ElementsAre(OPERATION_COP));
        EXPECT_THAT(outcome.tiles, ElementsAre(1, 2, 3));
      });
  EXPECT_GT(failures, 5);
  EXPECT_EQ(readFile(path()), whole);
}

TEST_F(OperationsFile, IsWrittenWholeOrLeftAsItWasWhenMemoryIsExhausted) {
  const std::u16string name = wide();
  const std::string before = "<QuelmetraDataFile VersionFile=\"9.00\"/>";
  writeFile(path(), before);
  const auto met = quel::testing::failEachNew(
      [&] {
        XMLOperationIO io;
        Types types;
        Numbers tiles;
        const bool begun = io.load(name.c_str(), false);
        io.getOperations(types);
        const bool added = begun && io.addOperation(1, OPERATION_COP, tiles);
        return io.save() && added;
      },
      [&](bool saved, bool failed) {
        EXPECT_TRUE(saved || failed);
        // A file that is not the old one can be read, operation or none.
        XMLOperationIO io;
        EXPECT_TRUE(io.load(name.c_str(), true));
      });
  EXPECT_GT(met, 10);
  EXPECT_THAT(readFile(path()), testing::HasSubstr("VersionFile=\"1.00\">\r\n  <Operation ID=\"1\" Type=\"COP\"/>"));
}

// Required: whether the tiles could be written the result does not tell.
TEST_F(OperationsFile, HoldsAnOperationWithoutTilesWhenMemoryDoesNotSufficeForThem) {
  XMLOperationIO io;
  begin(io);
  Numbers tiles = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  std::uint32_t id = 0;
  bool withoutTiles = false;
  quel::testing::failEachNew([&] { return io.addOperation(++id, OPERATION_COP, tiles); },
                             [&](bool added, bool) {
                               Numbers read;
                               if (added && !io.getOperationData(id, read)) withoutTiles = true;
                             });
  EXPECT_TRUE(withoutTiles);
  Numbers read;
  EXPECT_TRUE(io.getOperationData(id, read));
  EXPECT_EQ(read, tiles);
}

TEST_F(OperationsFile, WorksWithoutALine) {
  quel::testing::RecordingLog log;
  XMLOperationIO io;
  io.load(folder_.wide("absent").c_str(), true);
  begin(io);
  io.removeOperation(3);
  io.save();
  EXPECT_THAT(log.records(), IsEmpty());
}

using quel::testing::lastProblem;
using quel::testing::lastRemarks;

TEST_F(OperationsFile, TellsWhyItCannotBeRead) {
  XMLOperationIO io;
  Types types;
  Numbers tiles;
  EXPECT_FALSE(io.getOperations(types));
  EXPECT_EQ(lastProblem(), "no file was loaded");
  EXPECT_FALSE(io.load(wide().c_str(), true));
  EXPECT_NE(lastProblem(), "none");
  writeFile(path(), "<a>\n <b></a>");
  EXPECT_FALSE(io.load(wide().c_str(), true));
  EXPECT_THAT(lastProblem(), testing::StartsWith("line 2, column "));
  writeFile(path(), "<Other/>");
  EXPECT_TRUE(io.load(wide().c_str(), true));
  EXPECT_EQ(lastProblem(), "none");
  io.getOperations(types);
  EXPECT_EQ(lastProblem(), "expected QuelmetraDataFile, found another root");
  writeFile(path(), "<QuelmetraDataFile/>");
  EXPECT_TRUE(io.load(wide().c_str(), true));
  io.getOperations(types);
  EXPECT_EQ(lastProblem(), "QuelmetraDataFile: expected VersionFile, found none");
}

TEST_F(OperationsFile, TellsOfAFileThatIsCutAnywhere) {
  const std::string whole = "<QuelmetraDataFile VersionFile=\"1.00\"><Operation ID=\"7\"/></QuelmetraDataFile>";
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    writeFile(path(), whole.substr(0, size));
    XMLOperationIO io;
    EXPECT_EQ(io.load(wide().c_str(), true), size == whole.size()) << size;
    EXPECT_EQ(lastProblem() == "none", size == whole.size()) << size;
  }
}

TEST_F(OperationsFile, TellsOfTilesAndTypesThatAreNone) {
  XMLOperationIO io;
  open(io,
       "<Operation ID=\"7\" Type=\"COP\"><Tiles>3 x14 15x</Tiles></Operation>"
       "<Operation ID=\"8\" Type=\"Unknown\"/><Operation ID=\"9\" Type=\"Cop\"/>");
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("Operation 3: expected \"COP\" or \"Unknown\" as Type, found \"Cop\""));
  Numbers tiles;
  EXPECT_TRUE(io.getOperationData(7, tiles));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ElementsAre("number 2: expected a whole number, found \"x14\"",
                                         "number 3: expected a whole number, found \"15x\""));
  EXPECT_FALSE(io.getOperationData(8, tiles));
  EXPECT_EQ(lastProblem(), "Operation with ID 8: expected Tiles, found none");
  EXPECT_FALSE(io.getOperationData(1, tiles));
  EXPECT_EQ(lastProblem(), "Operation with ID 1: there is none");
}

}  // namespace

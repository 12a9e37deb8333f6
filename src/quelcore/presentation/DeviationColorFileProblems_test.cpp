// What is told of a file of deviation colours that gives no table, and of entries in it that do not count.
#include "quelcore/base/problems_fixture.h"
#include "quelcore/presentation/DeviationColorScheme_fixture.h"
#include "testing/FailingNew.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string table(const std::string& values) {
  return "<QuelmetraDataFile>\n<DeviationColorTable>\n" + values + "\n</DeviationColorTable>\n</QuelmetraDataFile>";
}

const std::string kSound = table(
    "<Value Percentage=\"50\" Color=\"255\" Name=\"near\"/>\n<Value Percentage=\"100\" Color=\"16777215\" "
    "Name=\"far\"/>");

class ColorProblem : public ColorScheme {
 protected:
  std::u16string wide() const { return file().u16string(); }

  /// The problem of a check; loading leaves the same, but for the number of entries, and is true as stated.
  std::string problemOf(const std::string& text) {
    writeTable(text);
    EXPECT_TRUE(OwnScheme().load());
    const std::string loaded = lastProblem();
    const std::vector<std::string> remarks = lastRemarks();
    const bool sound = qmDeviationColorFileCheck(wide().c_str());
    EXPECT_EQ(sound, qmLastProblem() == nullptr) << text;
    EXPECT_EQ(lastRemarks(), remarks);
    if (loaded != "none") {
      EXPECT_EQ(lastProblem(), loaded);
    }
    return lastProblem();
  }
};

TEST_F(ColorProblem, IsThereForNoSoundFileAndForNone) {
  EXPECT_NE(problemOf("x"), "none");
  EXPECT_EQ(problemOf(kSound), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  std::filesystem::remove(file());
  EXPECT_FALSE(OwnScheme().load());  // The default table is meant.
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(ColorProblem, TellsWhyAFileCannotBeOpened) {
  writeTable("");
  expectUnreadableTold(file(), kUnopenedXml, [this] { EXPECT_FALSE(qmDeviationColorFileCheck(wide().c_str())); });
  EXPECT_FALSE(qmDeviationColorFileCheck(nullptr));
  EXPECT_NE(lastProblem(), "none");
}

TEST_F(ColorProblem, TellsThePlaceWhereverTheFileIsCut) {
  expectEveryXmlCutTold(kSound, [this](const std::string& text) { problemOf(text); });
}

TEST_F(ColorProblem, SaysWhatTheFileLacks) {
  EXPECT_EQ(problemOf("<Others/>"), "root: expected QuelmetraDataFile, found another one");
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), file());
  EXPECT_EQ(problemOf("<QuelmetraDataFile/>"), "QuelmetraDataFile: expected DeviationColorTable, found none");
  EXPECT_EQ(problemOf(table("")), "DeviationColorTable: expected Value, found none");
  EXPECT_EQ(problemOf(table("<Value Percentage=\"1\" Color=\"2\" Name=\"n\"/>")),
            "DeviationColorTable: expected two or more, as a legend needs, found one Value");
}

TEST_F(ColorProblem, RemarksOnEntriesWithTheirPlace) {
  EXPECT_EQ(
      problemOf(table("<Value Percentage=\"50\" Color=\"1\" Name=\"a\"/>\n"
                      "  <Value Percentage=\"65536\" Color=\"16777216\" Name=\"b\"/>\n"
                      "<Value Percentage=\"-1\" Color=\"red\" Name=\"c\"/><Value Percentage=\"50\" Color=\"2\"/>")),
      "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("line 4, column 3, Value 2: expected Percentage from 0 to 65535, found \"65536\"",
                          "line 4, column 3, Value 2: expected Color from 0 to 16777215, found \"16777216\"",
                          "line 5, column 1, Value 3: expected Percentage from 0 to 65535, found \"-1\"",
                          "line 5, column 1, Value 3: expected Color from 0 to 16777215, found \"red\"",
                          "line 5, column 46, Value 4: expected Name, found none",
                          "line 5, column 46, Value 4: expected a percentage that no earlier Value has, found 50"));
}

TEST_F(ColorProblem, OfExhaustedMemoryIsThat) {
  writeTable(kSound);
  const std::u16string name = wide();
  const auto check = [&] { return qmDeviationColorFileCheck(name.c_str()); };
  const std::int64_t failures = failEachNew(check, [](bool sound, bool failed) {
    EXPECT_TRUE(sound || failed);
    if (sound) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // A document without the memory to look for an element says that there is none.
      EXPECT_THAT(lastProblem(),
                  testing::AnyOf("memory is exhausted", "root: expected QuelmetraDataFile, found another one",
                                 "QuelmetraDataFile: expected DeviationColorTable, found none"));
    }
  });
  EXPECT_GT(failures, 3);
}

TEST_F(ColorProblem, IsEachThreadsOwn) {
  writeTable("<Others/>");
  expectThreadsApart("root: expected QuelmetraDataFile, found another one",
                     [this] { qmDeviationColorFileCheck(wide().c_str()); });
}

}  // namespace

// What is told about a material file that cannot be read, or not as it seems.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/operations/QmMaterialIO.h"
#include "quelcore/operations/QmXmlMaterialIO.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/FailingNew.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::lastProblem;
using quel::testing::lastRemarks;
using quel::testing::TempDir;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

const std::string kEnd = "found the end of the file";

class MaterialProblem : public testing::Test {
 protected:
  std::string ofBytes(const std::string& bytes) const {
    writeFile(folder_.path() / "m.txt", bytes);
    const bool read = QmMaterialIO(folder_.wide("m.txt").c_str()).read();
    EXPECT_EQ(read, qmLastProblem() == nullptr);
    return lastProblem();
  }

  // The problem of a text, which is that of 8-bit and of 16-bit files alike.
  std::string of(const std::string& text) const {
    std::string units = "\xFF\xFE";
    for (const char16_t unit : toWide(text)) units += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    const std::string wide = ofBytes(units);
    const auto remarks = lastRemarks();
    EXPECT_EQ(ofBytes(text), wide) << text;
    EXPECT_EQ(lastRemarks(), remarks) << text;
    return wide;
  }

  std::vector<std::string> remarksOf(const std::string& text) const {
    of(text);
    return lastRemarks();
  }

  TempDir folder_;
};

TEST_F(MaterialProblem, IsNotThereForASoundFile) {
  EXPECT_EQ(of("QmM1\n2\n3 50 1\n4 17 1\nIron;cast 0.25 1.5 3 -7\n\xE9\x8B\xBC 5 6 7 8\n"), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(MaterialProblem, NamesLineColumnAndWordOfWhatCannotBeRead) {
  EXPECT_EQ(of("<xml/>"), "line 1, column 1: expected \"QmM1\", as a material file begins, found \"<xml/>\"");
  EXPECT_EQ(of("QmM1\nx\n"), "line 2, column 1: expected the number of tables, found \"x\"");
  EXPECT_EQ(of("QmM1\n1\n 3  y 1\n"), "line 3, column 5: expected the lens of a table, found \"y\"");
  EXPECT_EQ(of("QmM1\r\n1\r\n3 50 1\r\n\xE9\x8B\xBC 1 z 3 4\r\n"),
            "line 4, column 5, row 1 of 1 of head 3 with lens 50: expected the second number, found \"z\"");
  EXPECT_EQ(of("QmM1\n1\n3 50 1\na 1 2 3 99999999999\n"),
            "line 4, column 9, row 1 of 1 of head 3 with lens 50: "
            "expected the last number, a whole one, found \"99999999999\"");
}

TEST_F(MaterialProblem, BlamesTheWordThatANumberEndedIn) {
  EXPECT_EQ(of("QmM1\n1\n3 50 1\na 1,5 2 3 4\n"),
            "line 4, column 3, row 1 of 1 of head 3 with lens 50: expected the first number, found \"1,5\"");
  // Read as it always was; what looks wrong is remarked on.
  EXPECT_THAT(remarksOf("QmM1\n1\n3 50 1\na 1 2 3 4.5\n"),
              ElementsAre("line 4, column 9, row 1 of 1 of head 3 with lens 50: "
                          "expected the last number, a whole one, found \"4.5\""));
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(MaterialProblem, TellsOfAnEndAtEveryByte) {
  const std::string whole = "QmM1\n1\n3 50 2\nab 1 2 3 4\nc 5 6 7 8\n";
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string text = whole.substr(0, size);
    const std::string problem = of(text);
    // A word of which something is there is told of where it begins, the end itself where it is.
    const std::size_t word =
        size == 0 || text.back() == ' ' || text.back() == '\n' ? size : text.find_last_of(" \n") + 1;
    const std::string before = whole.substr(0, word == std::string::npos ? 0 : word);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const auto column = before.size() - (before.rfind('\n') == std::string::npos ? 0 : before.rfind('\n') + 1) + 1;
    const std::string place = "line " + std::to_string(line) + ", column ";
    EXPECT_THAT(problem, StartsWith(place)) << size;
    if (size >= 4 && text.back() != '\n' && text.back() != ' ') {
      EXPECT_THAT(problem, HasSubstr(kEnd)) << size;
    }
    if (word == size && size >= 5) {
      EXPECT_THAT(problem, StartsWith(place + std::to_string(column))) << size;
    }
  }
}

TEST_F(MaterialProblem, TellsOfBytesThatAreNoText) {
  EXPECT_EQ(ofBytes("QmM1\n1\n3 50 1\nGr\xFCn 1 2 3 4\n"),
            "line 4, column 3, row 1 of 1 of head 3 with lens 50: expected a name, found bytes that are no text");
}

TEST_F(MaterialProblem, RemarksOnWhatIsReadOtherwiseThanItSeems) {
  EXPECT_THAT(remarksOf("QmM1\n2\n4 50 1\n3 50 1\na 1 2 3 4\nb 1 2 3 4\n"),
              ElementsAre("line 4, column 1: expected a pair behind those before it, as rows are read in their order, "
                          "found \"3\""));
  EXPECT_THAT(remarksOf("QmM1\n2\n3 50 1\n3 50 1\na 1 2 3 4\n"),
              ElementsAre("line 4, column 1: expected a pair that no earlier line has, found \"3\""));
  EXPECT_THAT(remarksOf("QmM1\n3\n3 50 1\n4 50 0\n3 50 1\na 1 2 3 4\n"),
              ElementsAre("line 5, column 1: expected a pair that no earlier line has, found \"3\""));
  EXPECT_THAT(remarksOf("QmM1\n1\n3 50 2\na 1 2 3 4\na 1 2 3 4\n"),
              ElementsAre("line 5, column 1, row 2 of 2 of head 3 with lens 50: "
                          "expected a name that no earlier row of the table has, found \"a\""));
}

TEST_F(MaterialProblem, HasItsPlaceBeyondABlockOfTheReader) {
  std::string text = "QmM1\n1\n3 50 20000\n";
  for (int row = 1; row < 20000; ++row) text += "m" + std::to_string(row) + " 1 2 3 4\n";
  EXPECT_THAT(of(text + "last 1 2 x 4\n"), StartsWith("line 20003, column 10, row 20000 of 20000"));
}

TEST_F(MaterialProblem, TellsOfFilesThatCannotBeOpened) {
  EXPECT_FALSE(QmMaterialIO(folder_.wide("absent").c_str()).read());
  EXPECT_EQ(lastProblem(), "there is no such file");
  EXPECT_FALSE(QmMaterialIO(folder_.wide("").c_str()).read());
  EXPECT_EQ(lastProblem(), "it is a directory");
}

TEST_F(MaterialProblem, IsTheWantOfMemoryWhereThatIsExhausted) {
  writeFile(folder_.path() / "m.txt", "QmM1\n1\n3 50 1\nname;that;is;longer;than;texts;hold 1 2 3 4\n");
  QmMaterialIO io(folder_.wide("m.txt").c_str());
  const auto met = quel::testing::failEachNew(
      [&] { return io.read(); },
      [](bool, bool failed) { EXPECT_EQ(lastProblem(), failed ? "memory is exhausted" : "none"); });
  EXPECT_GT(met, 5);
}

class XmlMaterialProblem : public testing::Test {
 protected:
  std::string of(const std::string& text, OPTICAL_HEAD head = OPTICAL_HEAD_2002_A) {
    writeFile(folder_.path() / "m.xml", text);
    QmXmlGlobalMaterialIO io;
    QmGlobalMaterialTable table;
    const bool read = io.Open(folder_.wide("m.xml").c_str()) && io.Read(head, table);
    EXPECT_EQ(read, qmLastProblem() == nullptr);
    return lastProblem();
  }

  static std::string table(const std::string& lenses) {
    return "<QuelmetraDataFile VersionFile=\"1\"><ConfigTable Type=\"GLOBAL_MATERIALS\">"
           "<OpticalHeadModel Type=\"OH2002\">" +
           lenses + "</OpticalHeadModel></ConfigTable></QuelmetraDataFile>";
  }

  TempDir folder_;
};

const std::string kProcess = "<Process Name=\"p\" Param1=\"1\" Param2=\"2\" Param3=\"3\"/>";
const std::string kMaterial = "<Material Name=\"m\">" + kProcess + "</Material>";

TEST_F(XmlMaterialProblem, TellsEachCauseApart) {
  EXPECT_EQ(of(table("<Lens Type=\"50\">" + kMaterial + "</Lens>")), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
  EXPECT_THAT(of("<a>\n<b></a>"), StartsWith("line 2, column "));
  EXPECT_EQ(of("<a/>"), "root: expected QuelmetraDataFile with VersionFile, found another one");
  EXPECT_EQ(of("<QuelmetraDataFile VersionFile=\"1\"/>"), "QuelmetraDataFile: expected ConfigTable, found none");
  EXPECT_EQ(of("<QuelmetraDataFile VersionFile=\"1\"><ConfigTable Type=\"x\"/></QuelmetraDataFile>"),
            "ConfigTable: expected \"GLOBAL_MATERIALS\" as Type, found \"x\"");
  EXPECT_EQ(of("<QuelmetraDataFile VersionFile=\"1\"><ConfigTable Type=\"GLOBAL_MATERIALS\"/></QuelmetraDataFile>"),
            "ConfigTable: expected OpticalHeadModel with Type \"OH2002\", found none");
  EXPECT_EQ(of(table("")), "OpticalHeadModel: no Lens with a complete Process");
  EXPECT_EQ(of(table(""), OPTICAL_HEAD_100), "head 1 has no materials");
  QmXmlGlobalMaterialIO io;
  EXPECT_FALSE(io.Open(u""));
  EXPECT_EQ(lastProblem(), "no file is named");
  EXPECT_FALSE(io.Open(folder_.wide("absent").c_str()));
  EXPECT_NE(lastProblem(), "none");
}

TEST_F(XmlMaterialProblem, IsThereForAFileThatIsCutAnywhere) {
  const std::string whole = table("<Lens Type=\"50\">" + kMaterial + "</Lens>");
  for (std::size_t size = 0; size < whole.size(); ++size) EXPECT_NE(of(whole.substr(0, size)), "none") << size;
}

TEST_F(XmlMaterialProblem, LeavesRemarksOnWhatIsLeftOut) {
  EXPECT_EQ(of(table("<Lens Type=\"x\"/><Lens Type=\"17\"/><Lens Type=\"50\"><Material/><Material Name=\"n\">"
                     "<Process/><Process Name=\"q\" Param1=\"1\"/></Material>" +
                     kMaterial +
                     "<Material Name=\"o\"><Process Name=\"p\" Param1=\"1,5\" Param2=\"2\" Param3=\"3\"/>"
                     "</Material></Lens>")),
            "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("Lens without a number as Type", "Lens 17 without a complete Material",
                          "Material without Name", "Process without Name", "Process without one of its numbers",
                          "Material without a complete Process", "Process: expected a number, found \"1,5\""));
}

}  // namespace

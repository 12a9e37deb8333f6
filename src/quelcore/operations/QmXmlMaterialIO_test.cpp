#include "quelcore/operations/QmXmlMaterialIO.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::Line;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::writeFile;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Key;
using testing::Pair;

constexpr QmLens lens(std::int32_t number) { return static_cast<QmLens>(number); }

MATCHER_P3(HasParams, a, b, c, "") { return arg.Param1 == a && arg.Param2 == b && arg.Param3 == c; }

std::string process(const std::string& name, const std::string& one = "1", const std::string& two = "2",
                    const std::string& three = "3") {
  return "<Process Name=\"" + name + "\" Param1=\"" + one + "\" Param2=\"" + two + "\" Param3=\"" + three + "\"/>";
}

std::string material(const std::string& name, const std::string& content) {
  return "<Material Name=\"" + name + "\">" + content + "</Material>";
}

std::string lensElement(const std::string& type, const std::string& content) {
  return "<Lens Type=\"" + type + "\">\n" + content + "\n</Lens>";
}

std::string model(const std::string& type, const std::string& content) {
  return "<OpticalHeadModel Type=\"" + type + "\">" + content + "</OpticalHeadModel>";
}

std::string config(const std::string& content, const std::string& type = "GLOBAL_MATERIALS") {
  return "<ConfigTable Type=\"" + type + "\">" + content + "</ConfigTable>";
}

std::string document(const std::string& content) {
  return "<QuelmetraDataFile VersionFile=\"1.0\">" + content + "</QuelmetraDataFile>";
}

const std::string kSteel = lensElement("50", material("Steel", process("milled")));

class GlobalMaterials : public testing::Test {
 protected:
  bool open(const std::string& text) {
    writeFile(folder_.path() / "materials.xml", text);
    return io_.Open(folder_.wide("materials.xml").c_str());
  }

  bool read(const std::string& text, OPTICAL_HEAD head = OPTICAL_HEAD_2002_A) {
    EXPECT_TRUE(open(text)) << text;
    return io_.Read(head, table_);
  }

  // Reads lenses of the model that heads 2002 share.
  bool readLenses(const std::string& lenses) { return read(document(config(model("OH2002", lenses)))); }

  TempDir folder_;
  RecordingLog log_;
  QmXmlGlobalMaterialIO io_;
  QmGlobalMaterialTable table_;
};

TEST_F(GlobalMaterials, AreReadByLensMaterialAndProcess) {
  EXPECT_TRUE(readLenses(lensElement("50", material("Steel", process("milled", "0.25", "1e3", "-7") + process("cast")) +
                                               material("Gr\xC3\xBCn", process("raw"))) +
                         lensElement("17", material("Steel", process("milled", "5", "6", "7")))));
  EXPECT_THAT(table_, ElementsAre(Key(lens(17)), Key(lens(50))));
  EXPECT_THAT(table_[lens(50)], ElementsAre(Key(u"Gr\u00FCn"), Key(u"Steel")));
  EXPECT_THAT(table_[lens(50)][u"Steel"],
              ElementsAre(Pair(u"cast", HasParams(1.0, 2.0, 3.0)), Pair(u"milled", HasParams(0.25, 1000.0, -7.0))));
  EXPECT_THAT(table_[lens(17)][u"Steel"], ElementsAre(Pair(u"milled", HasParams(5.0, 6.0, 7.0))));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(GlobalMaterials, AreTheSameForTheFourHeadsThatShareASection) {
  const std::string text = document(config(model("OH2002", kSteel)));
  for (const std::int32_t head : {3, 4, 5, 6}) {
    table_.clear();
    EXPECT_TRUE(read(text, static_cast<OPTICAL_HEAD>(head)));
    EXPECT_THAT(table_[lens(50)][u"Steel"], ElementsAre(Pair(u"milled", HasParams(1.0, 2.0, 3.0)))) << head;
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(GlobalMaterials, AreRefusedForHead100WithItsOwnLine) {
  EXPECT_FALSE(read(document(config(model("OH2002", kSteel))), OPTICAL_HEAD_100));
  EXPECT_THAT(log_.records(),
              ElementsAre(Line(5, "QmXmlMaterialIO", "Optical Head 100 don't supported in this version!")));
  EXPECT_THAT(table_, IsEmpty());
}

TEST_F(GlobalMaterials, AreRefusedForEveryOtherHeadByName) {
  struct Case {
    std::int32_t head;
    const char* name;
  };
  for (const Case& c : {Case{0, "Unknown"}, {2, "200"}, {7, "Unknown"}, {-1, "Unknown"}}) {
    log_.clear();
    EXPECT_FALSE(read(document(config(model("OH2002", kSteel))), static_cast<OPTICAL_HEAD>(c.head)));
    EXPECT_THAT(log_.records(),
                ElementsAre(Line(5, "QmXmlMaterialIO",
                                 "Optical Head '" + std::string(c.name) + "' don't supported in this version!")));
    EXPECT_THAT(table_, IsEmpty());
  }
}

TEST_F(GlobalMaterials, StayInTheTableWhenAHeadIsRefused) {
  const std::string text = document(config(model("OH2002", kSteel)));
  ASSERT_TRUE(read(text));
  for (const std::int32_t head : {0, 1, 2, 7}) {
    EXPECT_FALSE(read(text, static_cast<OPTICAL_HEAD>(head)));
    EXPECT_THAT(table_, ElementsAre(Key(lens(50))));
  }
}

TEST_F(GlobalMaterials, AreThoseOfTheFirstModelOfTheName) {
  EXPECT_TRUE(
      read(document(config(model("OH100", lensElement("17", material("A", process("p")))) + model("OH2002", kSteel) +
                           model("OH2002", lensElement("25", material("B", process("p"))))))));
  EXPECT_THAT(table_, ElementsAre(Key(lens(50))));
}

TEST_F(GlobalMaterials, AreAbsentWithoutAModelOfTheNameAndNothingIsLogged) {
  for (const char* type : {"OH2003", "oh2002", "OH2002 ", ""}) {
    EXPECT_FALSE(read(document(config(model(type, kSteel))))) << type;
  }
  EXPECT_FALSE(read(document(config(""))));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(GlobalMaterials, AreLookedForInTheFirstConfigTableOnly) {
  const std::string right = config(model("OH2002", kSteel));
  EXPECT_FALSE(read(document(config("", "OTHER") + right)));
  EXPECT_FALSE(read(document(config(model("OH2002", kSteel), "global_materials"))));
  EXPECT_FALSE(read(document("")));
  EXPECT_TRUE(read(document("<Other Type=\"OTHER\"/>" + right)));
}

TEST_F(GlobalMaterials, AreAbsentFromADocumentOfAnotherMake) {
  EXPECT_FALSE(read("<Other VersionFile=\"1.0\">" + config(model("OH2002", kSteel)) + "</Other>"));
  EXPECT_FALSE(read("<QuelmetraDataFile>" + config(model("OH2002", kSteel)) + "</QuelmetraDataFile>"));
}

TEST_F(GlobalMaterials, LeaveOutAProcessThatLacksANumberAndWhateverIsEmptyThen) {
  for (int missing = 1; missing <= 3; ++missing) {
    const auto number = [&](int i) { return i == missing ? "" : "1"; };
    EXPECT_FALSE(readLenses(lensElement("50", material("Steel", process("milled", number(1), number(2), number(3))))));
    EXPECT_THAT(table_, IsEmpty());
  }
  EXPECT_FALSE(
      readLenses(lensElement("50", material("Steel", "<Process Name=\"milled\" Param1=\"1\" Param3=\"3\"/>"))));
  EXPECT_TRUE(readLenses(lensElement("50", material("Steel", process("milled", "", "2", "3")) +
                                               material("Iron", process("p", "1", "", "3") + process("q")))));
  EXPECT_THAT(table_[lens(50)], ElementsAre(Pair(u"Iron", ElementsAre(Key(u"q")))));
}

TEST_F(GlobalMaterials, LeaveOutWhatHasNoName) {
  EXPECT_FALSE(readLenses(lensElement("50", material("", process("milled")) + material("Steel", process("")))));
  EXPECT_THAT(table_, IsEmpty());
}

TEST_F(GlobalMaterials, LeaveOutALensThatIsZeroOrNoNumber) {
  for (const char* type : {"0", "", "x", "+", "00"}) {
    EXPECT_FALSE(readLenses(lensElement(type, material("Steel", process("milled"))))) << type;
  }
  EXPECT_TRUE(readLenses(lensElement("50mm", material("Steel", process("milled")))));
  EXPECT_TRUE(readLenses(lensElement("-3", material("Steel", process("milled")))));
  EXPECT_THAT(table_, ElementsAre(Key(lens(-3)), Key(lens(50))));
}

TEST_F(GlobalMaterials, ReadTextThatIsNoNumberAsZero) {
  EXPECT_TRUE(readLenses(lensElement("50", material("Steel", process("milled", "x", "2x", " ")))));
  EXPECT_THAT(table_[lens(50)][u"Steel"][u"milled"], HasParams(0.0, 2.0, 0.0));
}

TEST_F(GlobalMaterials, TakeTheLaterOfTwoOfOneName) {
  EXPECT_TRUE(readLenses(lensElement("50", material("Steel", process("milled", "1") + process("milled", "9")) +
                                               material("Iron", process("a")) + material("Iron", process("b")))));
  EXPECT_THAT(table_[lens(50)][u"Steel"], ElementsAre(Pair(u"milled", HasParams(9.0, 2.0, 3.0))));
  EXPECT_THAT(table_[lens(50)][u"Iron"], ElementsAre(Key(u"b")));
  EXPECT_TRUE(readLenses(kSteel + lensElement("50", material("Zinc", process("p")))));
  EXPECT_THAT(table_[lens(50)], ElementsAre(Key(u"Zinc")));
}

TEST_F(GlobalMaterials, KeepWhatAnEmptySuccessorWouldReplace) {
  EXPECT_TRUE(readLenses(lensElement("50", material("Steel", process("milled")) + material("Steel", "")) +
                         lensElement("50", material("Zinc", ""))));
  EXPECT_THAT(table_[lens(50)], ElementsAre(Pair(u"Steel", ElementsAre(Key(u"milled")))));
}

TEST_F(GlobalMaterials, StayInATableThatIsReadIntoAgain) {
  EXPECT_TRUE(readLenses(kSteel));
  EXPECT_TRUE(readLenses(lensElement("17", material("Zinc", process("p")))));
  EXPECT_THAT(table_, ElementsAre(Key(lens(17)), Key(lens(50))));
  EXPECT_TRUE(readLenses(""));  // Adds nothing, but the table holds something.
  EXPECT_THAT(table_, ElementsAre(Key(lens(17)), Key(lens(50))));
}

TEST_F(GlobalMaterials, CanBeReadTwiceFromOneObject) {
  ASSERT_TRUE(open(document(config(model("OH2002", kSteel)))));
  EXPECT_TRUE(io_.Read(OPTICAL_HEAD_2002_A, table_));
  table_.clear();
  EXPECT_TRUE(io_.Read(OPTICAL_HEAD_2002_B, table_));
  EXPECT_THAT(table_, ElementsAre(Key(lens(50))));
}

TEST_F(GlobalMaterials, AreNotOpenedFromAnEmptyPathOrAFileThatIsNoXml) {
  EXPECT_FALSE(io_.Open(u""));
  EXPECT_FALSE(io_.Open(nullptr));
  EXPECT_FALSE(io_.Open(folder_.wide("absent").c_str()));
  EXPECT_FALSE(open("<QuelmetraDataFile"));
  EXPECT_FALSE(io_.Read(OPTICAL_HEAD_2002_A, table_));
}

TEST_F(GlobalMaterials, GiveTheWholeDocumentOnceItIsOpen) {
  qmWString text = u"before";
  EXPECT_FALSE(io_.ReadAllToStream(text));
  EXPECT_EQ(text, u"");
  ASSERT_TRUE(open("<A>\n</A>\n"));
  EXPECT_TRUE(io_.ReadAllToStream(text));
  EXPECT_EQ(text, u"<A>\n</A>\n");
}

// Opens what derived classes may use.
class OpenIO : public QmXmlGlobalMaterialIO {
 public:
  using QmXmlGlobalMaterialIO::FillMtrlTable;
  using QmXmlGlobalMaterialIO::GetHeadSection;
  using QmXmlGlobalMaterialIO::ReadMtrlTable;
};

TEST_F(GlobalMaterials, HaveNoSectionForAHeadThatIsRefused) {
  OpenIO io;
  qmWString section = u"before";
  EXPECT_FALSE(io.GetHeadSection(OPTICAL_HEAD_100, section));
  EXPECT_EQ(section, u"");
  section = u"before";
  EXPECT_FALSE(io.GetHeadSection(OPTICAL_HEAD_2002_A, section));
  EXPECT_EQ(section, u"");
}

TEST_F(GlobalMaterials, FillATableFromASectionOrGiveFalseWhenMemoryIsExhausted) {
  const qmWChar* text =
      u"<OpticalHeadModel><Lens Type=\"50\"><Material Name=\"Steel that has a long name\">"
      u"<Process Name=\"milled\" Param1=\"1\" Param2=\"2\" Param3=\"3\"/></Material></Lens></OpticalHeadModel>";
  QmXmlIO section;
  OpenIO io;
  const auto met = quel::testing::failEachNew(
      [&] {
        QmGlobalMaterialTable table;
        return section.SetDoc(text) && io.FillMtrlTable(section, table);
      },
      [](bool filled, bool failed) { EXPECT_EQ(filled, !failed); });
  EXPECT_GT(met, 3);
}

TEST_F(GlobalMaterials, GiveFalseOrTheWholeTableWhenMemoryIsExhausted) {
  ASSERT_TRUE(open(document(config(model("OH2002", kSteel)))));
  const auto met = quel::testing::failEachNew(
      [&] {
        QmGlobalMaterialTable table;
        const bool read = io_.Read(OPTICAL_HEAD_2002_A, table);
        EXPECT_TRUE(!read || table.begin()->second.size() == 1);
        return read;
      },
      [](bool read, bool failed) { EXPECT_TRUE(read || failed); });
  EXPECT_GT(met, 10);
}

}  // namespace

// What is told of a table of global materials that does not read, and of what is left out of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/operations/QmXmlMaterialIO.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using ::testing::AnyOf;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string document(const std::string& lenses) {
  return "<QuelmetraDataFile VersionFile=\"1.0\">\n<ConfigTable Type=\"GLOBAL_MATERIALS\">\n<OpticalHeadModel "
         "Type=\"OH2002\">\n" +
         lenses + "\n</OpticalHeadModel></ConfigTable></QuelmetraDataFile>";
}

std::string lensOf(const std::string& processes) {
  return "<Lens Type=\"50\"><Material Name=\"Steel\">" + processes + "</Material></Lens>";
}

const std::string kProcess = "<Process Name=\"milled\" Param1=\"0.25\" Param2=\"1.5\" Param3=\"3\"/>";
const std::string kSound = document(lensOf(kProcess));

class GlobalMaterialsProblem : public testing::Test {
 protected:
  bool open(const std::string& text) {
    writeFile(path(), text);
    return io_.Open(wide().c_str());
  }

  /// The problem that reading leaves of a file that opens.
  std::string problemOf(const std::string& text, OPTICAL_HEAD head = OPTICAL_HEAD_2002_A) {
    EXPECT_TRUE(open(text)) << text;
    EXPECT_EQ(lastProblem(), "none");
    QmGlobalMaterialTable table;
    const bool read = io_.Read(head, table);
    EXPECT_EQ(read, qmLastProblem() == nullptr) << text;
    return lastProblem();
  }

  std::filesystem::path path() const { return folder_.path() / "materials.xml"; }
  std::u16string wide() const { return folder_.wide("materials.xml"); }

  RecordingLog log_;
  TempDir folder_;
  QmXmlGlobalMaterialIO io_;
};

TEST_F(GlobalMaterialsProblem, IsThereForNoSoundFile) {
  EXPECT_FALSE(open("x"));
  EXPECT_NE(lastProblem(), "none");
  EXPECT_EQ(problemOf(kSound), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(GlobalMaterialsProblem, TellsWhyAFileCannotBeOpened) {
  expectUnreadableTold(path(), kUnopenedXml, [this] { EXPECT_FALSE(io_.Open(wide().c_str())); });
  for (const qmWChar* none : {static_cast<const qmWChar*>(nullptr), u""}) {
    EXPECT_FALSE(io_.Open(none));
    EXPECT_EQ(lastProblem(), "no file is named");
  }
}

TEST_F(GlobalMaterialsProblem, TellsThePlaceWhereverTheFileIsCut) {
  expectEveryXmlCutTold(kSound, [this](const std::string& text) { EXPECT_FALSE(open(text)); });
}

TEST_F(GlobalMaterialsProblem, SaysWhatTheFileLacks) {
  const std::string begin = "<QuelmetraDataFile VersionFile=\"1.0\">";
  const std::string end = "</QuelmetraDataFile>";
  const std::pair<std::string, std::string> cases[] = {
      {"<Other VersionFile=\"1.0\"/>", "root: expected QuelmetraDataFile with VersionFile, found another one"},
      {begin + end, "QuelmetraDataFile: expected ConfigTable, found none"},
      {begin + "<ConfigTable Type=\"X\"/>" + end, "ConfigTable: expected \"GLOBAL_MATERIALS\" as Type, found \"X\""},
      {begin + "<ConfigTable Type=\"GLOBAL_MATERIALS\"/>" + end,
       "ConfigTable: expected OpticalHeadModel with Type \"OH2002\", found none"},
      {document(""), "OpticalHeadModel: no Lens with a complete Process"},
  };
  for (const auto& [text, told] : cases) EXPECT_EQ(problemOf(text), told) << text;
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path());
  EXPECT_EQ(problemOf(kSound, OPTICAL_HEAD_100), "head 1 has no materials");
}

TEST_F(GlobalMaterialsProblem, RemarksOnWhatIsLeftOut) {
  const std::string broken = "<Process Name=\"a\" Param1=\"1\" Param2=\"2\"/><Process Param1=\"1\"/>";
  EXPECT_EQ(problemOf(document("<Lens Type=\"x\"/><Lens Type=\"35\"/>" + lensOf(broken + kProcess) +
                               "<Lens Type=\"12\"><Material/><Material Name=\"m\"/></Lens>")),
            "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("Lens without a number as Type", "Lens 35 without a complete Material",
                          "Process without one of its numbers", "Process without Name", "Material without Name",
                          "Material without a complete Process", "Lens 12 without a complete Material"));
}

TEST_F(GlobalMaterialsProblem, RemarksOnTextThatIsNoNumber) {
  EXPECT_EQ(problemOf(document(lensOf("<Process Name=\"a\" Param1=\"1,5\" Param2=\"2\" Param3=\"x\"/>"))), "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("Process: expected a number, found \"1,5\"", "Process: expected a number, found \"x\""));
}

TEST_F(GlobalMaterialsProblem, OfExhaustedMemoryIsThat) {
  writeFile(path(), kSound);
  const std::u16string name = wide();
  const auto check = [](bool read, bool failed) {
    EXPECT_TRUE(read || failed);
    if (read) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // A document without the memory to look for an element says that there is none.
      EXPECT_THAT(lastProblem(),
                  AnyOf("memory is exhausted", "root: expected QuelmetraDataFile with VersionFile, found another one",
                        "ConfigTable: expected OpticalHeadModel with Type \"OH2002\", found none"));
    }
  };
  EXPECT_GT(failEachNew([&] { return io_.Open(name.c_str()); }, check), 3);
  const auto read = [&] {
    QmGlobalMaterialTable table;
    return io_.Read(OPTICAL_HEAD_2002_B, table);
  };
  EXPECT_GT(failEachNew(read, check), 3);
}

TEST_F(GlobalMaterialsProblem, IsEachThreadsOwn) {
  writeFile(path(), "<a>");
  expectThreadsApart("line 1, column 4: <a> is not closed", [this] {
    QmXmlGlobalMaterialIO io;
    io.Open(wide().c_str());
  });
}

}  // namespace

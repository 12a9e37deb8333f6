// What is told of a correction table that does not load, and of elements in it that do not count.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "quelcore/base/problems_fixture.h"
#include "quelcore/blocks/QmBlockCorrectionParameters.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string table(const std::string& elements) {
  return "<BlockCorrectionParameters>\n" + elements + "\n</BlockCorrectionParameters>";
}

const std::string kSound = table("<BlockParameter Name=\"ax\" CameraId=\"0\" Value=\"-1.5e-3\"/>\n<Other/>");

class CorrectionProblem : public testing::Test {
 protected:
  std::string problemOf(const std::string& text) {
    writeFile(path(), text);
    QmBlockCorrectionParameters table;
    const bool loaded = table.Initialize(wide());
    EXPECT_EQ(loaded, qmLastProblem() == nullptr) << text;
    return lastProblem();
  }

  std::filesystem::path path() const { return folder_.path() / "table.xml"; }
  std::u16string wide() const { return folder_.wide("table.xml"); }

  RecordingLog log_;
  TempDir folder_;
};

TEST_F(CorrectionProblem, IsThereForNoSoundFile) {
  EXPECT_NE(problemOf("x"), "none");
  EXPECT_EQ(problemOf(kSound), "none");
  EXPECT_THAT(lastRemarks(), IsEmpty());
}

TEST_F(CorrectionProblem, TellsWhyAFileCannotBeOpened) {
  const std::array<std::string, 3> told = {kUnopened[0], kUnopened[1], kUnopenedXml[2]};
  expectUnreadableTold(path(), told, [this] {
    QmBlockCorrectionParameters table;
    EXPECT_FALSE(table.Initialize(wide()));
  });
  EXPECT_TRUE(QmBlockCorrectionParameters().Initialize(u""));  // The name loaded last.
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(CorrectionProblem, OfAnEmptyNameIsThatNoFileIsNamed) {
  writeFile(path(), kSound);
  QmBlockCorrectionParameters table;
  EXPECT_TRUE(table.Initialize(wide()));
  EXPECT_FALSE(table.Initialize(u""));
  EXPECT_EQ(lastProblem(), "no file is named");
}

TEST_F(CorrectionProblem, TellsThePlaceWhereverTheFileIsCut) {
  expectEveryXmlCutTold(kSound, [this](const std::string& text) { problemOf(text); });
}

TEST_F(CorrectionProblem, SaysThatTheRootIsAnother) {
  EXPECT_EQ(problemOf("<Others/>"), "expected BlockCorrectionParameters, found another root");
  EXPECT_EQ(std::filesystem::path(qmLastProblem()->file), path());
}

TEST_F(CorrectionProblem, RemarksOnElementsThatDoNotCountWithTheirPlace) {
  EXPECT_EQ(problemOf(table("  <BlockParameter CameraId=\"0\" Value=\"1\"/>\n"
                            "<BlockParameter Name=\"a\" CameraId=\"one\" Value=\"1,5\"/>\n"
                            "<!-- <BlockParameter/> --> <BlockParameter Name=\"b\" CameraId=\"0\" Value=\"1\"/>"
                            "<BlockParameter Name=\"B\" CameraId=\"0\" Value=\"2\"/>")),
            "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("line 2, column 3, BlockParameter 1: no Name, so it is passed over",
                          "line 3, column 1, BlockParameter 2: expected a whole number as CameraId, found \"one\"",
                          "line 3, column 1, BlockParameter 2: expected a number as Value, found \"1,5\"",
                          "line 4, column 77, BlockParameter 4: expected a name that no earlier element has for the "
                          "camera, found \"b\""));
}

TEST_F(CorrectionProblem, OfExhaustedMemoryIsThat) {
  writeFile(path(), kSound);
  const std::u16string name = wide();
  const auto load = [&] { return QmBlockCorrectionParameters().Initialize(name); };
  const std::int64_t failures = failEachNew(load, [](bool loaded, bool failed) {
    EXPECT_TRUE(loaded || failed);
    if (loaded) {
      EXPECT_EQ(lastProblem(), "none");
    } else {  // A document without the memory to look for its root says that there is none.
      EXPECT_THAT(lastProblem(), testing::AnyOf("memory is exhausted", "it could not be found at first",
                                                "expected BlockCorrectionParameters, found another root"));
    }
  });
  EXPECT_GT(failures, 3);
}

TEST_F(CorrectionProblem, IsEachThreadsOwn) {
  expectThreadsApart("there is no such file", [this] { QmBlockCorrectionParameters().Initialize(wide()); });
}

}  // namespace

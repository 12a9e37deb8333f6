#include "quelcore/blocks/QmBlockCorrectionParameters.h"

#include "quelcore/base/problems_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <utility>

#include "quelplatform/qmEnv/qmText.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

using quel::testing::Line;
using quel::testing::Message;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::writeFile;
using ::testing::ElementsAre;

constexpr const char* kModule = "QmBlockCorrectionParameters";

class CorrectionTableTest : public ::testing::Test {
 protected:
  std::u16string write(const std::string& content, const std::string& name = "table.xml") {
    writeFile(dir_.path() / name, content);
    return dir_.wide(name);
  }
  std::u16string writeTable(const std::string& elements, const std::string& name = "table.xml") {
    return write("<BlockCorrectionParameters>" + elements + "</BlockCorrectionParameters>", name);
  }
  std::string narrow(const std::u16string& text) const { return toNarrow(text); }

  /// The value, or -99 where there is none.
  double value(qmWString name, std::uint32_t camera) {
    double result = -99.0;
    const bool found = table_.GetParameter(name, camera, result);
    EXPECT_EQ(found, result != -99.0);
    return result;
  }

  TempDir dir_;
  QmBlockCorrectionParameters table_;
};

TEST_F(CorrectionTableTest, FindsValuesByNameAndCamera) {
  ASSERT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="ax" CameraId="0" Value="0.0125"/>
      <BlockParameter Name="ax" CameraId="2" Value="-1.5e-3"/><BlockParameter Name="D01" CameraId="1" Value="3"/>)")));
  EXPECT_EQ(value(u"ax", 0), 0.0125);
  EXPECT_EQ(value(u"ax", 2), -1.5e-3);
  EXPECT_EQ(value(u"ax", 1), -99.0);
  EXPECT_EQ(value(u"D01", 1), 3.0);
  EXPECT_EQ(value(u"d01", 1), 3.0);
  EXPECT_EQ(value(u"ay", 0), -99.0);
}

TEST_F(CorrectionTableTest, FindsNamesWhateverTheirCaseAndLowersTheCallers) {
  ASSERT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="SKEW" CameraId="0" Value="7"/>)")));
  qmWString name = u"sKeW";
  double result = 0.0;
  EXPECT_TRUE(table_.GetParameter(name, 0, result));
  EXPECT_EQ(result, 7.0);
  EXPECT_EQ(name, u"skew");
  name = u"MISSING";
  EXPECT_FALSE(table_.GetParameter(name, 0, result));
  EXPECT_EQ(name, u"missing");
}

TEST_F(CorrectionTableTest, TakesMissingCamerasAndValuesForZeroAndSkipsNamelessElements) {
  ASSERT_TRUE(table_.Initialize(writeTable(
      R"(<BlockParameter Name="a" Value="1"/><BlockParameter Name="b" CameraId="1"/><BlockParameter CameraId="0" Value="9"/>
         <BlockParameter Name="" CameraId="0" Value="9"/><BlockParameter Name="c" CameraId="x" Value="y"/>)")));
  EXPECT_EQ(value(u"a", 0), 1.0);
  EXPECT_EQ(value(u"b", 1), 0.0);
  EXPECT_EQ(value(u"c", 0), 0.0);
  EXPECT_EQ(value(u"", 0), -99.0);
}

TEST_F(CorrectionTableTest, KeepsTheFirstOfEqualElements) {
  ASSERT_TRUE(table_.Initialize(writeTable(
      R"(<BlockParameter Name="k1" CameraId="0" Value="1"/><BlockParameter Name="K1" CameraId="0" Value="2"/>)")));
  EXPECT_EQ(value(u"k1", 0), 1.0);
}

TEST_F(CorrectionTableTest, PassesOverElementsOfOtherNames) {
  ASSERT_TRUE(table_.Initialize(writeTable(
      R"(<Other Name="k1" CameraId="0" Value="1"/><BlockParameter Name="k2" CameraId="0" Value="2"/><Last/>)")));
  EXPECT_EQ(value(u"k1", 0), -99.0);
  EXPECT_EQ(value(u"k2", 0), 2.0);
}

TEST_F(CorrectionTableTest, IsEmptyForARootWithoutElements) {
  EXPECT_TRUE(table_.Initialize(writeTable("")));
  EXPECT_TRUE(table_.IsInitialized());
  EXPECT_EQ(value(u"k1", 0), -99.0);
}

TEST_F(CorrectionTableTest, TellsWhatItLoadsAndLooksUp) {
  const std::u16string file = writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)");
  {
    const RecordingLog log;
    ASSERT_TRUE(table_.Initialize(file));
    EXPECT_THAT(log.records(),
                ElementsAre(Line(0, kModule, "Start of Initialize()"), Line(0, kModule, "compare file names:"),
                            Line(0, kModule, "'' vs. '" + narrow(file) + "'"),
                            Line(0, kModule, "Load Tensor Correction Table from file: " + narrow(file))));
  }
  const RecordingLog log;
  value(u"K3", 2);
  EXPECT_THAT(
      log.records(),
      ElementsAre(Line(0, kModule, "Start of Initialize()"), Line(0, kModule, "compare file names:"),
                  Line(0, kModule, "'" + narrow(file) + "' vs. '" + narrow(file) + "'"),
                  Line(4, kModule, "Block Correction Parameter k3 for camera 2 is not existed within the file.")));
}

TEST_F(CorrectionTableTest, DoesNotReadTheSameFileAgain) {
  const std::u16string file = writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)");
  ASSERT_TRUE(table_.Initialize(file));
  writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="2"/>)");
  EXPECT_TRUE(table_.Initialize(file));
  EXPECT_EQ(value(u"k1", 0), 1.0);
  std::filesystem::remove(dir_.path() / "table.xml");
  EXPECT_TRUE(table_.Initialize(file));
  EXPECT_EQ(value(u"k1", 0), 1.0);
  EXPECT_FALSE(table_.IsInitialized());
}

TEST_F(CorrectionTableTest, TakesANameInOtherCaseForAnotherFile) {
  ASSERT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)")));
  ASSERT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="k2" CameraId="0" Value="2"/>)", "TABLE.xml")));
  EXPECT_EQ(value(u"k1", 0), -99.0);
  EXPECT_EQ(value(u"k2", 0), 2.0);
}

TEST_F(CorrectionTableTest, TakesTheEmptyNameOfANewObjectForLoaded) {
  EXPECT_TRUE(table_.Initialize(u""));
  const RecordingLog log;
  EXPECT_FALSE(table_.IsInitialized());
  EXPECT_THAT(log.records(),
              ElementsAre(Line(4, kModule, "Block Correction Parameters file is empty or don't exist: ")));
}

TEST_F(CorrectionTableTest, StaysAsItIsWhenTheFileDoesNotExist) {
  ASSERT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)")));
  const std::u16string missing = dir_.wide("missing.xml");
  const RecordingLog log;
  EXPECT_FALSE(table_.Initialize(missing));
  EXPECT_THAT(log.records().back(),
              Line(4, kModule, "Block Correction Parameters file is empty or don't exist: " + narrow(missing)));
  EXPECT_EQ(log.records().size(), 4U);
  EXPECT_FALSE(table_.Initialize(u""));
  EXPECT_EQ(value(u"k1", 0), 1.0);
}

TEST_F(CorrectionTableTest, LeavesBothRecordsForAFileThatCannotBeRead) {
  const std::u16string bad = write("<BlockCorrectionParameters><Block");
  const RecordingLog log;
  EXPECT_FALSE(table_.Initialize(bad));
  const auto records = log.records();
  ASSERT_EQ(records.size(), 6U);
  EXPECT_THAT(records[3], Message(5, kModule, 0xC43D001E, narrow(bad)));
  EXPECT_THAT(records[4], Line(4, kModule, "NOT found BlockCorrectionParameters in file " + narrow(bad)));
  EXPECT_THAT(records[5], Line(5, kModule, "Failed to load Tensor Correction Table from file: " + narrow(bad)));
}

TEST_F(CorrectionTableTest, RefusesAnotherRoot) {
  const std::u16string other = write("<Something/>");
  const RecordingLog log;
  EXPECT_FALSE(table_.Initialize(other));
  const auto records = log.records();
  ASSERT_EQ(records.size(), 5U);
  EXPECT_THAT(records[3], Line(4, kModule, "NOT found BlockCorrectionParameters in file " + narrow(other)));
}

TEST_F(CorrectionTableTest, IsEmptyUnderTheOldNameAfterABadFile) {
  const std::u16string good = writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)");
  ASSERT_TRUE(table_.Initialize(good));
  ASSERT_FALSE(table_.Initialize(write("nonsense", "bad.xml")));
  EXPECT_TRUE(table_.Initialize(good));
  EXPECT_EQ(value(u"k1", 0), -99.0);
}

TEST_F(CorrectionTableTest, HoldsInsertedValuesUnderTheirNameAsItIs) {
  table_.insertParameterValue(u"k1", 0, 1.0);
  table_.insertParameterValue(u"k1", 0, 2.0);
  table_.insertParameterValue(u"Kay", 0, 3.0);
  EXPECT_EQ(value(u"k1", 0), 1.0);
  EXPECT_EQ(value(u"Kay", 0), -99.0);
  EXPECT_EQ(value(u"kay", 0), -99.0);
}

TEST_F(CorrectionTableTest, IsCopiedWithItsFileName) {
  const std::u16string file = writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)");
  ASSERT_TRUE(table_.Initialize(file));
  QmBlockCorrectionParameters copy(table_);
  QmBlockCorrectionParameters assigned;
  assigned = table_;
  table_.insertParameterValue(u"k2", 0, 2.0);
  for (QmBlockCorrectionParameters* each : {&copy, &assigned}) {
    qmWString name = u"k1";
    double result = 0.0;
    EXPECT_TRUE(each->GetParameter(name, 0, result));
    EXPECT_EQ(result, 1.0);
    EXPECT_TRUE(each->IsInitialized());
    name = u"k2";
    EXPECT_FALSE(each->GetParameter(name, 0, result));
  }
}

TEST_F(CorrectionTableTest, IsNeverHalfReadWhereverMemoryRunsOut) {
  std::string elements;
  for (int i = 0; i < 5; ++i) {
    elements += "<BlockParameter Name=\"a parameter of a long name " + std::to_string(i) +
                "\" CameraId=\"1\" Value=\"-1234567890.12345678901234567890\"/>";
  }
  const std::u16string old = writeTable(R"(<BlockParameter Name="k1" CameraId="0" Value="1"/>)", "old.xml");
  const std::u16string file = writeTable(elements);
  const auto failures = quel::testing::failEachNew(
      [&] {
        table_ = QmBlockCorrectionParameters();
        const std::int64_t later = std::exchange(quel::testing::newSuccesses, -1);
        EXPECT_TRUE(table_.Initialize(old));
        quel::testing::newSuccesses = later;
        return table_.Initialize(file);
      },
      [&](bool read, bool failed) {
        EXPECT_TRUE(read || failed);
        for (int i = 0; i < 5; ++i) {
          const std::string name = "a parameter of a long name " + std::to_string(i);
          EXPECT_EQ(value(toWide(name), 1), read ? -1234567890.1234567 : -99.0);
        }
        // Not found: emptied, or never touched because the file could not be looked for.
        const double before = value(u"k1", 0);
        EXPECT_TRUE(before == -99.0 || (!read && before == 1.0));
      });
  EXPECT_GT(failures, 5);
}

TEST_F(CorrectionTableTest, LooksUpWithoutMemory) {
  table_.insertParameterValue(u"a parameter of a long name", 1, 2.5);
  qmWString known = u"A Parameter of a long name";
  qmWString unknown = u"Another parameter of a long name";
  double result = 0.0;
  quel::testing::failEachNew(
      [&] {
        const bool found = table_.GetParameter(known, 1, result);
        return found && !table_.GetParameter(unknown, 1, result);
      },
      [&](bool right, bool) {
        EXPECT_TRUE(right);
        EXPECT_EQ(result, 2.5);
        EXPECT_EQ(known, u"a parameter of a long name");
        EXPECT_EQ(unknown, u"another parameter of a long name");
      });
}

using quel::testing::lastProblem;
using quel::testing::lastRemarks;

TEST_F(CorrectionTableTest, TellsWhyAFileIsNotTaken) {
  EXPECT_TRUE(table_.Initialize(writeTable(R"(<BlockParameter Name="ax" CameraId="0" Value="1"/>)", "sound.xml")));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(), ::testing::IsEmpty());
  EXPECT_FALSE(table_.Initialize(u""));
  EXPECT_EQ(lastProblem(), "no file is named");
  EXPECT_FALSE(table_.Initialize(dir_.wide("absent.xml")));
  EXPECT_EQ(lastProblem(), "there is no such file");
  EXPECT_FALSE(table_.Initialize(write("<Other/>")));
  EXPECT_EQ(lastProblem(), "expected BlockCorrectionParameters, found another root");
  EXPECT_FALSE(table_.Initialize(write("<BlockCorrectionParameters>\n <BlockParameter</BlockCorrectionParameters>")));
  EXPECT_THAT(lastProblem(), ::testing::StartsWith("line 2, column "));
}

TEST_F(CorrectionTableTest, TellsOfAFileThatIsCutAnywhere) {
  const std::string whole =
      R"(<BlockCorrectionParameters><BlockParameter Name="a" CameraId="0" Value="1"/></BlockCorrectionParameters>)";
  for (std::size_t size = 0; size <= whole.size(); ++size) {
    QmBlockCorrectionParameters table;
    const bool taken = table.Initialize(write(whole.substr(0, size), "cut.xml"));
    EXPECT_EQ(taken, size == whole.size());
    EXPECT_EQ(taken, lastProblem() == "none") << size;
  }
  EXPECT_EQ(lastProblem(), "none");
}

TEST_F(CorrectionTableTest, RemarksOnElementsThatAreReadOtherwiseThanTheySeem) {
  EXPECT_TRUE(
      table_.Initialize(writeTable("\n<BlockParameter CameraId='0' Value='1'/>\n"
                                   "<BlockParameter Name='ax' CameraId='zero' Value='1'/>"
                                   "<BlockParameter Name='AX' CameraId='0' Value='1,5'/>")));
  EXPECT_EQ(lastProblem(), "none");
  EXPECT_THAT(lastRemarks(),
              ElementsAre("line 2, column 1, BlockParameter 1: no Name, so it is passed over",
                          "line 3, column 1, BlockParameter 2: expected a whole number as CameraId, found \"zero\"",
                          "line 3, column 54, BlockParameter 3: expected a number as Value, found \"1,5\"",
                          "line 3, column 54, BlockParameter 3: "
                          "expected a name that no earlier element has for the camera, found \"ax\""));
}

}  // namespace

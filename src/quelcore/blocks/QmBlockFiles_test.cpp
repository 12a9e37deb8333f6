// Copying the files of a block between directories.
#include <gtest/gtest.h>

#include <filesystem>

#include "quelcore/blocks/QmBlockNames.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/windows.h"
#include "testing/FailingNew.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;

using quel::testing::Line;
using quel::testing::Message;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmBlockNames";

class BlockFilesTest : public ::testing::Test {
 protected:
  BlockFilesTest() {
    for (const char* name : {"first", "second", "target"}) fs::create_directory(dir_.path() / name);
  }

  fs::path path(const std::string& file) const { return dir_.path() / file; }
  std::u16string wide(const std::string& directory) const { return dir_.wide(directory); }
  std::string joined(const std::string& directory, const std::string& name) const {
    return toNarrow(wide(directory) + QmWorkPlace::path_separator) + name;
  }

  bool copyLuts(const std::u16string& block) { return CopyBlockLuts(wide("first"), wide("target"), block); }
  bool copyBlock(const char16_t* name) { return CopyImageBlock(name, wide("first"), wide("second"), wide("target")); }

  TempDir dir_;
};

TEST_F(BlockFilesTest, CopiesTheLutsThatGoWithABlockFile) {
  writeFile(path("first/ABC-12.lut"), "tables");
  const RecordingLog log;
  EXPECT_TRUE(copyLuts(u"ABC-12.tns"));
  EXPECT_EQ(readFile(path("target/ABC-12.lut")), "tables");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BlockFilesTest, CutsTheBlockFileNameAtItsFirstDot) {
  writeFile(path("first/x.lut"), "tables");
  EXPECT_TRUE(copyLuts(u"x.y.tns"));
  EXPECT_TRUE(fs::exists(path("target/x.lut")));
}

TEST_F(BlockFilesTest, TakesTheBareNameOfAPathAndANameWithoutADotAsItIs) {
  writeFile(path("first/x.lut"), "tables");
  writeFile(path("first/plain"), "p");
  EXPECT_TRUE(copyLuts(u"some/where\\x.tns"));
  EXPECT_TRUE(fs::exists(path("target/x.lut")));
  EXPECT_TRUE(copyLuts(u"plain"));
  EXPECT_TRUE(fs::exists(path("target/plain")));
}

TEST_F(BlockFilesTest, LooksForTheLutsOfATiledBlockUnderTheTilesName) {
  writeFile(path("first/ABC-12.lut"), "tables");
  EXPECT_TRUE(copyLuts(u"ABC-12_3.tns"));
  EXPECT_TRUE(fs::is_empty(path("target")));
}

TEST_F(BlockFilesTest, LeavesAbsentLutsAndExistingTargetsAlone) {
  const RecordingLog log;
  EXPECT_TRUE(copyLuts(u"ABC-12.tns"));
  writeFile(path("first/ABC-12.lut"), "new");
  writeFile(path("target/ABC-12.lut"), "old");
  EXPECT_TRUE(copyLuts(u"ABC-12.tns"));
  EXPECT_EQ(readFile(path("target/ABC-12.lut")), "old");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BlockFilesTest, ReportsLutsThatCannotBeCopiedAndSucceeds) {
  writeFile(path("first/ABC-12.lut"), "tables");
  fs::remove(path("target"));
  const RecordingLog log;
  EXPECT_TRUE(copyLuts(u"ABC-12.tns"));
  const std::string reason = toNarrow(QmFormatMessageW(GetLastError()));
  EXPECT_FALSE(reason.empty());
  EXPECT_THAT(log.records(),
              ElementsAre(Message(5, kModule, 0xc4010026, joined("first", "ABC-12.lut") + "|" + reason)));
}

TEST_F(BlockFilesTest, NeverCopiesACorrectionFile) {
  writeFile(path("first/correction.xml"), "c");
  EXPECT_FALSE(CopyBlockCorrectionFile(u"correction.xml", wide("first"), wide("target")));
  EXPECT_FALSE(CopyBlockCorrectionFile(u"", wide("first"), wide("target")));
  EXPECT_FALSE(CopyBlockCorrectionFile(u"missing.xml", wide("first"), wide("target")));
  EXPECT_TRUE(fs::is_empty(path("target")));
}

TEST_F(BlockFilesTest, CopiesABlockWithItsLutsFromTheFirstDirectory) {
  writeFile(path("first/ABC-12.tns"), "one");
  writeFile(path("second/ABC-12.tns"), "two");
  writeFile(path("first/ABC-12.lut"), "luts one");
  EXPECT_TRUE(copyBlock(u"ABC-12.tns"));
  EXPECT_EQ(readFile(path("target/ABC-12.tns")), "one");
  EXPECT_EQ(readFile(path("target/ABC-12.lut")), "luts one");
}

TEST_F(BlockFilesTest, CopiesABlockWithItsLutsFromTheSecondDirectoryIfTheFirstLacksIt) {
  writeFile(path("second/ABC-12.tns"), "two");
  writeFile(path("first/ABC-12.lut"), "luts one");
  writeFile(path("second/ABC-12.lut"), "luts two");
  EXPECT_TRUE(copyBlock(u"ABC-12.tns"));
  EXPECT_EQ(readFile(path("target/ABC-12.tns")), "two");
  EXPECT_EQ(readFile(path("target/ABC-12.lut")), "luts two");
}

TEST_F(BlockFilesTest, LeavesABlockThatIsThereAloneWithItsLuts) {
  writeFile(path("first/ABC-12.tns"), "new");
  writeFile(path("first/ABC-12.lut"), "new luts");
  writeFile(path("target/ABC-12.tns"), "old");
  EXPECT_TRUE(copyBlock(u"ABC-12.tns"));
  EXPECT_EQ(readFile(path("target/ABC-12.tns")), "old");
  EXPECT_FALSE(fs::exists(path("target/ABC-12.lut")));
}

TEST_F(BlockFilesTest, NotesABlockThatIsNowhere) {
  const RecordingLog log;
  EXPECT_FALSE(copyBlock(u"ABC-12.tns"));
  EXPECT_THAT(log.records(),
              ElementsAre(Line(4, kModule,
                               "cannot copy file ABC-12.tns: file doesn't exist not in \"" + path("first").string() +
                                   "\" and not in \"" + path("second").string() + "\" directory")));
}

TEST_F(BlockFilesTest, DoesNotLookInAnEmptySecondDirectory) {
  // Joined with an empty directory, the name would be looked for in the root of the file system.
  const RecordingLog log;
  EXPECT_FALSE(CopyImageBlock(u"etc", wide("first"), u"", wide("target")));
  EXPECT_EQ(log.records().size(), 1U);
}

TEST_F(BlockFilesTest, MakesTheTargetDirectory) {
  writeFile(path("first/ABC-12.tns"), "one");
  const RecordingLog log;
  EXPECT_TRUE(CopyImageBlock(u"ABC-12.tns", wide("first"), u"", wide("new/deep")));
  EXPECT_EQ(readFile(path("new/deep/ABC-12.tns")), "one");
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(BlockFilesTest, CarriesOnWhenTheTargetDirectoryCannotBeMade) {
  writeFile(path("first/ABC-12.tns"), "one");
  writeFile(path("file"), "in the way");
  const RecordingLog log;
  EXPECT_TRUE(CopyImageBlock(u"ABC-12.tns", wide("first"), u"", wide("file/target")));
  const auto records = log.records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_THAT(records[0], Line(5, kModule, "cannot create directory " + path("file/target").string()));
  EXPECT_EQ(records[1].code, 0xc4010026U);
}

TEST_F(BlockFilesTest, FailsWithoutAnExceptionWhereverMemoryRunsOut) {
  writeFile(path("first/ABC-12.tns"), "one");
  writeFile(path("first/ABC-12.lut"), "luts one");
  const std::u16string first = wide("first");
  const std::u16string second = wide("second");
  const std::u16string target = wide("target");
  const auto failures = quel::testing::failEachNew([&] { return CopyImageBlock(u"ABC-12.tns", first, second, target); },
                                                   [&](bool copied, bool failed) {
                                                     EXPECT_TRUE(copied || failed);
                                                     fs::remove(path("target/ABC-12.tns"));
                                                     fs::remove(path("target/ABC-12.lut"));
                                                   });
  EXPECT_GT(failures, 5);
}

TEST_F(BlockFilesTest, RefusesANullName) {
  const RecordingLog log;
  EXPECT_FALSE(copyBlock(nullptr));
  EXPECT_THAT(log.records(), IsEmpty());
}

}  // namespace

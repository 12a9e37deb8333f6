// Writing tensor files: every byte of every version, and what a failed write leaves.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>

#include "quelcore/tensor/QmReconsTensorIO.h"
#include "quelcore/tensor/qmReconsTensorLifecycle.h"
#include "quelplatform/qmEnv/qmText.h"
#include "testing/AsNobody.h"
#include "testing/BeforeCalls.h"
#include "testing/FileSizeLimit.h"
#include "testing/RecordingLog.h"
#include "testing/SampleHead.h"
#include "testing/TempHome.h"
#include "testing/TensorFile.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::differingFields;
using quel::testing::FileSizeLimit;
using quel::testing::Message;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::SampleHead;
using quel::testing::TempDir;
using quel::testing::tensorFileBytes;
using quel::testing::writeFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "QmReconsTensorIO";

class TensorStoreTest : public ::testing::Test {
 protected:
  TensorStoreTest() {
    quel::testing::fillPreservedFields(content());
    for (auto* infos : {content().distortLutsInfo, content().distortLutsInfo2}) {
      infos[1].useLut = 1;
      std::strcpy(infos[1].lutId, infos == content().distortLutsInfo ? "ABCD12340000000007001" : "Y");
    }
  }

  tag_qmReconsTensorData& content() { return *head_.tensor(); }
  std::string path() const { return (dir_.path() / "block.tns").string(); }
  std::u16string widePath() const { return dir_.wide("block.tns"); }
  std::string stored() const { return readFile(path()); }

  SampleHead head_;
  TempDir dir_;
};

TEST_F(TensorStoreTest, WritesEveryByteOfTheNewestVersion) {
  const RecordingLog log;
  ASSERT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 1);
  EXPECT_TRUE(stored() == tensorFileBytes(content(), -17));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(TensorStoreTest, WritesEveryByteOfTheRecordsOwnVersion) {
  for (std::int32_t version = 0; version >= -17; --version) {
    content().version = version;
    ASSERT_EQ(qmTensorDataStoreByVersion(widePath().c_str(), &content(), 1), 1);
    EXPECT_TRUE(stored() == tensorFileBytes(content(), version)) << "version " << version;
  }
}

TEST_F(TensorStoreTest, WritesTheGroupOfAllVersionsAloneForVersionZero) {
  content().version = 0;
  ASSERT_EQ(qmTensorDataStoreByVersion(widePath().c_str(), &content(), -1), 1);
  EXPECT_EQ(stored().size(), 17164U);
  EXPECT_EQ(stored().substr(0, 4), std::string(4, '\0'));
}

TEST_F(TensorStoreTest, GivesBackEveryFieldOfANewestRecord) {
  tag_qmReconsTensorData loaded;
  qmTensorInit(&loaded);
  ASSERT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 1);
  ASSERT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), 1);
  EXPECT_EQ(differingFields(loaded, content()), "");
  qmTensorDestruct(&loaded);
}

TEST_F(TensorStoreTest, GivesOlderRecordsAFileThatTheReaderRefusesAtItsEnd) {
  for (const std::int32_t version : {0, -5, -16}) {
    content().version = version;
    for (const std::int32_t keep : {0, 1}) {
      tag_qmReconsTensorData loaded;
      qmTensorInit(&loaded);
      ASSERT_EQ(qmTensorDataStoreByVersion(widePath().c_str(), &content(), keep), 1);
      EXPECT_TRUE(stored() == tensorFileBytes(content(), keep == 0 ? -17 : version, false));
      const bool readable = keep != 0 && version <= -5;
      EXPECT_EQ(qmTensorDataLoad(widePath().c_str(), &loaded), readable ? 1 : 0) << version << ' ' << keep;
      qmTensorDestruct(&loaded);
    }
  }
}

TEST_F(TensorStoreTest, WritesTheLastWordByTheRecordAndNotByTheTarget) {
  content().version = -18;  // newer than every version, yet "-17 or below"
  ASSERT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 1);
  EXPECT_TRUE(stored() == tensorFileBytes(content(), -17, true));
}

TEST_F(TensorStoreTest, WritesLengthZeroWhereALutIsNotUsedWhateverItsIdentifier) {
  content().distortLutsInfo[1].useLut = 0;
  ASSERT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 1);
  EXPECT_EQ(stored().substr(18044, 6), std::string(6, '\0'));
}

TEST_F(TensorStoreTest, StopsAnIdentifierWithoutANulAtTwentyThreeCharacters) {
  std::memset(content().distortLutsInfo[0].lutId, 'w', LUT_ID_SIZE);
  content().distortLutsInfo[0].useLut = -1;
  ASSERT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 1);
  EXPECT_EQ(stored().substr(18044, 26), quel::testing::lutEntry(24, std::string(23, 'w') + '\0'));
}

TEST_F(TensorStoreTest, RefusesAVersionThatIsNoneAndLeavesTheFile) {
  writeFile(path(), "what was there");
  for (const std::int32_t version : {1, 3, -18}) {
    content().version = version;
    const RecordingLog log;
    EXPECT_EQ(qmTensorDataStoreByVersion(widePath().c_str(), &content(), 1), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
    EXPECT_EQ(stored(), "what was there");
  }
}

TEST_F(TensorStoreTest, LeavesATraceWhenTheFileCannotBeOpened) {
  const std::u16string inNoDirectory = dir_.wide("missing/block.tns");
  const std::u16string directory = dir_.path().u16string();
  for (const char16_t* file : {inNoDirectory.c_str(), directory.c_str(), u"", static_cast<const char16_t*>(nullptr)}) {
    const RecordingLog log;
    EXPECT_EQ(qmTensorDataStore(file, &content()), 0);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  }
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataStore(widePath().c_str(), nullptr), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
}

TEST_F(TensorStoreTest, ReportsAFullDiskWithPathAndReason) {
  const RecordingLog log;
  EXPECT_EQ(qmTensorDataStore(u"/dev/full", &content()), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(BareTrace(kModule),
                          Message(5, kModule, 0xc43d0030,
                                  "qmTensorDataLoad-WriteDataByFields |/dev/full|28|No space left on device")));
}

TEST_F(TensorStoreTest, ReportsADiskThatIsFullOnlyAtTheLastBytesAndKeepsThePartialFile) {
  const std::string whole = tensorFileBytes(content(), -17);
  for (const std::size_t room : {whole.size() - 1, whole.size() - 600, std::size_t{5000}, std::size_t{3}}) {
    const RecordingLog log;
    {
      const FileSizeLimit limit(room);
      EXPECT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 0) << room;
    }
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), Message(5, kModule, 0xc43d0030,
                                                                       "qmTensorDataLoad-WriteDataByFields |" + path() +
                                                                           "|27|File too large")));
    EXPECT_TRUE(stored() == whole.substr(0, room)) << stored().size();
  }
}

TEST_F(TensorStoreTest, PutsThePartialFileInPlaceOfAnOldOneWhenAWriteFails) {
  const std::string whole = tensorFileBytes(content(), -17);
  writeFile(path(), "what was there");
  {
    const FileSizeLimit limit(5000);
    EXPECT_EQ(qmTensorDataStore(widePath().c_str(), &content()), 0);
  }
  EXPECT_TRUE(stored() == whole.substr(0, 5000)) << stored().size();
}

// The folder is closed after the new file was made in it.
TEST_F(TensorStoreTest, ReportsThatTheWholeFileCannotBePutInPlaceAndLeavesTheOldOne) {
  std::filesystem::permissions(dir_.path(), std::filesystem::perms::all);
  const std::u16string file = dir_.wide("closed/block.tns");
  EXPECT_TRUE(quel::testing::holdsAsNobody([&] {
    const std::filesystem::path folder = dir_.path() / "closed";
    std::filesystem::create_directory(folder);
    writeFile(folder / "block.tns", "what was there");
    const RecordingLog log;
    quel::testing::beforeFlushing = [&](int) {
      std::filesystem::permissions(folder, static_cast<std::filesystem::perms>(0555));
    };
    EXPECT_EQ(qmTensorDataStore(file.c_str(), &content()), 0);
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), Message(5, kModule, 0xc43d0030,
                                                                       "qmTensorDataLoad-WriteDataByFields |" +
                                                                           toNarrow(file) + "|13|Permission denied")));
    EXPECT_EQ(readFile(folder / "block.tns"), "what was there");
  }));
}

TEST_F(TensorStoreTest, LeavesTheOldFileOrTheNewOneWhenTheProcessIsKilledAtAnyTime) {
  const std::string whole = tensorFileBytes(content(), -17);
  for (int microseconds = 0; microseconds < 2000; microseconds += 50) {
    writeFile(path(), "what was there");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      qmTensorDataStore(widePath().c_str(), &content());
      pause();
    }
    usleep(static_cast<useconds_t>(microseconds));
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(stored() == "what was there" || stored() == whole) << stored().size();
  }
}

}  // namespace

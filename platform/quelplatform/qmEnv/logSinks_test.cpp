// Where log lines go: standard error and the rotating file.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "quelplatform/qmEnv/qmLog.h"
#include "quelplatform/qmEnv/qmLogEmbedded.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quelplatform::enableLogFile;
using quelplatform::setConsoleLogLevel;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using ::testing::SizeIs;

/// Shows what goes to standard error from `level` on.
class Console {
 public:
  explicit Console(std::int32_t level) {
    setConsoleLogLevel(level);
    ::testing::internal::CaptureStderr();
  }
  ~Console() {
    setConsoleLogLevel(6);
    if (!taken_) ::testing::internal::GetCapturedStderr();
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::string take() {
    taken_ = true;
    return ::testing::internal::GetCapturedStderr();
  }

 private:
  bool taken_ = false;
};

void writeOneLineOfEachLevel() {
  for (std::int32_t level = 0; level < 6; ++level) writeLogF(level, 7, "m", "d", "text");
  writeLogF(5, 7, "m", "d", nullptr);
}

TEST(console, ShowsTheGivenLevelsAndNoBareTraces) {
  Console console(3);
  writeOneLineOfEachLevel();
  EXPECT_EQ(console.take(), "quelmetra: warning m:7: text\nquelmetra: note m:7: text\nquelmetra: error m:7: text\n");
}

TEST(console, PassesNoControlCharactersOnButLineFeedAndTab) {
  Console console(3);
  writeLogF(5, 7, "m\x1B[31m", "d",
            "a\x1B]0;b\x07\tc\x7F\nd\xC2\x9B"
            "2Je\r\xC2\x80\xC2\x9F\xC2\xA0\xC3\xA4\xE2\x80\x9A\xC2");
  EXPECT_EQ(console.take(), "quelmetra: error m?[31m:7: a?]0;b?\tc?\n    d?2Je??\xC2\xA0\xC3\xA4\xE2\x80\x9A\xC2\n");
}

TEST(console, ShowsNothingAtLevelSix) {
  Console console(6);
  writeOneLineOfEachLevel();
  EXPECT_EQ(console.take(), "");
}

TEST(console, ShowsTheSentencesOfNumberedMessages) {
  Console console(5);
  writeLogI(5, 1, "m", "d", 0xC43D001E, "/a");
  sendError(5, 2, "m", "d", 0xC41D0001);
  EXPECT_EQ(console.take(),
            "quelmetra: error m:1: The file '/a' could not be loaded. (0xC43D001E)\n"
            "quelmetra: error m:2: The configuration does not say how many blocks there are. (0xC41D0001)\n");
}

/// The log file switched on, in a home directory of its own.
class LogFileTest : public ::testing::Test {
 protected:
  LogFileTest() { enableLogFile(true); }
  ~LogFileTest() override { enableLogFile(false); }

  static std::string logged(const fs::path& homePath) {
    enableLogFile(false);
    enableLogFile(true);
    return readFile(homePath / "log" / "quelmetra.log");
  }

  TempHome home_;
};

TEST_F(LogFileTest, HoldsEveryLineWithItsTime) {
  writeLogF(0, 1, "m", "d", "info");
  writeLogF(1, 2, "m", "d", nullptr);
  writeLogI(5, 3, "m", "d", 0xC43D001E, u"/a");
  const std::string time = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} \\[[0-9]+\\] ";
  EXPECT_THAT(logged(home_.path()),
              MatchesRegex(time + "info m:1 \\(d\\): info\n" + time + "trace m:2 \\(d\\)\n" + time +
                           "error m:3 \\(d\\): The file '/a' could not be loaded\\. \\(0xC43D001E\\)\n"));
}

TEST_F(LogFileTest, IsMadeAtTheFirstLine) {
  EXPECT_TRUE(fs::is_empty(home_.path()));
  writeLogF(0, 1, "m", "d", "a");
  EXPECT_TRUE(fs::exists(home_.path() / "log" / "quelmetra.log"));
}

TEST_F(LogFileTest, HoldsWarningsAtOnce) {
  writeLogF(3, 1, "m", "d", "warned");
  EXPECT_THAT(readFile(home_.path() / "log" / "quelmetra.log"), HasSubstr("warned"));
}

TEST_F(LogFileTest, FollowsTheHomeDirectory) {
  writeLogF(0, 1, "m", "d", "first");
  {
    const TempHome other;
    writeLogF(0, 1, "m", "d", "second");
    EXPECT_THAT(logged(other.path()), HasSubstr("second"));
  }
  writeLogF(0, 1, "m", "d", "third");
  const std::string text = logged(home_.path());
  EXPECT_THAT(text, HasSubstr("first"));
  EXPECT_THAT(text, Not(HasSubstr("second")));
  EXPECT_THAT(text, HasSubstr("third"));
}

TEST_F(LogFileTest, IsNotWrittenWhenSwitchedOff) {
  enableLogFile(false);
  writeLogF(5, 1, "m", "d", "a");
  EXPECT_TRUE(fs::is_empty(home_.path()));
}

TEST_F(LogFileTest, KeepsTwoOlderFilesOfOneMebibyte) {
  const std::string text(100000, 'x');
  for (int i = 0; i < 50; ++i) writeLogF(0, i, "m", "d", "%s", text);
  logged(home_.path());
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(home_.path() / "log")) {
    ++files;
    EXPECT_LE(entry.file_size(), std::size_t{1} << 20) << entry.path();
  }
  EXPECT_EQ(files, 3u);
  EXPECT_THAT(logged(home_.path()), HasSubstr("m:49"));
}

TEST_F(LogFileTest, TakesLinesFromManyThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([] {
      for (int i = 0; i < 200; ++i) writeLogF(0, i, "m", "d", "a line of text");
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string text = logged(home_.path());
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 800);
}

// What a broken home directory brings: one line on standard error, and every log call goes on.
void expectOneComplaint(const std::string& homePath, const std::string& cause) {
  Console console(6);
  RecordingLog log;
  quelplatform::setHomeDirectory(homePath);
  for (int i = 0; i < 3; ++i) writeLogF(3, 1, "m", "d", "text");
  EXPECT_THAT(log.records(), SizeIs(3));
  EXPECT_EQ(console.take(), "quelmetra: the log file cannot be written: " + cause + "\n");
}

TEST_F(LogFileTest, ComplainsOfAHomeDirectoryWithoutTheControlCharactersInItsName) {
  writeFile(home_.path() / "a\x1B[2J", "");
  expectOneComplaint((home_.path() / "a\x1B[2J").string(),
                     (home_.path() / "a?[2J").string() + "/log/quelmetra.log: File exists");
}

TEST_F(LogFileTest, ComplainsOnceWhenAFileIsInPlaceOfTheHomeDirectory) {
  writeFile(home_.path() / "file", "");
  const std::string path = (home_.path() / "file").string();
  expectOneComplaint(path, path + "/log/quelmetra.log: File exists");
}

TEST_F(LogFileTest, ComplainsOnceWhenTheHomeDirectoryCannotBeMade) {
  expectOneComplaint("/proc/none", "/proc/none/log/quelmetra.log: No such file or directory");
}

TEST_F(LogFileTest, ComplainsOnceWhenADirectoryOrPipeIsInPlaceOfTheFile) {
  const std::string path = (home_.path() / "log" / "quelmetra.log").string();
  fs::create_directories(path);
  expectOneComplaint(home_.path().string(), path + ": Is a directory");
  fs::remove(path);
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  expectOneComplaint(home_.path().string(), path + ": Invalid argument");
}

TEST_F(LogFileTest, ComplainsOnceWhenTheDiskIsFull) {
  const std::string path = (home_.path() / "log" / "quelmetra.log").string();
  fs::create_directory(home_.path() / "log");
  fs::create_symlink("/dev/full", path);
  expectOneComplaint(home_.path().string(), "Failed flush to file " + path + ": No space left on device");
}

TEST_F(LogFileTest, IsWrittenAgainOnceItIsSwitchedOnAnew) {
  const std::string path = (home_.path() / "log").string();
  writeFile(path, "in the way");
  expectOneComplaint(home_.path().string(), path + "/quelmetra.log: File exists");
  fs::remove(path);
  enableLogFile(true);
  writeLogF(3, 1, "m", "d", "again");
  EXPECT_THAT(readFile(path + "/quelmetra.log"), HasSubstr("again"));
}

}  // namespace

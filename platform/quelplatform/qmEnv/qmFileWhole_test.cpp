// What becomes of a file that is opened for writing: the old one stays until the new one is whole.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/qmFile.h"
#include "testing/AsNobody.h"
#include "testing/FailingMalloc.h"
#include "testing/FileSizeLimit.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::FileSizeLimit;
using quel::testing::holdsAsNobody;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::writeFile;

constexpr std::array kWritingModes = {u"wb", u"w"};

class qmFileWhole : public ::testing::Test {
 protected:
  qmFileWhole() { writeFile(path(), "old"); }

  fs::path path() const { return dir_.path() / "file"; }
  std::string content() const { return readFile(path()); }

  std::FILE* open(const qmWChar* mode = u"wb", const std::string& name = "file") const {
    std::FILE* file = nullptr;
    EXPECT_EQ(qmFileOpen(dir_.wide(name).c_str(), mode, &file), 1);
    return file;
  }

  std::int32_t close(std::FILE* file) const { return qmFileClose(dir_.wide("file").c_str(), &file); }

  void expectNothingBeside() const {
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), fs::directory_iterator()), 1);
  }

  TempDir dir_;
};

void put(std::FILE* file, const std::string& text) {
  EXPECT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
}

TEST_F(qmFileWhole, ShowsTheOldContentUntilItIsClosed) {
  for (const qmWChar* mode : kWritingModes) {
    writeFile(path(), "old");
    std::FILE* const file = open(mode);
    EXPECT_EQ(content(), "old");
    put(file, "new");
    EXPECT_EQ(std::fflush(file), 0);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(close(file), 1);
    EXPECT_EQ(content(), "new");
    expectNothingBeside();
  }
}

TEST_F(qmFileWhole, IsNotThereUntilItIsClosed) {
  fs::remove(path());
  std::FILE* const file = open();
  put(file, "new");
  EXPECT_EQ(std::fflush(file), 0);
  EXPECT_FALSE(fs::exists(path()));
  EXPECT_EQ(close(file), 1);
  EXPECT_EQ(content(), "new");
}

TEST_F(qmFileWhole, IsEmptyWhenNothingWasWritten) {
  EXPECT_EQ(close(open()), 1);
  EXPECT_EQ(content(), "");
}

TEST_F(qmFileWhole, StaysAsItWasWhenTheLastBytesFindNoRoom) {
  std::FILE* const file = open();
  put(file, std::string(2000, 'x'));
  {
    const FileSizeLimit limit(1000);
    errno = 0;
    EXPECT_EQ(close(file), 0);
    EXPECT_EQ(errno, EFBIG);
  }
  EXPECT_EQ(content(), "old");
  expectNothingBeside();
}

TEST_F(qmFileWhole, StaysAsItWasWhenAnEarlierWriteWasLost) {
  std::FILE* const file = open();
  put(file, std::string(2000, 'x'));
  {
    const FileSizeLimit limit(1000);
    EXPECT_EQ(std::fflush(file), EOF);
  }
  errno = 0;
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(content(), "old");
  expectNothingBeside();
}

TEST_F(qmFileWhole, HoldsWhatWasWrittenUntilAFailureWhenTheErrorMarkIsTakenAway) {
  std::FILE* const file = open();
  std::setvbuf(file, nullptr, _IONBF, 0);
  {
    const FileSizeLimit limit(1000);
    EXPECT_LT(std::fwrite(std::string(2000, 'x').data(), 1, 2000, file), 2000u);
    std::clearerr(file);
    EXPECT_EQ(close(file), 1);
  }
  EXPECT_EQ(content(), std::string(1000, 'x'));
  expectNothingBeside();
}

TEST_F(qmFileWhole, StaysAsItWasWhenAnotherThingTookItsPlace) {
  std::FILE* const file = open();
  put(file, "new");
  fs::remove(path());
  fs::create_directory(path());
  errno = 0;
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(errno, EISDIR);
  EXPECT_TRUE(fs::is_directory(path()));
  expectNothingBeside();
}

TEST_F(qmFileWhole, StaysAsItWasWhenTheProcessIsKilledBeforeItIsClosed) {
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    std::FILE* file = nullptr;
    qmFileOpen(dir_.wide("file").c_str(), u"wb", &file);
    std::fputs("half", file);
    std::fflush(file);
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(content(), "old");
}

TEST_F(qmFileWhole, IsTheOldOrTheNewWhenTheProcessIsKilledAtAnyTime) {
  const std::string newer(50000, 'n');
  int whole = 0;
  for (int microseconds = 0; microseconds < 2000; microseconds += 50) {
    writeFile(path(), "old");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      std::FILE* file = nullptr;
      qmFileOpen(dir_.wide("file").c_str(), u"wb", &file);
      std::fwrite(newer.data(), 1, newer.size(), file);
      qmFileClose(u"", &file);
      pause();
    }
    usleep(static_cast<useconds_t>(microseconds));
    kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const std::string found = content();
    EXPECT_TRUE(found == "old" || found == newer) << found.size() << " bytes after " << microseconds << " us";
    whole += found == newer ? 1 : 0;
  }
  RecordProperty("new files", whole);
}

TEST_F(qmFileWhole, StaysAsItWasWhenTheStreamIsClosedByOtherMeans) {
  for (int i = 0; i < 3; ++i) {  // The address of the stream comes again.
    std::FILE* const file = open();
    put(file, "lost");
    EXPECT_EQ(std::fclose(file), 0);
    EXPECT_EQ(content(), "old");
  }
  std::FILE* const reading = open(u"rb");
  EXPECT_EQ(close(reading), 1);
  EXPECT_EQ(content(), "old");
}

TEST_F(qmFileWhole, KeepsItsPermissions) {
  fs::permissions(path(), static_cast<fs::perms>(0640));
  std::FILE* const file = open();
  put(file, "new");
  EXPECT_EQ(close(file), 1);
  EXPECT_EQ(content(), "new");
  EXPECT_EQ(fs::status(path()).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(qmFileWhole, IsWhatALinkLeadsTo) {
  fs::create_symlink("file", dir_.path() / "link");
  std::FILE* const file = open(u"wb", "link");
  put(file, "new");
  EXPECT_EQ(close(file), 1);
  EXPECT_EQ(content(), "new");
  EXPECT_TRUE(fs::is_symlink(dir_.path() / "link"));
}

TEST_F(qmFileWhole, IsRefusedToWhoMayNotWriteToIt) {
  fs::permissions(dir_.path(), fs::perms::all);
  fs::permissions(path(), static_cast<fs::perms>(0444));
  EXPECT_TRUE(holdsAsNobody([this] {
    std::FILE* file = nullptr;
    EXPECT_EQ(qmFileOpen(dir_.wide("file").c_str(), u"wb", &file), 0);
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(content(), "old");
    expectNothingBeside();
  }));
}

TEST_F(qmFileWhole, HoldsWhatTheLastOfTwoStreamsWrote) {
  std::FILE* const one = open();
  std::FILE* const other = open();
  put(one, "one");
  put(other, "other");
  EXPECT_EQ(close(other), 1);
  EXPECT_EQ(content(), "other");
  EXPECT_EQ(close(one), 1);
  EXPECT_EQ(content(), "one");
  expectNothingBeside();
}

TEST_F(qmFileWhole, CanBeSoughtIn) {
  std::FILE* const file = open();
  put(file, "....body");
  EXPECT_EQ(std::ftell(file), 8);
  EXPECT_EQ(std::fseek(file, 0, SEEK_SET), 0);
  put(file, "head");
  EXPECT_EQ(close(file), 1);
  EXPECT_EQ(content(), "headbody");
}

TEST_F(qmFileWhole, IsWrittenByManyThreadsEachAFileOfItsOwn) {
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'e'; ++letter) {
    threads.emplace_back([this, letter] {
      for (int i = 0; i < 20; ++i) {
        std::FILE* const file = open(u"wb", std::string(1, letter));
        put(file, std::string(1000, letter));
        EXPECT_EQ(close(file), 1);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (char letter = 'a'; letter < 'e'; ++letter) {
    EXPECT_EQ(readFile(dir_.path() / std::string(1, letter)), std::string(1000, letter));
  }
}

std::ptrdiff_t openDescriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST_F(qmFileWhole, LeavesNoDescriptorAndNoTemporaryFileWhereMemoryRunsOutWhileItIsOpened) {
  const qmWString name = dir_.wide("file");
  std::FILE* file = nullptr;
  const auto tryToOpen = [&] { return qmFileOpen(name.c_str(), u"wb", &file); };
  ASSERT_EQ(tryToOpen(), 1);  // with what is set up at first use
  close(file);
  for (std::int64_t n = 0; n < 100; ++n) {
    const std::ptrdiff_t before = openDescriptors();
    if (quel::testing::withFailingMalloc(n, true, tryToOpen) == 1) break;
    EXPECT_EQ(openDescriptors(), before) << n;
    expectNothingBeside();
  }
  EXPECT_EQ(close(file), 1);
}

}  // namespace

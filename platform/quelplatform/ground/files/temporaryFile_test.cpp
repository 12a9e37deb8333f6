// Temporary files whose writer died, and those whose writer is at work.
#include "quelplatform/ground/files/temporaryFile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "testing/BeforeCalls.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::TempDir;
using quel::testing::writeFile;
using Names = std::set<std::string>;

Names namesIn(const fs::path& directory) {
  Names names;
  for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path().filename().string());
  return names;
}

int put(const fs::path& path) {
  int error = -1;
  quelplatform::writeFileAtomically(path.string(), {}, error);
  return error;
}

TEST(temporaryFile, OfADeadWriterIsRemovedByTheNextWriter) {
  const TempDir dir;
  const pid_t child = fork();
  if (child == 0) {
    quelplatform::PendingFile file;
    if (file.open((dir.path() / "a").string()) != 0) _exit(1);
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_EQ(namesIn(dir.path()).size(), 1u);
  EXPECT_EQ(put(dir.path() / "b"), 0);
  EXPECT_EQ(namesIn(dir.path()), Names{"b"});
}

TEST(temporaryFile, OfALivingWriterStays) {
  const TempDir dir;
  const TempDir other;
  quelplatform::PendingFile file;
  ASSERT_EQ(file.open((dir.path() / "a").string()), 0);
  quelplatform::removeAbandonedFiles(other.path().string());
  quelplatform::removeAbandonedFiles(dir.path().string());
  EXPECT_EQ(namesIn(dir.path()).size(), 1u);
  EXPECT_EQ(file.replace(), 0);
  EXPECT_EQ(namesIn(dir.path()), Names{"a"});
}

TEST(temporaryFile, IsAnotherOneWhereItIsRemovedBeforeItIsLocked) {
  const TempDir dir;
  quel::testing::beforeLocking = [&](int) { EXPECT_EQ(fs::remove_all(*fs::directory_iterator(dir.path())), 1u); };
  EXPECT_EQ(put(dir.path() / "a"), 0);
  EXPECT_EQ(namesIn(dir.path()), Names{"a"});
}

TEST(temporaryFile, IsItsOwnersAloneUntilItHasTheRightsOfTheFileThatItReplaces) {
  const TempDir dir;
  writeFile(dir.path() / "a", "");
  fs::permissions(dir.path() / "a", static_cast<fs::perms>(0640));
  mode_t mode = 0;
  const auto look = [&](int descriptor) {
    struct stat status {};
    EXPECT_EQ(fstat(descriptor, &status), 0);
    mode = status.st_mode & 07777;
  };
  quel::testing::beforeLocking = look;
  EXPECT_EQ(put(dir.path() / "a"), 0);
  EXPECT_EQ(mode, 0600u);
  EXPECT_EQ(fs::status(dir.path() / "a").permissions(), static_cast<fs::perms>(0640));
}

TEST(temporaryFile, IsKnownByItsWholeName) {
  const TempDir dir;
  const Names others = {".quel-ini.lock", ".quel-1-1.tm", ".quel-1-x.tmp",
                        ".quel-.tmp",     "quel-1-1.tmp", ".quel-1.tmp.a"};
  for (const std::string& name : others) writeFile(dir.path() / name, "");
  writeFile(dir.path() / ".quel-1-1.tmp", "");
  quelplatform::removeAbandonedFiles(dir.path().string());
  EXPECT_EQ(namesIn(dir.path()), others);
}

TEST(temporaryFile, OfThatNameIsNoLinkAndNoDirectory) {
  const TempDir dir;
  writeFile(dir.path() / "mine", "");
  fs::create_symlink("mine", dir.path() / ".quel-1-1.tmp");
  fs::create_directory(dir.path() / ".quel-1-2.tmp");
  quelplatform::removeAbandonedFiles(dir.path().string());
  EXPECT_EQ(namesIn(dir.path()), (Names{"mine", ".quel-1-1.tmp", ".quel-1-2.tmp"}));
}

TEST(temporaryFile, IsNeverTakenFromAWriterByAnotherWhoLooksForAbandonedOnes) {
  const TempDir dir;
  const TempDir other;
  std::atomic<bool> done{false};
  std::thread looking([&] {
    for (int i = 0; !done; ++i) quelplatform::removeAbandonedFiles((i % 2 == 0 ? dir : other).path().string());
  });
  for (int i = 0; i < 300; ++i) EXPECT_EQ(put(dir.path() / std::to_string(i % 3)), 0);
  done = true;
  looking.join();
  EXPECT_EQ(namesIn(dir.path()), (Names{"0", "1", "2"}));
}

TEST(uninterrupted, RepeatsACallThatASignalInterruptedAndNoOther) {
  int calls = 0;
  const auto call = [&] {
    errno = ++calls < 3 ? EINTR : EIO;
    return -1;
  };
  EXPECT_EQ(quelplatform::uninterrupted(call), -1);
  EXPECT_EQ(calls, 3);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(quelplatform::uninterrupted([] { return 7; }), 7);
}

}  // namespace

#include "quelplatform/ground/files/atomicFile.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/qmEnv/QmWorkPlaceEmbedded.h"
#include "testing/BeforeCalls.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;

std::span<const std::byte> bytes(const std::string& text) { return std::as_bytes(std::span(text)); }

// 0, or the error that the write reports.
int put(const fs::path& path, const std::string& text) {
  int error = -1;
  const bool good = quelplatform::writeFileAtomically(path.string(), bytes(text), error);
  EXPECT_EQ(good, error == 0);
  return error;
}

std::size_t filesIn(const fs::path& directory) {
  return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

// A crash of the machine loses what was not flushed, and what it loses no kill of a process shows.
TEST(writeFileAtomically, FlushesTheFileBeforeItIsInPlaceAndTheFolderAfterwards) {
  const TempDir dir;
  ASSERT_EQ(put(dir.path() / "a", "old"), 0);
  std::vector<std::string> flushed;
  const std::function<void(int)> note = [&](int descriptor) {
    struct stat status {};
    EXPECT_EQ(fstat(descriptor, &status), 0);
    flushed.push_back((S_ISDIR(status.st_mode) ? "folder with " : "file beside ") + readFile(dir.path() / "a"));
    quel::testing::beforeFlushing = note;
  };
  quel::testing::beforeFlushing = note;
  ASSERT_EQ(put(dir.path() / "a", "new"), 0);
  quel::testing::beforeFlushing = nullptr;
  EXPECT_EQ(flushed, (std::vector<std::string>{"file beside old", "folder with new"}));
}

TEST(writeFileAtomically, MakesAFileAndReplacesItWithNothingElseLeft) {
  const TempDir dir;
  EXPECT_EQ(put(dir.path() / "a", "first"), 0);
  EXPECT_EQ(readFile(dir.path() / "a"), "first");
  EXPECT_EQ(put(dir.path() / "a", std::string(300000, 'x')), 0);
  EXPECT_EQ(readFile(dir.path() / "a"), std::string(300000, 'x'));
  EXPECT_EQ(put(dir.path() / "a", ""), 0);
  EXPECT_EQ(readFile(dir.path() / "a"), "");
  EXPECT_EQ(filesIn(dir.path()), 1u);
}

TEST(writeFileAtomically, KeepsThePermissionsOfTheOldFile) {
  const TempDir dir;
  writeFile(dir.path() / "a", "old");
  fs::permissions(dir.path() / "a", fs::perms::owner_read | fs::perms::owner_write);
  EXPECT_EQ(put(dir.path() / "a", "new"), 0);
  EXPECT_EQ(fs::status(dir.path() / "a").permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST(writeFileAtomically, WritesTheFileThatALinkLeadsTo) {
  const TempDir dir;
  fs::create_directory(dir.path() / "sub");
  writeFile(dir.path() / "sub" / "real", "old");
  fs::create_symlink("sub/real", dir.path() / "link");
  EXPECT_EQ(put(dir.path() / "link", "new"), 0);
  EXPECT_TRUE(fs::is_symlink(dir.path() / "link"));
  EXPECT_EQ(readFile(dir.path() / "sub" / "real"), "new");
}

TEST(writeFileAtomically, RefusesWhatIsNoRegularFile) {
  const TempDir dir;
  fs::create_directory(dir.path() / "sub");
  ASSERT_EQ(mkfifo((dir.path() / "pipe").c_str(), 0600), 0);
  fs::create_symlink("/dev/null", dir.path() / "device");
  fs::create_symlink("nowhere", dir.path() / "dangling");
  EXPECT_EQ(put(dir.path() / "sub", "x"), EISDIR);
  EXPECT_EQ(put(dir.path() / "pipe", "x"), EINVAL);
  EXPECT_EQ(put(dir.path() / "device", "x"), EINVAL);
  EXPECT_EQ(put(dir.path() / "dangling", "x"), ENOENT);
  EXPECT_EQ(put("/dev/full", "x"), EINVAL);
  EXPECT_EQ(filesIn(dir.path()), 4u);
}

TEST(writeFileAtomically, TellsWhyThereIsNoPlaceForTheFile) {
  const TempDir dir;
  writeFile(dir.path() / "file", "x");
  EXPECT_EQ(put("", "x"), ENOENT);
  EXPECT_EQ(put(dir.path() / "none" / "a", "x"), ENOENT);
  EXPECT_EQ(put(dir.path() / "file" / "a", "x"), ENOTDIR);
  EXPECT_EQ(put(dir.path() / "new/", "x"), EISDIR);
  EXPECT_EQ(put(dir.path() / std::string(300, 'n'), "x"), ENAMETOOLONG);
}

TEST(writeFileAtomically, HasRoomForTheLongestName) {
  const TempDir dir;
  const fs::path path = dir.path() / std::string(255, 'n');
  EXPECT_EQ(put(path, "x"), 0);
  EXPECT_EQ(readFile(path), "x");
}

TEST(writeFileAtomically, MakesTheFoldersOfTheHomeDirectoryAndNoOthers) {
  const TempHome home;
  EXPECT_EQ(put(home.path() / "legends" / "a", "x"), 0);
  EXPECT_EQ(readFile(home.path() / "legends" / "a"), "x");
  const TempDir elsewhere;
  EXPECT_EQ(put(elsewhere.path() / "legends" / "a", "x"), ENOENT);
}

TEST(writeFileAtomically, MakesTheHomeDirectory) {
  const TempHome home;
  quelplatform::setHomeDirectory((home.path() / "a" / "b").string());
  EXPECT_EQ(put(home.path() / "a" / "b" / "file", "x"), 0);
  EXPECT_EQ(readFile(home.path() / "a" / "b" / "file"), "x");
}

// A limit on the size of files stands for a disk that runs full in the middle of a write.
TEST(writeFileAtomically, KeepsTheOldFileWhenTheDiskRunsFull) {
  const TempDir dir;
  writeFile(dir.path() / "a", "old");
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{1000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  const int error = put(dir.path() / "a", std::string(5000, 'x'));
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(error, EFBIG);
  EXPECT_EQ(readFile(dir.path() / "a"), "old");
  EXPECT_EQ(filesIn(dir.path()), 1u);
}

TEST(writeFileAtomically, LeavesOneWholeFileWhenManyWriteAtOnce) {
  const TempDir dir;
  std::vector<std::thread> threads;
  for (char letter = 'a'; letter < 'e'; ++letter) {
    threads.emplace_back([&dir, letter] {
      for (int i = 0; i < 20; ++i) EXPECT_EQ(put(dir.path() / "f", std::string(20000, letter)), 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string text = readFile(dir.path() / "f");
  ASSERT_EQ(text.size(), 20000u);
  EXPECT_EQ(text, std::string(20000, text[0]));
  EXPECT_EQ(filesIn(dir.path()), 1u);
}

TEST(PendingFile, PutsItselfOnlyWhereNothingIs) {
  const TempDir dir;
  quelplatform::PendingFile first;
  quelplatform::PendingFile second;
  ASSERT_EQ(first.open((dir.path() / "a").string()), 0);
  ASSERT_EQ(second.open((dir.path() / "a").string()), 0);
  EXPECT_EQ(first.write(bytes("first")), 0);
  EXPECT_EQ(second.write(bytes("second")), 0);
  EXPECT_EQ(first.putIfAbsent(), 0);
  EXPECT_EQ(second.putIfAbsent(), EEXIST);
  EXPECT_EQ(readFile(dir.path() / "a"), "first");
}

TEST(PendingFile, LeavesNothingWhenItIsGivenUp) {
  const TempDir dir;
  {
    quelplatform::PendingFile file;
    ASSERT_EQ(file.open((dir.path() / "a").string()), 0);
    EXPECT_EQ(filesIn(dir.path()), 1u);
  }
  EXPECT_EQ(filesIn(dir.path()), 0u);
}

}  // namespace

#include "quelplatform/windows/windows.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "quelplatform/ground/files/systemErrors.h"
#include "testing/AsNobody.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::readFile;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;

constexpr std::uint32_t kUnset = 0xABCD;

std::uint32_t errorOfAttributes(const qmWChar* path) {
  quelplatform::setLastError(kUnset);
  EXPECT_EQ(GetFileAttributesW(path), INVALID_FILE_ATTRIBUTES);
  return GetLastError();
}

// 0, or the last error of a copy that failed.
std::uint32_t copy(const qmWString& source, const qmWString& target, bool failIfExists = true) {
  quelplatform::setLastError(kUnset);
  if (CopyFileW(source.c_str(), target.c_str(), failIfExists ? 1 : 0) == 1) {
    EXPECT_EQ(GetLastError(), kUnset);
    return 0;
  }
  return GetLastError();
}

std::set<std::string> namesIn(const fs::path& directory) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(directory)) names.insert(entry.path().filename().string());
  return names;
}

TEST(CopyFileW, GivesTheRightsOfAGroupToNoOtherGroup) {
  const TempDir dir;
  const quel::testing::Owner theirs = quel::testing::ownerLike(0, 23456);
  writeFile(dir.path() / "private", "x");
  writeFile(dir.path() / "shown", "x");
  ASSERT_EQ(chown((dir.path() / "private").c_str(), theirs.user, theirs.group), 0);
  ASSERT_EQ(chown((dir.path() / "shown").c_str(), theirs.user, theirs.group), 0);
  fs::permissions(dir.path() / "private", static_cast<fs::perms>(04660));
  fs::permissions(dir.path() / "shown", static_cast<fs::perms>(0664));
  const bool isOwn = theirs.group == getgid();  // a copy belongs to who makes it
  EXPECT_EQ(copy(dir.wide("private"), dir.wide("a")), 0u);
  EXPECT_EQ(copy(dir.wide("shown"), dir.wide("b")), 0u);
  EXPECT_EQ(fs::status(dir.path() / "a").permissions(), static_cast<fs::perms>(isOwn ? 0660 : 0600));
  EXPECT_EQ(fs::status(dir.path() / "b").permissions(), static_cast<fs::perms>(isOwn ? 0664 : 0644));
}

TEST(GetFileAttributesW, TellsFilesDirectoriesAndWriteProtectionApart) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  writeFile(dir.path() / "locked", "");
  fs::permissions(dir.path() / "locked", fs::perms::owner_read);
  EXPECT_EQ(GetFileAttributesW(dir.wide("file").c_str()), FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(GetFileAttributesW(dir.wide("locked").c_str()), FILE_ATTRIBUTE_READONLY);
  EXPECT_EQ(GetFileAttributesW(dir.wide("").c_str()), FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(GetFileAttributesW((dir.path().u16string() + u"\\").c_str()), FILE_ATTRIBUTE_DIRECTORY);
}

TEST(GetFileAttributesW, TellsAMissingFileFromAMissingDirectory) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  EXPECT_EQ(errorOfAttributes(dir.wide("none").c_str()), 2u);
  EXPECT_EQ(errorOfAttributes(dir.wide("none/none").c_str()), 3u);
  EXPECT_EQ(errorOfAttributes(dir.wide("file/below").c_str()), 3u);
  EXPECT_EQ(errorOfAttributes(u"no-such-name-here"), 2u);
  EXPECT_EQ(errorOfAttributes(u""), 3u);
  EXPECT_EQ(errorOfAttributes(nullptr), 87u);
  EXPECT_EQ(errorOfAttributes(dir.wide(std::string(300, 'n')).c_str()), 206u);
}

TEST(GetLastError, BelongsToTheThreadAndStaysThroughASuccess) {
  EXPECT_EQ(errorOfAttributes(nullptr), 87u);
  std::thread([] { EXPECT_EQ(GetLastError(), 0u); }).join();
  GetFileAttributesW(u"/");
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(CopyFileW, CopiesContentTimeAndPermissions) {
  const TempDir dir;
  const std::string content = std::string(200000, 'x') + std::string("\0end", 4);
  writeFile(dir.path() / "a", content);
  const auto time = fs::file_time_type::clock::now() - std::chrono::hours(100);
  fs::last_write_time(dir.path() / "a", time);
  fs::permissions(dir.path() / "a", fs::perms::owner_read | fs::perms::group_read);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("b")), 0u);
  EXPECT_EQ(readFile(dir.path() / "b"), content);
  EXPECT_EQ(fs::last_write_time(dir.path() / "b"), time);
  EXPECT_EQ(fs::status(dir.path() / "b").permissions(), fs::perms::owner_read | fs::perms::group_read);
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a", "b"}));
}

TEST(CopyFileW, CopiesAnEmptyFile) {
  const TempDir dir;
  writeFile(dir.path() / "a", "");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("b")), 0u);
  EXPECT_TRUE(fs::exists(dir.path() / "b"));
}

TEST(CopyFileW, RefusesOrReplacesAnExistingTargetAsItIsTold) {
  const TempDir dir;
  writeFile(dir.path() / "a", "new");
  writeFile(dir.path() / "b", "old");
  fs::create_symlink("nowhere", dir.path() / "dangling");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("b"), true), 80u);
  EXPECT_EQ(readFile(dir.path() / "b"), "old");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("dangling"), true), 80u);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("b"), false), 0u);
  EXPECT_EQ(readFile(dir.path() / "b"), "new");
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a", "b", "dangling"}));
}

TEST(CopyFileW, LeavesAFileCopiedOntoItselfAsItIs) {
  const TempDir dir;
  writeFile(dir.path() / "a", "text");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("a"), false), 0u);
  EXPECT_EQ(readFile(dir.path() / "a"), "text");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("a"), true), 80u);
}

TEST(CopyFileW, NamesTheErrorOfItsSource) {
  const TempDir dir;
  ASSERT_EQ(mkfifo((dir.path() / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(copy(dir.wide("none"), dir.wide("b")), 2u);
  EXPECT_EQ(copy(dir.wide("none/none"), dir.wide("b")), 3u);
  EXPECT_EQ(copy(dir.wide(""), dir.wide("b")), 5u);
  EXPECT_EQ(copy(dir.wide("pipe"), dir.wide("b")), 87u);
  EXPECT_EQ(copy(u"/dev/zero", dir.wide("b")), 5u);
  EXPECT_EQ(CopyFileW(nullptr, u"b", 1), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"pipe"}));
}

TEST(CopyFileW, NamesTheErrorOfItsTarget) {
  const TempDir dir;
  writeFile(dir.path() / "a", "text");
  writeFile(dir.path() / "locked", "old");
  fs::permissions(dir.path() / "locked", fs::perms::owner_read);
  fs::create_directory(dir.path() / "sub");
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("none/b")), 3u);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("a/b")), 3u);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("sub"), false), 5u);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("sub"), true), 80u);
  EXPECT_EQ(copy(dir.wide("a"), dir.wide("locked"), false), 5u);
  EXPECT_EQ(copy(dir.wide("a"), u"/dev/full", false), 5u);
  EXPECT_EQ(copy(dir.wide("a"), u"", false), 3u);
  EXPECT_EQ(CopyFileW(u"a", nullptr, 1), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(readFile(dir.path() / "locked"), "old");
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a", "locked", "sub"}));
}

// A limit on the size of files stands for a disk that runs full in the middle of a copy.
TEST(CopyFileW, LeavesNoPartOfATargetWhenTheDiskRunsFull) {
  const TempDir dir;
  writeFile(dir.path() / "a", std::string(100000, 'x'));
  writeFile(dir.path() / "b", "old");
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit tight{70000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  const std::uint32_t onto = copy(dir.wide("a"), dir.wide("b"), false);
  const std::uint32_t beside = copy(dir.wide("a"), dir.wide("c"), true);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(onto, 223u);
  EXPECT_EQ(beside, 223u);
  EXPECT_EQ(readFile(dir.path() / "b"), "old");
  EXPECT_EQ(namesIn(dir.path()), (std::set<std::string>{"a", "b"}));
}

TEST(CopyFileW, LetsOneOfManyCopiersWinWhenTheTargetMustNotExist) {
  const TempDir dir;
  for (char name = 'a'; name < 'e'; ++name) writeFile(dir.path() / std::string(1, name), std::string(50000, name));
  std::atomic<int> winners{0};
  std::vector<std::thread> threads;
  for (char name = 'a'; name < 'e'; ++name) {
    threads.emplace_back([&dir, &winners, name] {
      const std::uint32_t error = copy(dir.wide(std::string(1, name)), dir.wide("target"));
      if (error == 0) ++winners;
      EXPECT_TRUE(error == 0 || error == 80) << error;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(winners, 1);
  const std::string text = readFile(dir.path() / "target");
  ASSERT_EQ(text.size(), 50000u);
  EXPECT_EQ(text, std::string(50000, text[0]));
  EXPECT_EQ(namesIn(dir.path()).size(), 5u);
}

TEST(CopyFileW, FollowsTheRulesOfPaths) {
  const TempHome home;
  writeFile(home.path() / "a", "text");
  EXPECT_EQ(copy(u"\\a", home.path().u16string() + u"\\b"), 0u);
  EXPECT_EQ(readFile(home.path() / "b"), "text");
}

TEST(windowsError, GivesTheNumbersThatCallersKnow) {
  const std::pair<int, std::uint32_t> known[] = {{ENOENT, 2},  {ENOTDIR, 3}, {EACCES, 5},   {EPERM, 5},
                                                 {EISDIR, 5},  {ENOMEM, 8},  {EROFS, 19},   {EBUSY, 32},
                                                 {EEXIST, 80}, {EINVAL, 87}, {ENOSPC, 112}, {EIO, 1117}};
  for (const auto& [error, number] : known) EXPECT_EQ(quelplatform::windowsError(error), number) << error;
}

TEST(windowsError, GivesOneNumberToEverythingUnknown) {
  EXPECT_EQ(quelplatform::windowsError(0), 31u);
  EXPECT_EQ(quelplatform::windowsError(-1), 31u);
  EXPECT_EQ(quelplatform::windowsError(123456), 31u);
}

TEST(systemErrorText, IsASentenceForEveryErrorThatIsMapped) {
  for (int error = 1; error < 140; ++error) {
    const std::string text = quelplatform::systemErrorText(quelplatform::windowsError(error));
    EXPECT_TRUE(text.size() > 10 && text.ends_with('.')) << error << ' ' << text;
  }
}

}  // namespace

#include "quelplatform/windows/fileSearch.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/search_fixture.h"
#include "testing/AsNobody.h"
#include "testing/NoDescriptors.h"
#include "testing/Sanitized.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::holdsAsNobody;
using quel::testing::kEnterOnly;
using quel::testing::kOpenToAll;
using quel::testing::TempDir;
using quel::testing::TempHome;
using quel::testing::writeFile;
using quelplatform::testing::errorOfSearch;
using quelplatform::testing::found;
using quelplatform::testing::openDescriptors;
using ::testing::ElementsAre;

// As large as on the systems that its name comes from.
static_assert(sizeof(WIN32_FIND_DATAW) == 592 && offsetof(WIN32_FIND_DATAW, cAlternateFileName) == 564);

WIN32_FIND_DATAW firstOf(const qmWString& pattern) {
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(pattern.c_str(), &entry);
  EXPECT_NE(search, INVALID_HANDLE_VALUE) << GetLastError();
  EXPECT_EQ(FindClose(search), 1);
  return entry;
}

std::uint64_t ticks(const FILETIME& time) { return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime; }

TEST(FindFirstFileW, ListsAnEmptyDirectoryWithItsTwoDots) {
  const TempDir dir;
  EXPECT_THAT(found(dir.wide("*")), ElementsAre(u".", u".."));
}

TEST(FindFirstFileW, TakesBothSeparators) {
  const TempDir dir;
  fs::create_directories(dir.path() / "a");
  writeFile(dir.path() / "a/file", "");
  EXPECT_THAT(found(dir.path().u16string() + u"\\a\\f*"), ElementsAre(u"file"));
  EXPECT_THAT(found(dir.path().u16string() + u"/a/f*"), ElementsAre(u"file"));
}

TEST(FindFirstFileW, RootsAPatternThatBeginsWithABackslashInTheHomeDirectory) {
  const TempHome home;
  writeFile(home.path() / "here", "");
  EXPECT_THAT(found(u"\\h*"), ElementsAre(u"here"));
}

TEST(FindFirstFileW, StartsABarePatternAtTheWorkingDirectory) {
  const TempDir dir;
  writeFile(dir.path() / "bare-name", "");
  const fs::path before = fs::current_path();
  fs::current_path(dir.path());
  EXPECT_THAT(found(u"bare*"), ElementsAre(u"bare-name"));
  fs::current_path(before);
}

TEST(FindFirstFileW, TellsWhatAnEntryIs) {
  const TempDir dir;
  writeFile(dir.path() / "file", "12345");
  fs::create_directory(dir.path() / "folder");
  writeFile(dir.path() / "locked", "");
  fs::permissions(dir.path() / "locked", fs::perms::owner_read);
  EXPECT_EQ(firstOf(dir.wide("file")).dwFileAttributes, FILE_ATTRIBUTE_NORMAL);
  EXPECT_EQ(firstOf(dir.wide("file")).nFileSizeLow, 5u);
  EXPECT_EQ(firstOf(dir.wide("folder")).dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_EQ(firstOf(dir.wide("locked")).dwFileAttributes, FILE_ATTRIBUTE_READONLY);
}

TEST(FindFirstFileW, GivesTheSizeOfALargeFileInTwoHalves) {
  const TempDir dir;
  writeFile(dir.path() / "large", "");
  fs::resize_file(dir.path() / "large", (std::uintmax_t{1} << 32) + 7);
  EXPECT_EQ(firstOf(dir.wide("large")).nFileSizeHigh, 1u);
  EXPECT_EQ(firstOf(dir.wide("large")).nFileSizeLow, 7u);
}

TEST(FindFirstFileW, GivesTheLastWriteTimeInStepsSince1601) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  const timespec times[] = {{0, 0}, {1'000'000'000, 123'456'700}};  // 2001-09-09 01:46:40.1234567
  ASSERT_EQ(utimensat(AT_FDCWD, (dir.path() / "file").c_str(), times, 0), 0);
  EXPECT_EQ(ticks(firstOf(dir.wide("file")).ftLastWriteTime), 126444736001234567u);
  EXPECT_EQ(ticks(firstOf(dir.wide("file")).ftLastAccessTime), 116444736000000000u);
  EXPECT_EQ(ticks(firstOf(dir.wide("file")).ftCreationTime), 0u);
}

TEST(FindFirstFileW, DescribesWhatALinkLeadsTo) {
  const TempDir dir;
  fs::create_directory(dir.path() / "folder");
  fs::create_directory_symlink("folder", dir.path() / "to-folder");
  fs::create_symlink("nowhere", dir.path() / "to-nowhere");
  fs::create_symlink("to-itself", dir.path() / "to-itself");
  EXPECT_EQ(firstOf(dir.wide("to-folder")).dwFileAttributes, FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  EXPECT_EQ(firstOf(dir.wide("to-nowhere")).dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY, 0u);
  EXPECT_NE(firstOf(dir.wide("to-itself")).dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT, 0u);
}

TEST(FindFirstFileW, TellsWhyNothingIsFound) {
  const TempDir dir;
  writeFile(dir.path() / "file", "");
  EXPECT_EQ(errorOfSearch(dir.wide("none*").c_str()), 2u);
  EXPECT_EQ(errorOfSearch(dir.wide("").c_str()), 2u);  // Ends in a separator: no name to look for.
  EXPECT_EQ(errorOfSearch(dir.wide("missing/*").c_str()), 3u);
  EXPECT_EQ(errorOfSearch(dir.wide("file/*").c_str()), 3u);
  EXPECT_EQ(errorOfSearch(u""), 2u);
  EXPECT_EQ(errorOfSearch(nullptr), 87u);
  EXPECT_EQ(errorOfSearch(dir.wide(std::string(300, 'n') + "/*").c_str()), 206u);
  EXPECT_EQ(FindFirstFileW(u"/*", nullptr), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST(FindFirstFileW, TellsOfADirectoryThatMayNotBeRead) {
  const TempDir dir;
  fs::create_directory(dir.path() / "shut");
  fs::permissions(dir.path(), kOpenToAll);
  fs::permissions(dir.path() / "shut", fs::perms::none);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(errorOfSearch(dir.wide("shut/*").c_str()), 5u); }));
  fs::permissions(dir.path() / "shut", fs::perms::owner_all);
}

TEST(FindFirstFileW, LooksAnExactNameUpWithoutARightToListItsDirectory) {
  const TempDir dir;
  fs::create_directory(dir.path() / "shut");
  writeFile(dir.path() / "shut/there", "");
  fs::permissions(dir.path(), kOpenToAll);
  fs::permissions(dir.path() / "shut", kEnterOnly);
  EXPECT_TRUE(holdsAsNobody([&] {
    EXPECT_THAT(found(dir.wide("shut/there")), ElementsAre(u"there"));
    EXPECT_EQ(errorOfSearch(dir.wide("shut/missing").c_str()), 5u);
    EXPECT_EQ(errorOfSearch(dir.wide("shut/ther?").c_str()), 5u);
  }));
  fs::permissions(dir.path() / "shut", fs::perms::owner_all);
}

// A directory that was opened would take a descriptor, and listing it would take the longer the more it holds.
TEST(FindFirstFileW, OpensNoDirectoryForAnExactName) {
  const TempDir dir;
  writeFile(dir.path() / "there", "");
  const qmWString path = dir.wide("there");
  const quel::testing::NoDescriptors none;
  EXPECT_THAT(found(path), ElementsAre(u"there"));
  EXPECT_EQ(errorOfSearch(dir.wide("missing").c_str()), 4u);
}

TEST(FindFirstFileW, TakesANameInOtherLettersOnlyWhereTheExactOneIsMissing) {
  const TempDir dir;
  writeFile(dir.path() / "Name", "");
  EXPECT_THAT(found(dir.wide("nAME")), ElementsAre(u"Name"));
  writeFile(dir.path() / "nAME", "");
  EXPECT_THAT(found(dir.wide("nAME")), ElementsAre(u"nAME"));
  EXPECT_THAT(found(dir.wide("nam?")), ElementsAre(u"Name", u"nAME"));
}

TEST(FindFirstFileW, LeavesNamesOutThatNoPathCouldLeadTo) {
  const TempDir dir;
  for (const char* name : {"\xED\xA0\x80", "\xFF", "back\\slash", "\xEF\xBF\xBD", "plain"}) {
    writeFile(dir.path() / name, "");
  }
  EXPECT_THAT(found(dir.wide("*")), ElementsAre(u".", u"..", u"plain", u"\uFFFD"));
}

TEST(FindNextFileW, EndsWithNoMoreFilesAndStaysThere) {
  const TempDir dir;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(dir.wide("*").c_str(), &entry);
  EXPECT_EQ(FindNextFileW(search, &entry), 1);
  for (int again = 0; again < 3; ++again) {
    quelplatform::setLastError(0);
    EXPECT_EQ(FindNextFileW(search, &entry), 0);
    EXPECT_EQ(GetLastError(), 18u);
    EXPECT_EQ(qmWString(entry.cFileName), u"..");
  }
  EXPECT_EQ(FindNextFileW(search, nullptr), 0);
  EXPECT_EQ(GetLastError(), 87u);
  EXPECT_EQ(FindClose(search), 1);
}

TEST(FindNextFileW, PassesOverWhatIsGoneAndDoesNotSeeWhatCame) {
  const TempDir dir;
  for (const char* name : {"a", "b", "c"}) writeFile(dir.path() / name, "");
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(dir.wide("?").c_str(), &entry);
  ASSERT_EQ(qmWString(entry.cFileName), u"a");
  fs::remove(dir.path() / "b");
  writeFile(dir.path() / "d", "");
  std::vector<qmWString> names;
  while (FindNextFileW(search, &entry) != 0) names.push_back(entry.cFileName);
  EXPECT_THAT(names, ElementsAre(u"c"));
  FindClose(search);
}

TEST(FindClose, RefusesWhatIsNoOpenSearch) {
  const TempDir dir;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(dir.wide("*").c_str(), &entry);
  EXPECT_EQ(FindClose(search), 1);
  int something = 0;
  for (const HANDLE none : {search, INVALID_HANDLE_VALUE, HANDLE{nullptr}, HANDLE{&something}}) {
    quelplatform::setLastError(0);
    EXPECT_EQ(FindClose(none), 0);
    EXPECT_EQ(GetLastError(), 6u);
    EXPECT_EQ(FindNextFileW(none, &entry), 0);
    EXPECT_EQ(GetLastError(), 6u);
  }
}

TEST(FileSearch, KeepsNothingOfTheSystemOpen) {
  const TempDir dir;
  const std::size_t before = openDescriptors();
  std::vector<HANDLE> searches;
  for (int i = 0; i < 2000; ++i) {
    WIN32_FIND_DATAW entry{};
    searches.push_back(FindFirstFileW(dir.wide("*").c_str(), &entry));
  }
  EXPECT_EQ(openDescriptors(), before);
  for (const HANDLE search : searches) EXPECT_EQ(FindClose(search), 1);
}

TEST(FileSearch, RunsInManyThreads) {
  const TempDir dir;
  for (int i = 0; i < 20; ++i) writeFile(dir.path() / std::to_string(i), "");
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 50; ++i) EXPECT_EQ(found(dir.wide("*")).size(), 22u);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(FileSearch, SharesOneSearchAmongThreadsWithoutGivingAnEntryTwice) {
  const TempDir dir;
  constexpr std::size_t kFiles = 200;
  for (std::size_t i = 0; i < kFiles; ++i) writeFile(dir.path() / std::to_string(i), "");
  WIN32_FIND_DATAW first{};
  const HANDLE search = FindFirstFileW(dir.wide("*").c_str(), &first);
  std::vector<std::vector<qmWString>> names(4);
  std::vector<std::thread> threads;
  for (auto& mine : names) {
    threads.emplace_back([&mine, search] {
      WIN32_FIND_DATAW entry{};
      while (FindNextFileW(search, &entry) != 0) mine.push_back(entry.cFileName);
    });
  }
  for (std::thread& thread : threads) thread.join();
  std::vector<qmWString> all{first.cFileName};
  for (const auto& mine : names) all.insert(all.end(), mine.begin(), mine.end());
  std::sort(all.begin(), all.end());
  EXPECT_EQ(std::unique(all.begin(), all.end()), all.end());
  EXPECT_EQ(all.size(), kFiles + 2);
  FindClose(search);
}

}  // namespace

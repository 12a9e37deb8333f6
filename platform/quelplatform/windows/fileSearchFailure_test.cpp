// A search for files some of which cannot be looked at. Replaces lstat and stat, which look at them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/fileSearch.h"
#include "quelplatform/windows/windows.h"
#include "testing/TempHome.h"

namespace {

// What looking at a path that ends in `unseen` fails with; 0 for nothing.
std::string_view unseen;
int failure = 0;
bool onlyThroughLinks = false;

int look(const char* path, struct stat* status, int flags) {
  const bool spared = onlyThroughLinks && (flags & AT_SYMLINK_NOFOLLOW) != 0;
  if (spared || failure == 0 || !std::string_view(path).ends_with(unseen))
    return fstatat(AT_FDCWD, path, status, flags);
  errno = failure;
  return -1;
}

}  // namespace

extern "C" [[gnu::visibility("default")]] int lstat(const char* path, struct stat* status) noexcept {
  return look(path, status, AT_SYMLINK_NOFOLLOW);
}

extern "C" [[gnu::visibility("default")]] int stat(const char* path, struct stat* status) noexcept {
  return look(path, status, 0);
}

namespace {

using ::testing::ElementsAre;

class SearchThatFails : public ::testing::Test {
 protected:
  SearchThatFails() {
    for (const char* name : {"a", "b", "c"}) quel::testing::writeFile(dir_.path() / name, "");
    std::filesystem::create_directory_symlink(".", dir_.path() / "link");
  }
  ~SearchThatFails() override {
    failure = 0;
    onlyThroughLinks = false;
  }

  /// The names that a search gives, and the last error at its end.
  std::vector<std::string> found() {
    std::vector<std::string> names;
    WIN32_FIND_DATAW entry;
    const HANDLE search = FindFirstFileW(dir_.wide("?*").c_str(), &entry);
    for (bool more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry) != 0) {
      if (entry.cFileName[0] != u'.') names.push_back(toNarrow(entry.cFileName));
    }
    error_ = GetLastError();
    failure = 0;
    for (bool more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &entry) != 0) {
      if (entry.cFileName[0] != u'.') later_.push_back(toNarrow(entry.cFileName));
    }
    FindClose(search);
    return names;
  }

  quel::testing::TempDir dir_;
  std::vector<std::string> later_;
  std::uint32_t error_ = 0;
};

TEST_F(SearchThatFails, LeavesOutWhatIsGoneOrMayNotBeLookedAt) {
  for (const int error : {ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG}) {
    unseen = "/b";
    failure = error;
    EXPECT_THAT(found(), ElementsAre("a", "c", "link")) << error;
    EXPECT_EQ(error_, 18u);
  }
}

TEST_F(SearchThatFails, TellsWhatMayPassAndGoesOnWithThatEntry) {
  unseen = "/b";
  failure = EMFILE;
  EXPECT_THAT(found(), ElementsAre("a"));
  EXPECT_EQ(error_, 4u);
  EXPECT_EQ(later_.back(), "link");
  EXPECT_THAT(later_, ::testing::Contains("b"));
}

TEST_F(SearchThatFails, TellsItOfTheFirstEntryToo) {
  unseen = "/a";
  failure = EMFILE;
  WIN32_FIND_DATAW entry;
  EXPECT_EQ(FindFirstFileW(dir_.wide("A*").c_str(), &entry), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 4u);
}

TEST_F(SearchThatFails, TellsOfALinkThatCannotBeFollowedForTheMoment) {
  unseen = "/link";
  failure = EIO;
  onlyThroughLinks = true;
  EXPECT_THAT(found(), ElementsAre("a", "b", "c"));
  EXPECT_NE(error_, 18u);
}

}  // namespace

// What a file that takes another's place may be used for, and by whom. The parts that the superuser would not feel run
// in a child process under another user id.
#include "quelplatform/ground/files/accessRights.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <string>

#include "quelplatform/ground/files/atomicFile.h"
#include "testing/AsNobody.h"
#include "testing/RecordingLog.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::holdsAsNobody;
using quel::testing::kNobody;
using quel::testing::nobodysFiles;
using quel::testing::Owner;
using quel::testing::ownerLike;
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::writeFile;

constexpr uid_t kSomebody = 12345;
constexpr gid_t kTeam = 23456;

// The owners of files, the present user where that is not the superuser.
const Owner kSelf = {getuid(), getgid()};
const Owner kTheirs = ownerLike(kSomebody, kTeam);
const Owner kWriters = nobodysFiles();

struct stat statusAt(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return status;
}

// 0, or the error that the write reports.
int put(const fs::path& path, const std::string& text) {
  int error = -1;
  quelplatform::writeFileAtomically(path.string(), std::as_bytes(std::span(text)), error);
  return error;
}

/// An old file in a directory that everybody may write in.
class ReplacedFile : public ::testing::Test {
 protected:
  ReplacedFile() { chmod(dir_.path().c_str(), 0777); }

  void make(const Owner& owner, mode_t mode) {
    writeFile(path(), "old");
    ASSERT_EQ(chown(path().c_str(), owner.user, owner.group), 0);
    ASSERT_EQ(chmod(path().c_str(), mode), 0);
  }

  fs::path path() const { return dir_.path() / "file"; }

  void expectFile(const Owner& owner, mode_t mode) const {
    const struct stat status = statusAt(path());
    EXPECT_EQ(status.st_uid, owner.user);
    EXPECT_EQ(status.st_gid, owner.group);
    EXPECT_EQ(status.st_mode & 07777, mode);
  }

  const TempDir dir_;
};

TEST_F(ReplacedFile, KeepsOwnerGroupAndRightsWhereTheWriterMayGiveThem) {
  make(kTheirs, 0640);
  EXPECT_EQ(put(path(), "new"), 0);
  expectFile(kTheirs, 0640);
}

TEST_F(ReplacedFile, RunsAsItsOwnerForNobodyAfterItWasWritten) {
  for (const mode_t special : {04755, 02755, 06777, 01777}) {
    make(kTheirs, special);
    EXPECT_EQ(put(path(), "new"), 0);
    expectFile(kTheirs, special & 0777);
  }
}

TEST_F(ReplacedFile, BelongsToAWriterWhoMayNotGiveFilesAway) {
  for (const mode_t mode : {0644, 0600, 0666}) {
    make(kTheirs, mode);
    EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(put(path(), "new"), 0); }));
    expectFile(kWriters, mode);
    EXPECT_EQ(readFile(path()), "new");
  }
}

TEST_F(ReplacedFile, KeepsAGroupThatTheWriterIsIn) {
  make(ownerLike(kSomebody, kNobody), 0664);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(put(path(), "new"), 0); }));
  expectFile(kWriters, 0664);
}

// The writer's own file goes to no other group.
TEST_F(ReplacedFile, StaysWhereItsGroupsRightsWouldGoToAnotherGroup) {
  for (const mode_t mode : {0640, 0660, 0604, 0664}) {
    make(kTheirs, mode);
    if (kTheirs.group == kWriters.group) {
      EXPECT_EQ(put(path(), "new"), 0);
      expectFile(kTheirs, mode);
      continue;
    }
    EXPECT_TRUE(holdsAsNobody([&] {
      const RecordingLog log;
      EXPECT_EQ(put(path(), "new"), EPERM);
      ASSERT_EQ(log.records().size(), 1u);
      EXPECT_EQ(log.records()[0].level, 5);
      EXPECT_NE(log.records()[0].message.find(path().string() + ": not replaced"), std::string::npos);
    }));
    expectFile(kTheirs, mode);
    EXPECT_EQ(readFile(path()), "old");
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), fs::directory_iterator()), 1);
}

TEST_F(ReplacedFile, CanBeReadByNobodyElseWhileItIsInTheMaking) {
  make(kSelf, 0600);
  quelplatform::PendingFile pending;
  const mode_t before = umask(0);
  EXPECT_EQ(pending.open(path().string()), 0);
  umask(before);
  struct stat status {};
  ASSERT_EQ(fstat(pending.descriptor(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

// Head, then the rights of owner, one more user, group, the mask and others.
struct List {
  struct Entry {
    std::uint16_t tag, right;
    std::uint32_t id;
  };

  std::uint32_t version = 2;
  std::array<Entry, 5> entries = {Entry{1, 6, UINT32_MAX}, Entry{2, 4, kNobody}, Entry{4, 0, UINT32_MAX},
                                  Entry{16, 4, UINT32_MAX}, Entry{32, 0, UINT32_MAX}};
};
static_assert(sizeof(List) == 44);

// False where the file system keeps no access lists: then there is nothing to keep, and all else holds.
bool setList(const fs::path& path, const char* name, const List& list) {
  if (setxattr(path.c_str(), name, &list, sizeof list, 0) == 0) return true;
  EXPECT_EQ(errno, ENOTSUP);
  return false;
}

bool belongsToAnother(const fs::path& path) { return statusAt(path).st_uid != getuid(); }

bool canOpen(const fs::path& path, int flags) {
  const int descriptor = open(path.c_str(), flags);
  if (descriptor != -1) close(descriptor);
  return descriptor != -1;
}

constexpr const char* kListName = "system.posix_acl_access";
constexpr const char* kDefaultsName = "system.posix_acl_default";

TEST_F(ReplacedFile, KeepsItsAccessList) {
  make(kSelf, 0600);
  const bool hasList = setList(path(), kListName, List{});
  EXPECT_EQ(put(path(), "new"), 0);
  EXPECT_EQ(readFile(path()), "new");
  List kept;
  kept.entries[1].right = 0;
  const ssize_t size = getxattr(path().c_str(), kListName, &kept, sizeof kept);
  EXPECT_EQ(size, hasList ? ssize_t{sizeof kept} : -1);
  EXPECT_EQ(kept.entries[1].right, hasList ? 4 : 0);
  EXPECT_TRUE(holdsAsNobody([&] {
    const bool mayRead = hasList || !belongsToAnother(path());
    EXPECT_EQ(readFile(path()), mayRead ? "new" : "");
  }));
}

TEST_F(ReplacedFile, TakesNoAccessListFromItsFolder) {
  make(kSelf, 0660);
  setList(dir_.path(), kDefaultsName, List{});
  EXPECT_EQ(put(path(), "new"), 0);
  expectFile(kSelf, 0660);
  EXPECT_EQ(getxattr(path().c_str(), kListName, nullptr, 0), -1);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(canOpen(path(), O_RDONLY), !belongsToAnother(path())); }));
}

/// The rights of a new file that follows a folder of these.
mode_t lockOf(const Owner& owner, mode_t folder) {
  const TempDir dir;
  const fs::path file = dir.path() / "lock";
  EXPECT_EQ(chown(dir.path().c_str(), owner.user, owner.group), 0);
  EXPECT_EQ(chmod(dir.path().c_str(), folder), 0);
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  quelplatform::followFolder(descriptor, dir.path().string());
  close(descriptor);
  const struct stat status = statusAt(file);
  EXPECT_EQ(status.st_uid, owner.user);
  EXPECT_EQ(status.st_gid, owner.group);
  return status.st_mode & 07777;
}

TEST(followFolder, GivesReadingAndWritingToThoseWhoMayWriteInTheFolder) {
  EXPECT_EQ(lockOf(kTheirs, 0755), 0600u);
  EXPECT_EQ(lockOf(kTheirs, 0775), 0660u);
  EXPECT_EQ(lockOf(kTheirs, 0777), 0666u);
  EXPECT_EQ(lockOf(kTheirs, 01777), 0666u);
  EXPECT_EQ(lockOf(kTheirs, 0707), 0606u);
}

TEST_F(ReplacedFile, ItsLockIsForNoGroupThatMayNotWriteInTheFolder) {
  chmod(dir_.path().c_str(), 0777);
  ASSERT_TRUE(holdsAsNobody([&] {
    fs::create_directory(dir_.path() / "team");
    fs::permissions(dir_.path() / "team", static_cast<fs::perms>(0773));
  }));
  const Owner teams = ownerLike(kNobody, kTeam);
  const bool isInTeam = teams.group == kWriters.group;
  ASSERT_EQ(chown((dir_.path() / "team").c_str(), teams.user, teams.group), 0);
  EXPECT_TRUE(holdsAsNobody([&] {
    const fs::path file = dir_.path() / "team" / "lock";
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    quelplatform::followFolder(descriptor, (dir_.path() / "team").string());
    EXPECT_EQ(statusAt(file).st_mode & 0777, 0666u);
    close(descriptor);
  }));
  ASSERT_EQ(chmod((dir_.path() / "team").c_str(), 0770), 0);
  EXPECT_TRUE(holdsAsNobody([&] {
    const fs::path file = dir_.path() / "team" / "other";
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    quelplatform::followFolder(descriptor, (dir_.path() / "team").string());
    EXPECT_EQ(statusAt(file).st_mode & 0777, isInTeam ? 0660u : 0600u);
    close(descriptor);
  }));
}

TEST_F(ReplacedFile, ItsLockIsForThoseWhomTheAccessListOfTheFolderLetsWrite) {
  List list;
  for (const bool mayWrite : {true, false}) {
    list.entries[0].right = 7;
    list.entries[1].right = mayWrite ? 7 : 5;
    list.entries[3].right = 7;
    const bool hasList = setList(dir_.path(), kListName, list);
    const fs::path file = dir_.path() / (mayWrite ? "first" : "second");
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    quelplatform::followFolder(descriptor, dir_.path().string());
    close(descriptor);
    EXPECT_TRUE(holdsAsNobody([&] {
      const bool may = mayWrite || !hasList || !belongsToAnother(file);
      EXPECT_EQ(canOpen(file, O_RDWR), may);
      EXPECT_EQ(canOpen(file, O_RDONLY), may);
    }));
  }
}

}  // namespace

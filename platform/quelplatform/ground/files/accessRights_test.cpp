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
using quel::testing::readFile;
using quel::testing::RecordingLog;
using quel::testing::TempDir;
using quel::testing::writeFile;

constexpr uid_t kSomebody = 12345;
constexpr gid_t kTeam = 23456;

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
  void SetUp() override {
    if (getuid() != 0) GTEST_SKIP() << "only the superuser may give files to others";
    chmod(dir_.path().c_str(), 0777);
  }

  void make(uid_t owner, gid_t group, mode_t mode) {
    writeFile(path(), "old");
    ASSERT_EQ(chown(path().c_str(), owner, group), 0);
    ASSERT_EQ(chmod(path().c_str(), mode), 0);
  }

  fs::path path() const { return dir_.path() / "file"; }

  void expectFile(uid_t owner, gid_t group, mode_t mode) const {
    const struct stat status = statusAt(path());
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
    EXPECT_EQ(status.st_mode & 07777, mode);
  }

  const TempDir dir_;
};

TEST_F(ReplacedFile, KeepsOwnerGroupAndRightsWhereTheSuperuserWrites) {
  make(kSomebody, kTeam, 0640);
  EXPECT_EQ(put(path(), "new"), 0);
  expectFile(kSomebody, kTeam, 0640);
}

TEST_F(ReplacedFile, RunsAsNobodyElseAfterTheSuperuserWroteIt) {
  for (const mode_t special : {04755, 02755, 06777, 01777}) {
    make(kSomebody, kTeam, special);
    EXPECT_EQ(put(path(), "new"), 0);
    expectFile(kSomebody, kTeam, special & 0777);
  }
}

TEST_F(ReplacedFile, BelongsToAWriterWhoMayNotGiveFilesAway) {
  for (const mode_t mode : {0644, 0600, 0666}) {
    make(kSomebody, kTeam, mode);
    EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(put(path(), "new"), 0); }));
    expectFile(kNobody, kNobody, mode);
    EXPECT_EQ(readFile(path()), "new");
  }
}

TEST_F(ReplacedFile, KeepsAGroupThatTheWriterIsIn) {
  make(kSomebody, kNobody, 0664);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(put(path(), "new"), 0); }));
  expectFile(kNobody, kNobody, 0664);
}

TEST_F(ReplacedFile, StaysWhereItsGroupsRightsWouldGoToAnotherGroup) {
  for (const mode_t mode : {0640, 0660, 0604, 0664}) {
    make(kSomebody, kTeam, mode);
    EXPECT_TRUE(holdsAsNobody([&] {
      const RecordingLog log;
      EXPECT_EQ(put(path(), "new"), EPERM);
      ASSERT_EQ(log.records().size(), 1u);
      EXPECT_EQ(log.records()[0].level, 5);
      EXPECT_NE(log.records()[0].message.find(path().string() + ": not replaced"), std::string::npos);
    }));
    expectFile(kSomebody, kTeam, mode);
    EXPECT_EQ(readFile(path()), "old");
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(dir_.path()), fs::directory_iterator()), 1);
}

TEST_F(ReplacedFile, CanBeReadByNobodyElseWhileItIsInTheMaking) {
  make(0, 0, 0600);
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

constexpr const char* kListName = "system.posix_acl_access";
constexpr const char* kDefaultsName = "system.posix_acl_default";

TEST_F(ReplacedFile, KeepsItsAccessList) {
  make(0, 0, 0600);
  const List list;
  if (setxattr(path().c_str(), kListName, &list, sizeof list, 0) != 0) GTEST_SKIP() << "a file system without them";
  EXPECT_EQ(put(path(), "new"), 0);
  EXPECT_EQ(readFile(path()), "new");
  List kept;
  kept.entries[1].right = 0;
  ASSERT_EQ(getxattr(path().c_str(), kListName, &kept, sizeof kept), ssize_t{sizeof kept});
  EXPECT_EQ(kept.entries[1].right, 4);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(readFile(path()), "new"); }));
}

TEST_F(ReplacedFile, TakesNoAccessListFromItsFolder) {
  make(0, 0, 0660);
  const List list;
  if (setxattr(dir_.path().c_str(), kDefaultsName, &list, sizeof list, 0) != 0) GTEST_SKIP() << "no access lists here";
  EXPECT_EQ(put(path(), "new"), 0);
  expectFile(0, 0, 0660);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(open(path().c_str(), O_RDONLY), -1); }));
}

/// The rights of a new file that follows a folder of these.
mode_t lockOf(uid_t owner, gid_t group, mode_t folder) {
  const TempDir dir;
  const fs::path file = dir.path() / "lock";
  EXPECT_EQ(chown(dir.path().c_str(), owner, group), 0);
  EXPECT_EQ(chmod(dir.path().c_str(), folder), 0);
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  quelplatform::followFolder(descriptor, dir.path().string());
  close(descriptor);
  const struct stat status = statusAt(file);
  if (getuid() == 0) {
    EXPECT_EQ(status.st_uid, owner);
    EXPECT_EQ(status.st_gid, group);
  }
  return status.st_mode & 07777;
}

TEST(followFolder, GivesReadingAndWritingToThoseWhoMayWriteInTheFolder) {
  const uid_t user = getuid() == 0 ? kSomebody : getuid();
  const gid_t group = getuid() == 0 ? kTeam : getgid();
  EXPECT_EQ(lockOf(user, group, 0755), 0600u);
  EXPECT_EQ(lockOf(user, group, 0775), 0660u);
  EXPECT_EQ(lockOf(user, group, 0777), 0666u);
  EXPECT_EQ(lockOf(user, group, 01777), 0666u);
  EXPECT_EQ(lockOf(user, group, 0707), 0606u);
}

TEST_F(ReplacedFile, ItsLockIsForNoGroupThatMayNotWriteInTheFolder) {
  chmod(dir_.path().c_str(), 0777);
  ASSERT_TRUE(holdsAsNobody([&] {
    fs::create_directory(dir_.path() / "team");
    fs::permissions(dir_.path() / "team", static_cast<fs::perms>(0773));
  }));
  ASSERT_EQ(chown((dir_.path() / "team").c_str(), kNobody, kTeam), 0);
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
    EXPECT_EQ(statusAt(file).st_mode & 0777, 0600u);
    close(descriptor);
  }));
}

TEST_F(ReplacedFile, ItsLockIsForThoseWhomTheAccessListOfTheFolderLetsWrite) {
  List list;
  list.entries[1].right = 7;
  list.entries[3].right = 7;
  if (setxattr(dir_.path().c_str(), kListName, &list, sizeof list, 0) != 0) GTEST_SKIP() << "no access lists here";
  const fs::path file = dir_.path() / "lock";
  const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  quelplatform::followFolder(descriptor, dir_.path().string());
  close(descriptor);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_NE(open(file.c_str(), O_RDWR), -1); }));
  list.entries[1].right = 5;
  ASSERT_EQ(setxattr(dir_.path().c_str(), kListName, &list, sizeof list, 0), 0);
  const fs::path second = dir_.path() / "second";
  const int other = open(second.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
  quelplatform::followFolder(other, dir_.path().string());
  close(other);
  EXPECT_TRUE(holdsAsNobody([&] { EXPECT_EQ(open(second.c_str(), O_RDONLY), -1); }));
}

}  // namespace

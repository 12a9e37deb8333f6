// Who may hold writers off, for how long, and what a thread that has its turn may do within it.
#include "quelplatform/ground/files/WriterLock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <memory>
#include <thread>

#include "testing/AsNobody.h"
#include "testing/BeforeCalls.h"
#include "testing/TempHome.h"

namespace {

namespace fs = std::filesystem;
using quel::testing::holdsAsNobody;
using quel::testing::TempDir;
using quelplatform::WriterLock;
using quelplatform::WriterTurn;

fs::path lockIn(const TempDir& dir) { return dir.path() / ".quel-ini.lock"; }

/// Takes the lock in a process that is killed while it holds it.
void dieHolding(const TempDir& dir) {
  const pid_t child = fork();
  if (child == 0) {
    WriterLock lock;
    if (lock.acquire(dir.path().string()) != 0) _exit(1);
    raise(SIGKILL);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_TRUE(fs::exists(lockIn(dir)));
}

/// What an attempt of another thread gives.
int inAnotherThread(const TempDir& dir) {
  int error = 0;
  std::thread([&] {
    WriterLock lock;
    error = lock.acquire(dir.path().string(), 0);
  }).join();
  return error;
}

/// Whether `check` holds in a process that is forked now.
template <typename Check>
bool holdsInAChild(const Check& check) {
  const pid_t child = fork();
  if (child == 0) _exit(check() ? 0 : 1);
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

TEST(WriterLock, OfAHolderWhoDiedIsTakenAtOnce) {
  const TempDir dir;
  dieHolding(dir);
  WriterLock lock;
  EXPECT_EQ(lock.acquire(dir.path().string(), 0), 0);
}

TEST(WriterLock, OfAnotherUserWhoDiedIsTakenAtOnceByThoseWhoMayWriteInTheFolder) {
  const TempDir dir;
  fs::permissions(dir.path(), static_cast<fs::perms>(01777));
  dieHolding(dir);
  EXPECT_TRUE(holdsAsNobody([&] {
    WriterLock lock;
    EXPECT_EQ(lock.acquire(dir.path().string(), 0), 0);
  }));
}

TEST(WriterLock, HasNoFileBeforeItIsSaidWhoMayOpenIt) {
  const TempDir dir;
  bool asked = false;
  quel::testing::beforeGivingRights = [&](int) {
    asked = true;
    EXPECT_FALSE(fs::exists(lockIn(dir)));
  };
  WriterLock lock;
  EXPECT_EQ(lock.acquire(dir.path().string(), 0), 0);
  EXPECT_TRUE(asked);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), {}), 1);
}

TEST(WriterLock, OfAFileThatIsRemovedBeforeItIsLockedIsNone) {
  const TempDir dir;
  dieHolding(dir);
  quel::testing::beforeLocking = [&](int) { fs::remove(lockIn(dir)); };
  WriterLock lock;
  EXPECT_EQ(lock.acquire(dir.path().string()), 0);
  EXPECT_TRUE(fs::exists(lockIn(dir)));
  EXPECT_EQ(inAnotherThread(dir), EBUSY);
}

TEST(WriterLock, OfAFileThatAnotherHolderReplacesBeforeItIsLockedIsNone) {
  const TempDir dir;
  dieHolding(dir);
  WriterLock other;
  quel::testing::beforeLocking = [&](int) {
    fs::remove(lockIn(dir));
    EXPECT_EQ(other.acquire(dir.path().string(), 0), 0);
  };
  WriterLock lock;
  EXPECT_EQ(lock.acquire(dir.path().string(), 0), EBUSY);
}

TEST(WriterLock, GoesToWhoeverMadeItsFileFirst) {
  const TempDir dir;
  WriterLock first;
  quel::testing::beforeGivingRights = [&](int) { EXPECT_EQ(first.acquire(dir.path().string(), 0), 0); };
  WriterLock second;
  EXPECT_EQ(second.acquire(dir.path().string(), 0), EBUSY);
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), {}), 1);
}

TEST(WriterLock, CannotBeHeldByThoseWhoMayOnlyReadTheFolder) {
  const TempDir dir;
  dieHolding(dir);
  const auto readOnly = static_cast<fs::perms>(0555);
  // Who is no superuser looks at a folder and a lock of his own, whose rights he has given up.
  if (!quel::testing::isSuperuser()) fs::permissions(lockIn(dir), fs::perms::none);
  fs::permissions(dir.path(), readOnly);
  EXPECT_TRUE(holdsAsNobody([&] {
    EXPECT_EQ(open(lockIn(dir).c_str(), O_RDONLY), -1);
    WriterLock lock;
    EXPECT_EQ(lock.acquire(dir.path().string()), EACCES);
  }));
  fs::permissions(dir.path(), quel::testing::kOpenToAll);
  fs::remove(lockIn(dir));
  fs::permissions(dir.path(), readOnly);
  EXPECT_TRUE(holdsAsNobody([&] {
    WriterLock lock;
    EXPECT_EQ(lock.acquire(dir.path().string()), EACCES);
  }));
  fs::permissions(dir.path(), quel::testing::kOpenToAll);
}

TEST(WriterLock, FollowsNoLink) {
  const TempDir dir;
  fs::create_symlink("elsewhere", lockIn(dir));
  WriterLock lock;
  EXPECT_EQ(lock.acquire(dir.path().string()), ELOOP);
  EXPECT_FALSE(fs::exists(dir.path() / "elsewhere"));
}

TEST(WriterLock, StaysWithItsHolderWhenAForkedProcessEndsItsCopy) {
  const TempDir dir;
  auto lock = std::make_unique<WriterLock>();
  ASSERT_EQ(lock->acquire(dir.path().string()), 0);
  EXPECT_TRUE(holdsInAChild([&] {
    lock.reset();
    return true;
  }));
  EXPECT_TRUE(fs::exists(lockIn(dir)));
  EXPECT_EQ(inAnotherThread(dir), EBUSY);
}

TEST(WriterTurn, HoldsOthersOffAndNotItsOwnThread) {
  const TempDir dir;
  {
    WriterTurn turn;
    ASSERT_EQ(turn.acquire(dir.path().string()), 0);
    {
      WriterTurn within;
      EXPECT_EQ(within.acquire(dir.path().string(), 0), 0);
      WriterLock lock;
      EXPECT_EQ(lock.acquire(dir.path().string(), 0), 0);
    }
    EXPECT_TRUE(WriterTurn::isMine(dir.path().string()));
    EXPECT_EQ(inAnotherThread(dir), EBUSY);
    EXPECT_TRUE(holdsInAChild([&] {
      WriterLock lock;
      return !WriterTurn::isMine(dir.path().string()) && lock.acquire(dir.path().string(), 0) == EBUSY;
    }));
  }
  EXPECT_FALSE(WriterTurn::isMine(dir.path().string()));
  EXPECT_EQ(inAnotherThread(dir), 0);
  EXPECT_FALSE(fs::exists(lockIn(dir)));
}

TEST(WriterTurn, IsOneOfADirectoryWhateverItsPath) {
  const TempDir dir;
  fs::create_directory(dir.path() / "a");
  fs::create_directory(dir.path() / "b");
  fs::create_symlink("a", dir.path() / "link");
  WriterTurn turn;
  ASSERT_EQ(turn.acquire((dir.path() / "a").string()), 0);
  EXPECT_TRUE(WriterTurn::isMine((dir.path() / "link").string()));
  EXPECT_FALSE(WriterTurn::isMine((dir.path() / "b").string()));
  WriterTurn second;
  ASSERT_EQ(second.acquire((dir.path() / "b").string(), 0), 0);
  EXPECT_TRUE(WriterTurn::isMine((dir.path() / "a").string()));
  EXPECT_TRUE(fs::exists(dir.path() / "b" / ".quel-ini.lock"));
}

}  // namespace

#include "quelplatform/ground/files/WriterLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

#include "quelplatform/ground/files/accessRights.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "quelplatform/ground/files/temporaryFile.h"

namespace quelplatform {

namespace {

// The turns of this thread, the latest first.
thread_local WriterTurn* latestTurn = nullptr;

int openNoLink(const std::string& path) {
  return uninterrupted([&] { return open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); });
}

// Whoever holds the lock removes its file when it is done, so that who may write here gets one of its own.
bool mayMakeFiles(const std::string& directory) {
  return faccessat(AT_FDCWD, directory.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

// It has its name only once it is said who may open it: whoever is stopped before leaves no lock that is his alone.
// Returns 0 or the `errno` of the failure: EWOULDBLOCK where it is worth trying again.
int makeLockFile(const std::string& path, const std::string& directory, Descriptor& file) {
  std::string made;
  int error = makeTemporaryFile(directory, 0600, made, file);
  if (error != 0) return error == ENOENT && makeHomeOf(path) ? EWOULDBLOCK : error;
  followFolder(file.get(), directory);
  error = nameIfAbsent(made, path);
  if (!made.empty()) unlink(made.c_str());
  return error == EEXIST ? EWOULDBLOCK : error;
}

// As above.
int openLockFile(const std::string& path, const std::string& directory, Descriptor& file) {
  if (file.reset(openNoLink(path)); file.isOpen()) return 0;
  if (errno == EACCES) return mayMakeFiles(directory) ? EWOULDBLOCK : EACCES;
  return errno == ENOENT ? makeLockFile(path, directory, file) : errno;
}

}  // namespace

// Unlocked before it is closed, because a process that was forked meanwhile has the file open too; there it is closed
// alone.
WriterLock::~WriterLock() {
  if (!file_.isOpen() || process_ != getpid()) return;
  unlink(path_.c_str());
  flock(file_.get(), LOCK_UN);
}

// Whoever held the lock before removed the file when it was done: a lock on a removed file excludes nobody.
bool WriterLock::isStillInPlace() const {
  struct stat mine {};
  struct stat there {};
  if (fstat(file_.get(), &mine) != 0 || linkStatusOf(path_, there) != 0) return false;
  return mine.st_dev == there.st_dev && mine.st_ino == there.st_ino;
}

int WriterLock::tryOnce(const std::string& directory) {
  Descriptor opened;
  if (const int error = openLockFile(path_, directory, opened); error != 0) return error;
  struct stat status {};
  if (fstat(opened.get(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return EINVAL;
  if (uninterrupted([&] { return flock(opened.get(), LOCK_EX | LOCK_NB); }) != 0) return errno;
  file_.reset(opened.release());
  if (isStillInPlace()) return 0;
  file_.reset();
  return EWOULDBLOCK;
}

int WriterLock::acquire(const std::string& directory, int patienceMilliseconds) {
  if (WriterTurn::isMine(directory)) return 0;
  path_ = directory + "/.quel-ini.lock";
  process_ = getpid();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMilliseconds);
  for (;;) {
    const int error = tryOnce(directory);
    if (error != EWOULDBLOCK) return error;
    if (std::chrono::steady_clock::now() >= deadline) return EBUSY;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

int WriterTurn::acquire(const std::string& directory, int patienceMilliseconds) {
  if (const int error = lock_.acquire(directory, patienceMilliseconds); error != 0) return error;
  struct stat status {};
  if (const int error = statusOf(directory, status); error != 0) return error;
  device_ = status.st_dev;
  inode_ = status.st_ino;
  process_ = getpid();
  before_ = latestTurn;
  latestTurn = this;
  held_ = true;
  return 0;
}

// Turns end in any order.
WriterTurn::~WriterTurn() {
  if (!held_) return;
  for (WriterTurn** at = &latestTurn; *at != nullptr; at = &(*at)->before_) {
    if (*at != this) continue;
    *at = before_;
    return;
  }
}

bool WriterTurn::isMine(const std::string& directory) noexcept {
  if (latestTurn == nullptr) return false;
  struct stat status {};
  if (statusOf(directory, status) != 0) return false;
  for (const WriterTurn* turn = latestTurn; turn != nullptr; turn = turn->before_) {
    if (turn->device_ == status.st_dev && turn->inode_ == status.st_ino && turn->process_ == getpid()) return true;
  }
  return false;
}

}  // namespace quelplatform

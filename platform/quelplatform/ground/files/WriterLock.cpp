#include "quelplatform/ground/files/WriterLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <thread>

namespace quelplatform {

namespace {

// A lock file that another user left may be readable only, which is enough where locks are local to the machine.
int openLockFile(const std::string& path) {
  const int descriptor = openFile(path, O_RDWR | O_CREAT);
  if (descriptor >= 0 || errno != EACCES) return descriptor;
  const int readable = openFile(path, O_RDONLY);
  if (readable < 0) errno = EACCES;
  return readable;
}

}  // namespace

// Unlocked before it is closed, because a process that was forked meanwhile has the file open too.
WriterLock::~WriterLock() {
  if (!file_.isOpen()) return;
  unlink(path_.c_str());
  flock(file_.get(), LOCK_UN);
}

// Whoever held the lock before removed the file when it was done: a lock on a removed file excludes nobody.
bool WriterLock::isStillInPlace() const {
  struct stat mine {};
  struct stat there {};
  if (fstat(file_.get(), &mine) != 0 || stat(path_.c_str(), &there) != 0) return false;
  return mine.st_dev == there.st_dev && mine.st_ino == there.st_ino;
}

int WriterLock::tryOnce() {
  Descriptor opened(openLockFile(path_));
  if (!opened.isOpen()) return errno;
  if (flock(opened.get(), LOCK_EX | LOCK_NB) != 0) return errno;
  file_.reset(opened.release());
  if (isStillInPlace()) return 0;
  file_.reset();
  return EAGAIN;
}

int WriterLock::acquire(const std::string& directory, int patienceMilliseconds) {
  path_ = directory + "/.quel-ini.lock";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(patienceMilliseconds);
  for (;;) {
    const int error = tryOnce();
    if (error != EWOULDBLOCK && error != EINTR) return error;
    if (std::chrono::steady_clock::now() >= deadline) return EBUSY;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace quelplatform

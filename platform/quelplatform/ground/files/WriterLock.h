// One writer at a time in a directory, over all processes.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

/// Held from `acquire` to the end of its life. While it is held the directory has an empty file ".quel-ini.lock", which
/// a writer that was killed leaves behind; the next one takes it at once, and removes it. Who may write in the
/// directory may open that file, and nobody else, so that nobody else can hold writers off; a link of that name is
/// refused (ELOOP).
class WriterLock {
 public:
  WriterLock() = default;
  ~WriterLock();
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

  /// Waits for the lock of `directory`, and makes that when it is the home directory and not there yet; takes nothing
  /// where the calling thread has its turn there (`WriterTurn`). Returns 0 or the `errno` of the failure: EBUSY when
  /// other writers held it for `patienceMilliseconds`, EACCES for a directory that this process may not write in.
  int acquire(const std::string& directory, int patienceMilliseconds = 20000);

 private:
  int tryOnce(const std::string& directory);
  bool isStillInPlace() const;

  std::string path_;
  Descriptor file_;
  pid_t process_ = 0;
};

/// A turn of the calling thread as the writer of a directory: the lock for as long as it lives, within which the
/// thread's own locks and further turns there take nothing, so that what is read stays true until it is written. For
/// the thread that took it, and no process that is forked meanwhile has it.
class WriterTurn {
 public:
  WriterTurn() = default;
  ~WriterTurn();
  WriterTurn(const WriterTurn&) = delete;
  WriterTurn& operator=(const WriterTurn&) = delete;

  /// As `WriterLock::acquire`.
  int acquire(const std::string& directory, int patienceMilliseconds = 20000);

  /// Whether the calling thread has its turn in `directory`.
  static bool isMine(const std::string& directory) noexcept;

 private:
  WriterLock lock_;
  bool held_ = false;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  pid_t process_ = 0;
  WriterTurn* before_ = nullptr;  ///< The turn that this thread took before this one.
};

}  // namespace quelplatform

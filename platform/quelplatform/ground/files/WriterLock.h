// One writer at a time in a directory, over all processes.
#pragma once

#include <string>

#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

/// Held from `acquire` to the end of its life. While it is held the directory has an empty file ".quel-ini.lock", which
/// a writer that was killed leaves behind; the next one takes and removes it.
class WriterLock {
 public:
  WriterLock() = default;
  ~WriterLock();
  WriterLock(const WriterLock&) = delete;
  WriterLock& operator=(const WriterLock&) = delete;

  /// Waits for the lock of `directory`, and makes that when it is the home directory and not there yet. Returns 0 or
  /// the `errno` of the failure: EBUSY when other writers held it for `patienceMilliseconds`.
  int acquire(const std::string& directory, int patienceMilliseconds = 20000);

 private:
  int tryOnce();
  bool isStillInPlace() const;

  std::string path_;
  Descriptor file_;
};

}  // namespace quelplatform

// An open file that closes itself.
#pragma once

#include <cerrno>
#include <cstdio>

#include "quelplatform/qmEnv/qmFile.h"

namespace quelcore {

/// The owner of what `qmFileOpen` gives.
class File {
 public:
  /// Opens `path`, which must outlive this object, since the platform gets it again when the file is closed; `mode` is
  /// one that `qmFileOpen` takes. `isOpen` tells whether that worked; if not, `errno` why.
  File(const qmWChar* path, const qmWChar* mode) noexcept : path_(path) { qmFileOpen(path, mode, &file_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { close(); }

  bool isOpen() const { return file_ != nullptr; }

  /// The stream, null when nothing is open. It stays this object's.
  std::FILE* get() const { return file_; }

  /// Closes early. False when any of the data could not be written.
  bool close() noexcept { return qmFileClose(path_, &file_) != 0; }

 private:
  const qmWChar* path_;
  std::FILE* file_ = nullptr;
};

/// Why `path` cannot be opened for reading, as an `errno` value; 0 when it can, be it only now.
inline int whyUnopened(const qmWChar* path) noexcept {
  const File file(path, u"rb");
  return file.isOpen() ? 0 : errno;
}

}  // namespace quelcore

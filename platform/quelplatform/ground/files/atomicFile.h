// Writing whole files so that a crash, a full disk or a lost connection leaves either the old file or the new one.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <span>
#include <string>

#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

/// Makes `path`, when it names a symbolic link, the path of what the chain of links ends at. Returns 0 or the `errno`
/// of the failure.
int followLinks(std::string& path);

/// True for a file that nobody may write to, which is read-only as Windows has it: it could be replaced nevertheless.
bool isWriteProtected(const std::string& path);

/// Modes of new files: for their owner alone; for all, of which the process's mask is taken away.
inline constexpr mode_t kPrivate = 0600;
inline constexpr mode_t kAsUsual = 0666;

/// Told the path of each file that is not replaced because that would give somebody rights; the log is, as long as
/// there is one.
using RefusalListener = void (*)(const std::string& path) noexcept;
void listenToRefusals(RefusalListener listener) noexcept;

/// A file in the making: a temporary file in the directory of its target that takes the target's place when it is
/// whole. Removed at the end of its life unless it did. Calls return 0 or the `errno` of the failure.
class PendingFile {
 public:
  PendingFile() = default;
  ~PendingFile();
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;

  /// Makes the temporary file, and the directory of `target` if that lies in the home directory. A target that is a
  /// symbolic link stands for the file that it leads to. Refuses a target that is there and no regular file: EISDIR for
  /// a directory, EINVAL for anything else.
  ///
  /// A new file is made with `modeOfNew`, of which the process's mask is taken away. Of an existing target rights
  /// (0777), group and access list are taken over, and the owner where this process may give files away; where it may
  /// not, it owns the new file. EPERM, told to the listener, where somebody could then do more with the file than
  /// before (accessRights.h). Temporary files of writers that died are removed.
  int open(const std::string& target, mode_t modeOfNew = kAsUsual);

  int write(std::span<const std::byte> content);

  /// Flushes to disk, which `replace` and `putIfAbsent` do too.
  int flush() const;

  int descriptor() const { return file_.get(); }

  /// Flushes to disk and takes the place of the target.
  int replace();

  /// Flushes to disk and becomes the target unless something of that name is there (EEXIST).
  int putIfAbsent();

 private:
  int takeOver(const struct stat& old) const;
  void syncDirectory() const noexcept;

  std::string target_;
  std::string directory_;
  std::string temporary_;
  Descriptor file_;
};

/// Replaces the content of the file at `nativePath`, or makes it. True on success; otherwise `error` is the `errno` of
/// the failure (ENOMEM when memory is exhausted) and an old file is as it was.
bool writeFileAtomically(const std::string& nativePath, std::span<const std::byte> content, int& error) noexcept;

}  // namespace quelplatform

#include "quelplatform/ground/files/systemErrors.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include "quelplatform/ground/files/nativePath.h"

namespace quelplatform {

namespace {

struct SystemError {
  std::uint32_t number;
  int error;  ///< 0: no `errno` value of its own.
  std::string_view text;
};

// Where several `errno` values share a number, the first line of it has the text.
constexpr std::array kErrors = {
    SystemError{0, 0, "The operation succeeded."},
    SystemError{2, ENOENT, "The file was not found."},
    SystemError{3, ENOTDIR, "The directory was not found."},
    SystemError{4, EMFILE, "Too many files are open."},
    SystemError{4, ENFILE, ""},
    SystemError{5, EACCES, "Access was denied."},
    SystemError{5, EPERM, ""},
    SystemError{5, EISDIR, ""},
    SystemError{6, EBADF, "The file handle is not valid."},
    SystemError{8, ENOMEM, "There is not enough memory."},
    SystemError{17, EXDEV, "The file cannot be moved to another disk."},
    SystemError{18, 0, "There are no more files."},
    SystemError{19, EROFS, "The disk is write-protected."},
    SystemError{31, 0, "The operation failed for a reason that has no number of its own."},
    SystemError{32, EBUSY, "The file is in use by another program."},
    SystemError{32, ETXTBSY, ""},
    SystemError{80, EEXIST, "The file exists already."},
    SystemError{87, EINVAL, "A parameter is not valid."},
    SystemError{111, 0, "The path is too long for its buffer."},
    SystemError{112, ENOSPC, "There is not enough room on the disk."},
    SystemError{145, ENOTEMPTY, "The directory is not empty."},
    SystemError{206, ENAMETOOLONG, "The file name is too long."},
    SystemError{223, EFBIG, "The file is too large for its file system."},
    SystemError{267, 0, "The directory name is not valid."},
    SystemError{1117, EIO, "The disk failed while it was read or written."},
    SystemError{1295, EDQUOT, "The user's share of the disk is used up."},
    SystemError{1921, ELOOP, "The path leads through too many links."},
};
constexpr std::uint32_t kErrorUnspecific = 31;

thread_local std::uint32_t lastError = 0;

}  // namespace

std::uint32_t windowsError(int error) noexcept {
  const auto found = std::find_if(kErrors.begin(), kErrors.end(),
                                  [error](const SystemError& line) { return error != 0 && line.error == error; });
  return found == kErrors.end() ? kErrorUnspecific : found->number;
}

std::uint32_t windowsError(int error, const std::string& path) {
  if (error != ENOENT) return windowsError(error);
  struct stat status {};
  const bool directoryThere = !path.empty() && stat(directoryOf(path).c_str(), &status) == 0;
  return directoryThere ? kErrorFileNotFound : kErrorPathNotFound;
}

std::string systemErrorText(std::uint32_t systemError) {
  const auto found = std::find_if(kErrors.begin(), kErrors.end(),
                                  [systemError](const SystemError& line) { return line.number == systemError; });
  if (found != kErrors.end()) return std::string(found->text);
  return "The operating system reported error " + std::to_string(systemError) + ".";
}

void setLastError(std::uint32_t systemError) noexcept { lastError = systemError; }

std::uint32_t lastSystemError() noexcept { return lastError; }

void setLastErrorOfReading(int error, const std::string& path) {
  setLastError(error == 0 ? 0 : windowsError(error, path));
}

}  // namespace quelplatform

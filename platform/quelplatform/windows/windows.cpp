#include "quelplatform/windows/windows.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstddef>
#include <new>
#include <span>
#include <string>

#include "quelplatform/ground/files/accessRights.h"
#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/files/presence.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/fileAttributes.h"

namespace {

using quelplatform::attributesOf;
using quelplatform::Descriptor;
using quelplatform::isReadOnly;
using quelplatform::kPrivate;
using quelplatform::kRights;
using quelplatform::linkStatusOf;
using quelplatform::PendingFile;
using quelplatform::statusOf;
using quelplatform::unlessAbsent;

int copyContent(int source, PendingFile& target) {
  return quelplatform::readParts(source, [&](std::span<const std::byte> part) { return target.write(part); });
}

// The rights of the group, if the copy is another group's, are not for that one: it has those of all others at most.
mode_t rightsOfCopy(int target, const struct stat& source) {
  struct stat status {};
  const bool sameGroup = fstat(target, &status) == 0 && status.st_gid == source.st_gid;
  const mode_t others = source.st_mode & 7;
  return sameGroup ? source.st_mode & kRights : (source.st_mode & 0707) | (source.st_mode & others << 3 & 0070);
}

int copyAttributes(int target, const struct stat& source) {
  const timespec times[] = {source.st_atim, source.st_mtim};
  fchmod(target, rightsOfCopy(target, source));  // As far as the file system has permissions.
  return futimens(target, times) == 0 ? 0 : errno;
}

// Why the existing `target` may not be replaced; 0 when it may or is not there.
int refusalOfTarget(const std::string& target, bool failIfExists) {
  struct stat status {};
  if (const int error = linkStatusOf(target, status); error != 0) return unlessAbsent(error);
  if (failIfExists) return EEXIST;
  return statusOf(target, status) == 0 && (isReadOnly(status) || !S_ISREG(status.st_mode)) ? EACCES : 0;
}

// Returns 0 or the `errno` of the failure; `culprit` is the path that it was met at.
int copyFile(const std::string& source, const std::string& target, bool failIfExists, const std::string*& culprit) {
  culprit = &source;
  const Descriptor from(quelplatform::openFile(source, O_RDONLY));
  struct stat status {};
  if (!from.isOpen() || fstat(from.get(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return EACCES;

  culprit = &target;
  if (const int error = refusalOfTarget(target, failIfExists); error != 0) return error;
  PendingFile to;
  int error = to.open(target, kPrivate);
  if (error == 0) error = copyContent(from.get(), to);
  if (error == 0) error = copyAttributes(to.descriptor(), status);
  if (error == 0) error = failIfExists ? to.putIfAbsent() : to.replace();
  return error;
}

}  // namespace

std::uint32_t GetLastError() noexcept { return quelplatform::lastSystemError(); }

std::uint32_t GetFileAttributesW(const qmWChar* path) noexcept try {
  if (path == nullptr) {
    quelplatform::setLastError(quelplatform::kErrorInvalidParameter);
    return INVALID_FILE_ATTRIBUTES;
  }
  const std::string native = quelplatform::nativePath(path);
  struct stat status {};
  const int error = quelplatform::statusOf(native, status);
  if (error == 0) return attributesOf(status);
  quelplatform::setLastError(quelplatform::windowsError(error, native));
  return INVALID_FILE_ATTRIBUTES;
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return INVALID_FILE_ATTRIBUTES;
}

std::int32_t CopyFileW(const qmWChar* source, const qmWChar* target, std::int32_t failIfExists) noexcept try {
  if (source == nullptr || target == nullptr) {
    quelplatform::setLastError(quelplatform::kErrorInvalidParameter);
    return 0;
  }
  const std::string from = quelplatform::nativePath(source);
  const std::string to = quelplatform::nativePath(target);
  const std::string* culprit = nullptr;
  const int error = copyFile(from, to, failIfExists != 0, culprit);
  if (error == 0) return 1;
  quelplatform::setLastError(quelplatform::windowsError(error, *culprit));
  return 0;
} catch (const std::bad_alloc&) {
  quelplatform::setLastError(quelplatform::kErrorNotEnoughMemory);
  return 0;
}

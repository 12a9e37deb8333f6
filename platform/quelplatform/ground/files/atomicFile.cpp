#include "quelplatform/ground/files/atomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>

#include "quelplatform/ground/files/accessRights.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "quelplatform/ground/files/temporaryFile.h"

namespace quelplatform {

namespace {

std::atomic<RefusalListener> refusalListener{nullptr};

// Looks at what is to be replaced; `isThere` says whether there is anything. Returns 0, or the `errno` of a failure or
// of the refusal of what is no regular file.
int lookAtTarget(const std::string& path, struct stat& status, bool& isThere) {
  isThere = false;
  if (path.empty()) return ENOENT;
  if (path.back() == '/') return EISDIR;
  if (const int error = statusOf(path, status); error != 0) return error == ENOENT ? 0 : error;
  isThere = true;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

}  // namespace

int followLinks(std::string& path) {
  struct stat status {};
  if (const int error = linkStatusOf(path, status); error != 0) return error == ENOENT ? 0 : error;
  if (!S_ISLNK(status.st_mode)) return 0;
  char* found = nullptr;
  while (found == nullptr) {
    found = realpath(path.c_str(), nullptr);
    if (found == nullptr && errno != EINTR) return errno;
  }
  const std::unique_ptr<char, decltype(&std::free)> real(found, &std::free);
  path = real.get();
  return 0;
}

bool isWriteProtected(const std::string& path) {
  struct stat status {};
  return statusOf(path, status) == 0 && (status.st_mode & 0222) == 0;
}

void listenToRefusals(RefusalListener listener) noexcept { refusalListener = listener; }

PendingFile::~PendingFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

int PendingFile::open(const std::string& target, mode_t modeOfNew) {
  target_ = target;
  if (const int error = followLinks(target_); error != 0) return error;
  struct stat old {};
  bool isThere = false;
  if (const int error = lookAtTarget(target_, old, isThere); error != 0) return error;
  makeFolderInHome(target_);
  directory_ = directoryOf(target_);
  removeAbandonedFiles(directory_);
  // Until it has the rights of the file that it replaces, nobody else may look into the new one.
  const int error = makeTemporaryFile(directory_, isThere ? kPrivate : modeOfNew, temporary_, file_);
  return error != 0 || !isThere ? error : takeOver(old);
}

int PendingFile::takeOver(const struct stat& old) const {
  const int error = takeOverRights(file_.get(), target_, old);
  const RefusalListener listener = refusalListener;
  if (error == EPERM && listener != nullptr) listener(target_);
  return error;
}

int PendingFile::write(std::span<const std::byte> content) {
  while (!content.empty()) {
    const ssize_t written = uninterrupted([&] { return ::write(file_.get(), content.data(), content.size()); });
    if (written < 0) return errno;
    content = content.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

// It stays open, and so locked, until it is in its place: what is flushed cannot be lost by closing.
int PendingFile::flush() const {
  return uninterrupted([&] { return fsync(file_.get()); }) == 0 ? 0 : errno;
}

int PendingFile::replace() {
  if (const int error = flush(); error != 0) return error;
  if (uninterrupted([&] { return rename(temporary_.c_str(), target_.c_str()); }) != 0) return errno;
  temporary_.clear();
  file_.reset();
  syncDirectory();
  return 0;
}

int PendingFile::putIfAbsent() {
  if (const int error = flush(); error != 0) return error;
  if (const int error = nameIfAbsent(temporary_, target_); error != 0) return error;
  syncDirectory();
  return 0;
}

// The new file is whole and in place by now; a directory that cannot be flushed, as on some network file systems, takes
// nothing from that.
void PendingFile::syncDirectory() const noexcept {
  const Descriptor directory(
      uninterrupted([&] { return ::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
  if (directory.isOpen()) static_cast<void>(uninterrupted([&] { return fsync(directory.get()); }));
}

bool writeFileAtomically(const std::string& nativePath, std::span<const std::byte> content, int& error) noexcept try {
  PendingFile file;
  error = file.open(nativePath);
  if (error == 0) error = file.write(content);
  if (error == 0) error = file.replace();
  return error == 0;
} catch (const std::bad_alloc&) {
  error = ENOMEM;
  return false;
}

}  // namespace quelplatform

#include "quelplatform/ground/files/atomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <utility>

#include "quelplatform/ground/files/nativePath.h"

namespace quelplatform {

namespace {

constexpr int kNameAttempts = 1000;

// A short name of its own, so that it fits wherever the target's name does.
std::string temporaryIn(const std::string& directory) {
  static std::atomic<std::uint64_t> counter{0};
  return directory + "/.quel-" + std::to_string(getpid()) + "-" + std::to_string(++counter) + ".tmp";
}

int refusalOfTarget(const std::string& path) {
  if (path.empty()) return ENOENT;
  if (path.back() == '/') return EISDIR;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
  if (S_ISDIR(status.st_mode)) return EISDIR;
  return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

}  // namespace

int followLinks(std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return errno == ENOENT ? 0 : errno;
  if (!S_ISLNK(status.st_mode)) return 0;
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
  if (real == nullptr) return errno;
  path = real.get();
  return 0;
}

bool isWriteProtected(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & 0222) == 0;
}

PendingFile::~PendingFile() {
  if (!temporary_.empty()) unlink(temporary_.c_str());
}

int PendingFile::open(const std::string& target) {
  target_ = target;
  if (const int error = followLinks(target_); error != 0) return error;
  if (const int error = refusalOfTarget(target_); error != 0) return error;
  makeFolderInHome(target_);
  directory_ = directoryOf(target_);
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    std::string name = temporaryIn(directory_);
    const int descriptor = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor < 0) return errno;
    file_.reset(descriptor);
    temporary_ = std::move(name);
    keepPermissions();
    return 0;
  }
  return EEXIST;
}

// As far as the file system has permissions: those of memory sticks refuse to change what they do not keep.
void PendingFile::keepPermissions() const {
  struct stat old {};
  if (stat(target_.c_str(), &old) == 0) fchmod(file_.get(), old.st_mode & 07777);
}

int PendingFile::write(std::span<const std::byte> content) {
  while (!content.empty()) {
    const ssize_t written = ::write(file_.get(), content.data(), content.size());
    if (written < 0 && errno != EINTR) return errno;
    if (written > 0) content = content.subspan(static_cast<std::size_t>(written));
  }
  return 0;
}

int PendingFile::finishWriting() {
  if (fsync(file_.get()) != 0) return errno;
  return file_.reset();
}

int PendingFile::replace() {
  if (const int error = finishWriting(); error != 0) return error;
  if (rename(temporary_.c_str(), target_.c_str()) != 0) return errno;
  temporary_.clear();
  syncDirectory();
  return 0;
}

int PendingFile::putIfAbsent() {
  if (const int error = finishWriting(); error != 0) return error;
  if (renameat2(AT_FDCWD, temporary_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
    temporary_.clear();
  } else {
    // File systems without that rename have links; the temporary name goes at the end of this object's life.
    if (errno != EINVAL && errno != ENOSYS) return errno;
    if (link(temporary_.c_str(), target_.c_str()) != 0) return errno;
  }
  syncDirectory();
  return 0;
}

// The new file is whole and in place by now; a directory that cannot be flushed, as on some network file systems, takes
// nothing from that.
void PendingFile::syncDirectory() const noexcept {
  const Descriptor directory(::open(directory_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (directory.isOpen()) fsync(directory.get());
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

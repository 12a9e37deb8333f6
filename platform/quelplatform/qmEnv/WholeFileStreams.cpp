#include "quelplatform/qmEnv/WholeFileStreams.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"

namespace quelplatform {

namespace {

struct OpenStreams {
  std::mutex mutex;
  std::unique_ptr<WholeFileStream> first;
};

OpenStreams& openStreams() {
  static const Lasting<OpenStreams> streams;
  return streams.get();
}

// A directory that is missing is made only when it is the home directory itself.
int checkDirectoryOf(const std::string& path) {
  const std::string directory = directoryOf(path);
  return isDirectory(directory) || makeHomeOf(path) ? 0 : ENOENT;
}

}  // namespace

int canBeWrittenWhole(const std::string& path, bool& whole) {
  whole = true;
  // Opened without a change to it: the system itself says whether it may be written to.
  const Descriptor old(openFile(path, O_WRONLY));
  if (!old.isOpen()) return errno == ENOENT ? checkDirectoryOf(path) : errno;
  struct stat status {};
  if (fstat(old.get(), &status) != 0) return errno;
  whole = S_ISREG(status.st_mode);
  return 0;
}

std::FILE* streamOn(Descriptor& descriptor, const char* mode) noexcept {
  std::FILE* const stream = descriptor.isOpen() ? fdopen(descriptor.get(), mode) : nullptr;
  if (stream == nullptr) return nullptr;
  descriptor.release();
  takeWholeFileStream(stream);
  return stream;
}

std::FILE* openWholeFileStream(const std::string& path) {
  auto opened = std::make_unique<WholeFileStream>();
  if (const int error = opened->file.open(path); error != 0) {
    errno = error;
    return nullptr;
  }
  // The stream has a descriptor of its own, so that it can be closed before the file is flushed to disk and renamed.
  Descriptor own(fcntl(opened->file.descriptor(), F_DUPFD_CLOEXEC, 0));
  opened->stream = streamOn(own, "wb");
  if (opened->stream == nullptr) return nullptr;
  std::FILE* const stream = opened->stream;
  OpenStreams& all = openStreams();
  const std::lock_guard lock(all.mutex);
  opened->next = std::move(all.first);
  all.first = std::move(opened);
  return stream;
}

std::unique_ptr<WholeFileStream> takeWholeFileStream(const std::FILE* stream) noexcept {
  OpenStreams& all = openStreams();
  const std::lock_guard lock(all.mutex);
  std::unique_ptr<WholeFileStream>* place = &all.first;
  while (*place != nullptr && (*place)->stream != stream) place = &(*place)->next;
  std::unique_ptr<WholeFileStream> taken = std::move(*place);
  if (taken != nullptr) *place = std::move(taken->next);
  return taken;
}

}  // namespace quelplatform

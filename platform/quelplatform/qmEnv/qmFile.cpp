#include "quelplatform/qmEnv/qmFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>

#include "quelplatform/ground/files/atomicFile.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/qmEnv/WholeFileStreams.h"

namespace {

using quelplatform::Descriptor;
using quelplatform::isSeparator;
using quelplatform::startOfName;

struct OpenMode {
  std::u16string_view name;
  const char* stream;
  int flags;
};

constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
constexpr std::array kOpenModes = {
    OpenMode{u"rb", "rb", O_RDONLY},
    OpenMode{u"wb", "wb", kWrite},
    OpenMode{u"ab", "ab", O_WRONLY | O_CREAT | O_APPEND},
    OpenMode{u"r", "r", O_RDONLY},
    OpenMode{u"w", "w", kWrite},
};

const OpenMode* findMode(const qmWChar* mode) {
  if (mode == nullptr) return nullptr;
  const auto found = std::find_if(kOpenModes.begin(), kOpenModes.end(),
                                  [mode](const OpenMode& known) { return known.name == std::u16string_view(mode); });
  return found == kOpenModes.end() ? nullptr : &*found;
}

std::int32_t failWith(int error) {
  errno = error;
  return 0;
}

bool replacesFiles(const OpenMode& mode) { return mode.flags == kWrite; }

// A stream on the file itself: for reading, for appending, and where there is no file that could be replaced.
std::FILE* openInPlace(const std::string& path, const OpenMode& mode) {
  Descriptor descriptor(quelplatform::openFile(path, mode.flags));
  return quelplatform::streamOn(descriptor, mode.stream);
}

std::FILE* openStream(const std::string& path, const OpenMode& mode) {
  bool whole = replacesFiles(mode);
  if (!whole) return openInPlace(path, mode);
  if (const int error = quelplatform::canBeWrittenWhole(path, whole); error != 0) {
    errno = error;
    return nullptr;
  }
  return whole ? quelplatform::openWholeFileStream(path) : openInPlace(path, mode);
}

bool isWritten(std::FILE* file) { return (fcntl(fileno(file), F_GETFL) & O_ACCMODE) != O_RDONLY; }

// Flushes and closes. Returns 0, or the `errno` of data that could not be written, now or earlier.
int closeStream(std::FILE* file) {
  const bool lostData = std::ferror(file) != 0 && isWritten(file);
  if (std::fclose(file) != 0) return errno;
  return lostData ? EIO : 0;
}

std::int32_t copyText(std::u16string_view text, qmWChar* buffer) {
  std::copy(text.begin(), text.end(), buffer);
  buffer[text.size()] = u'\0';
  return static_cast<std::int32_t>(text.size());
}

}  // namespace

std::int32_t qmFileOpen(const qmWChar* path, const qmWChar* mode, std::FILE** file) noexcept try {
  if (file == nullptr) return failWith(EINVAL);
  *file = nullptr;
  const OpenMode* known = findMode(mode);
  if (path == nullptr || known == nullptr) return failWith(EINVAL);
  *file = openStream(quelplatform::nativePath(path), *known);
  return *file == nullptr ? 0 : 1;
} catch (const std::bad_alloc&) {
  return failWith(ENOMEM);
}

std::int32_t qmFileClose(const qmWChar*, std::FILE** file) noexcept {
  if (file == nullptr || *file == nullptr) return 1;
  std::unique_ptr<quelplatform::WholeFileStream> whole = quelplatform::takeWholeFileStream(*file);
  int error = closeStream(*file);
  *file = nullptr;
  if (error == 0 && whole != nullptr) error = whole->file.replace();
  whole.reset();
  return error == 0 ? 1 : failWith(error);
}

std::int32_t qmFileWriteWhole(const qmWChar* path, const void* data, std::size_t size) noexcept try {
  if (path == nullptr || (data == nullptr && size != 0)) return failWith(EINVAL);
  const std::string native = quelplatform::nativePath(path);
  if (quelplatform::isWriteProtected(native) && !QmDirectoryExist(path)) return failWith(EACCES);
  int error = 0;
  const std::span content(static_cast<const std::byte*>(data), size);
  return quelplatform::writeFileAtomically(native, content, error) ? 1 : failWith(error);
} catch (const std::bad_alloc&) {
  return failWith(ENOMEM);
}

static_assert(std::endian::native == std::endian::little, "files are little-endian, and nothing here converts them");

std::int32_t qmEnvFlip(void*, std::size_t, std::size_t) noexcept { return 1; }

bool QmFileExist(const qmWChar* path) noexcept try {
  if (path == nullptr || path[0] == u'\0') return false;
  const std::u16string_view text(path);
  if (isSeparator(text.back())) return false;
  struct stat status {};
  return stat(quelplatform::nativePath(text).c_str(), &status) == 0 && !S_ISDIR(status.st_mode);
} catch (const std::bad_alloc&) {
  return false;
}

bool QmDirectoryExist(const qmWChar* path) noexcept try {
  return path != nullptr && quelplatform::isDirectory(quelplatform::nativePath(path));
} catch (const std::bad_alloc&) {
  return false;
}

bool QmMakeDirectory(const qmWChar* path) noexcept try {
  if (path == nullptr) return false;
  return path[0] == u'\0' || quelplatform::makeDirectories(quelplatform::nativePath(path)) == 0;
} catch (const std::bad_alloc&) {
  return false;
}

std::int32_t GetFileName(const qmWChar* path, qmWChar* buffer, std::int32_t size) noexcept {
  if (buffer == nullptr || size <= 0) return 0;
  std::u16string_view name = path == nullptr ? std::u16string_view() : std::u16string_view(path);
  name.remove_prefix(startOfName(name));
  return copyText(name.substr(0, static_cast<std::size_t>(size) - 1), buffer);
}

std::int32_t GetFullPath(const qmWChar* path, qmWChar* buffer, std::int32_t limit) noexcept {
  if (buffer == nullptr || limit < 0) return 0;
  const std::u16string_view text = path == nullptr ? std::u16string_view() : std::u16string_view(path);
  const std::size_t nameStart = startOfName(text);
  const std::u16string_view directory = text.substr(0, nameStart > 1 ? nameStart - 1 : nameStart);
  return copyText(directory.size() > static_cast<std::size_t>(limit) ? std::u16string_view() : directory, buffer);
}

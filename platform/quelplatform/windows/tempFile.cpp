#include "quelplatform/windows/tempFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <new>
#include <string>

#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/openFile.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/QmWorkPlace.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/fileSearch.h"

namespace {

constexpr std::uint32_t kNumbers = 0xFFFF;  // 0 is none of them.
constexpr std::size_t kLongestDirectory = MAX_PATH - 14;
constexpr std::size_t kPrefix = 3;

std::string temporaryDirectory() {
  const char* chosen = std::getenv("TMPDIR");
  std::string directory = chosen != nullptr && chosen[0] == '/' ? chosen : "/tmp";
  if (!directory.ends_with('/')) directory += '/';
  return directory;
}

std::uint32_t failWith(std::uint32_t error) noexcept {
  quelplatform::setLastError(error);
  return 0;
}

std::uint32_t copyOut(const qmWString& text, qmWChar* buffer) {
  text.copy(buffer, text.size());
  buffer[text.size()] = u'\0';
  return static_cast<std::uint32_t>(text.size());
}

qmWString hexadecimal(std::uint32_t number) {
  qmWString digits;
  for (; number != 0; number /= 16) digits.insert(digits.begin(), u"0123456789abcdef"[number % 16]);
  return digits;
}

qmWString join(std::u16string_view directory, std::u16string_view prefix, std::uint32_t number) {
  qmWString path(directory);
  if (!quelplatform::isSeparator(path.back())) path += QmWorkPlace::path_separator;
  path += prefix.substr(0, kPrefix);
  path += number == 0 ? qmWString(u"0") : hexadecimal(number);
  return path + u".tmp";
}

// Where to begin with numbers: different for each call and, most of the time, for each process.
std::uint32_t firstNumber() {
  static std::atomic<std::uint32_t> counter{static_cast<std::uint32_t>(getpid()) * 251u};
  const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
  return ++counter + static_cast<std::uint32_t>(now >> 16);
}

// Returns 0 or the `errno` of the failure.
int makeFile(const qmWString& path) {
  const std::string native = quelplatform::nativePath(path);
  const quelplatform::Descriptor file(
      quelplatform::uninterrupted([&] { return open(native.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600); }));
  return file.isOpen() ? 0 : errno;
}

std::uint32_t makeNumberedFile(std::u16string_view directory, std::u16string_view prefix, qmWChar* buffer) {
  if (!quelplatform::isDirectory(quelplatform::nativePath(directory))) return failWith(quelplatform::kErrorDirectory);
  const std::uint32_t first = firstNumber();
  for (std::uint32_t step = 0; step < kNumbers; ++step) {
    const std::uint32_t number = (first + step) % kNumbers + 1;
    const qmWString path = join(directory, prefix, number);
    const int error = makeFile(path);
    if (error == EEXIST) continue;
    if (error != 0) return failWith(quelplatform::windowsError(error));
    copyOut(path, buffer);
    return number;
  }
  return failWith(quelplatform::kErrorFileExists);
}

}  // namespace

std::uint32_t GetTempPathW(std::uint32_t size, qmWChar* buffer) noexcept try {
  const qmWString directory = toWide(temporaryDirectory());
  if (buffer == nullptr || directory.size() >= size) return static_cast<std::uint32_t>(directory.size() + 1);
  return copyOut(directory, buffer);
} catch (const std::bad_alloc&) {
  return failWith(quelplatform::kErrorNotEnoughMemory);
}

std::uint32_t GetTempFileNameW(const qmWChar* directory, const qmWChar* prefix, std::uint32_t number,
                               qmWChar* buffer) noexcept try {
  if (buffer == nullptr) return failWith(quelplatform::kErrorInvalidParameter);
  const qmWString where = directory == nullptr ? u"" : directory;  // Copies, for either may lie in the buffer.
  const qmWString front = prefix == nullptr ? u"" : prefix;
  buffer[0] = u'\0';
  if (where.empty()) return failWith(quelplatform::kErrorInvalidParameter);
  if (where.size() > kLongestDirectory) return failWith(quelplatform::kErrorBufferOverflow);
  if (number == 0) return makeNumberedFile(where, front, buffer);
  copyOut(join(where, front, number & 0xFFFF), buffer);
  return number;
} catch (const std::bad_alloc&) {
  if (buffer != nullptr) buffer[0] = u'\0';
  return failWith(quelplatform::kErrorNotEnoughMemory);
}

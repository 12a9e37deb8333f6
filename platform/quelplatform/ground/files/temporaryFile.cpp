#include "quelplatform/ground/files/temporaryFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/ground/files/systemCalls.h"

namespace quelplatform {

namespace {

constexpr int kNameAttempts = 1000;
constexpr std::string_view kBegin = ".quel-";
constexpr std::string_view kEnd = ".tmp";
constexpr std::string_view kDigitsAndDash = "0123456789-";

// A short name of its own, so that it fits wherever the target's name does.
std::string temporaryIn(const std::string& directory) {
  static std::atomic<std::uint64_t> counter{0};
  std::string path = directory;
  path.append("/").append(kBegin).append(std::to_string(getpid())).append("-").append(std::to_string(++counter));
  return path.append(kEnd);
}

bool isTemporaryName(std::string_view name) {
  if (name.size() <= kBegin.size() + kEnd.size() || !name.starts_with(kBegin) || !name.ends_with(kEnd)) return false;
  name = name.substr(kBegin.size(), name.size() - kBegin.size() - kEnd.size());
  return name.find_first_not_of(kDigitsAndDash) == name.npos;
}

// File systems without locks let everybody have one.
bool lock(int descriptor) {
  return uninterrupted([&] { return flock(descriptor, LOCK_EX | LOCK_NB); }) == 0 || errno != EWOULDBLOCK;
}

// Whoever looks for abandoned files may have found this one before it was locked, and removed it.
bool isInPlace(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

void removeIfAbandoned(int directory, const char* name) {
  const Descriptor file(uninterrupted(
      [&] { return openat(directory, name, O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY); }));
  struct stat status {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return;
  if (uninterrupted([&] { return flock(file.get(), LOCK_EX | LOCK_NB); }) == 0) unlinkat(directory, name, 0);
}

/// The directory that was looked through last, by a number of its path, and when. Takes no memory, so that no write
/// fails for want of it.
class LastLook {
 public:
  // True when it is time to look through the directory, which then was.
  bool isDue(std::string_view directory) noexcept {
    const auto now = std::chrono::steady_clock::now();
    const std::size_t number = std::hash<std::string_view>()(directory);
    const std::lock_guard guard(mutex_);
    if (number == number_ && now - time_ < std::chrono::seconds(10)) return false;
    number_ = number;
    time_ = now;
    return true;
  }

 private:
  std::mutex mutex_;
  std::size_t number_ = 0;
  std::chrono::steady_clock::time_point time_;
};

LastLook& lastLook() noexcept {
  static Lasting<LastLook> look;
  return look.get();
}

}  // namespace

int makeTemporaryFile(const std::string& directory, mode_t mode, std::string& path, Descriptor& file) {
  for (int attempt = 0; attempt < kNameAttempts; ++attempt) {
    std::string name = temporaryIn(directory);
    const auto make = [&] { return open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); };
    Descriptor made(uninterrupted(make));
    if (!made.isOpen() && errno == EEXIST) continue;
    if (!made.isOpen()) return errno;
    if (lock(made.get()) && isInPlace(made.get())) {
      file.reset(made.release());
      path = std::move(name);
      return 0;
    }
    unlink(name.c_str());
  }
  return EEXIST;
}

int nameIfAbsent(std::string& temporary, const std::string& target) noexcept {
  const auto rename = [&] {
    return renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE);
  };
  if (uninterrupted(rename) == 0) {
    temporary.clear();
    return 0;
  }
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // File systems without that rename have links.
  return uninterrupted([&] { return link(temporary.c_str(), target.c_str()); }) == 0 ? 0 : errno;
}

void removeAbandonedFiles(const std::string& directory) noexcept {
  if (!lastLook().isDue(directory)) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(directory.c_str()), &closedir);
  if (listing == nullptr) return;
  while (const dirent* entry = readdir(listing.get())) {
    if (isTemporaryName(entry->d_name)) removeIfAbandoned(dirfd(listing.get()), entry->d_name);
  }
}

}  // namespace quelplatform

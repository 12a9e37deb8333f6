#include "quelplatform/ground/ini/ProfileCache.h"

#include <ctime>
#include <utility>

#include "quelplatform/ground/text/wideCase.h"

namespace quelplatform {

namespace {

constexpr std::int64_t kLargestKept = std::int64_t{4} << 20;

std::u16string folded(std::u16string name) {
  for (char16_t& unit : name) unit = lowerUnit(unit);
  return name;
}

std::chrono::nanoseconds time(std::int64_t seconds, std::int64_t nanoseconds) {
  return std::chrono::seconds(seconds) + std::chrono::nanoseconds(nanoseconds);
}

bool hasSettled(const FileStamp& stamp, std::chrono::nanoseconds settling) {
  std::timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto present = time(now.tv_sec, now.tv_nsec);
  return present - time(stamp.modifiedSeconds, stamp.modifiedNanoseconds) >= settling &&
         present - time(stamp.changedSeconds, stamp.changedNanoseconds) >= settling;
}

}  // namespace

ProfileEntries::ProfileEntries(const ProfileFile& file) : narrow_(file.isNarrow()) {
  Keys* keys = nullptr;
  file.forEachEntry(
      [&](std::u16string section) {
        const auto [at, isFirst] = sections_.try_emplace(folded(std::move(section)));
        keys = isFirst ? &at->second : nullptr;  // Of equal sections the first counts.
      },
      [&](std::u16string key, std::u16string value) {
        if (keys != nullptr) keys->try_emplace(folded(std::move(key)), std::move(value));
      });
}

const std::u16string* ProfileEntries::value(std::u16string_view section, std::u16string_view key) const {
  const auto keys = sections_.find(folded(ProfileFile::soughtName(section, narrow_)));
  if (keys == sections_.end()) return nullptr;
  const auto found = keys->second.find(folded(ProfileFile::soughtName(key, narrow_)));
  return found == keys->second.end() ? nullptr : &found->second;
}

std::shared_ptr<const ProfileEntries> ProfileCache::entriesOf(const std::string& nativePath) {
  const FileStamp stamp = stampOf(nativePath);
  if (stamp == FileStamp() || stamp.size > kLargestKept || !hasSettled(stamp, settling_)) return nullptr;
  const std::lock_guard lock(mutex_);
  if (entries_ != nullptr && path_ == nativePath && stamp_ == stamp) return entries_;
  entries_.reset();
  ProfileFile file;
  if (readProfile(nativePath, file) != 0 || stampOf(nativePath) != stamp) return nullptr;
  path_ = nativePath;
  stamp_ = stamp;
  entries_ = std::make_shared<const ProfileEntries>(file);
  return entries_;
}

ProfileCache& profileCache() {
  static ProfileCache& cache = *new ProfileCache(std::chrono::seconds(2));  // Lives as long as the process.
  return cache;
}

}  // namespace quelplatform

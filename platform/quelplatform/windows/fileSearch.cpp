#include "quelplatform/windows/fileSearch.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "quelplatform/ground/files/Lasting.h"
#include "quelplatform/ground/files/nativePath.h"
#include "quelplatform/ground/files/systemCalls.h"
#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/qmEnv/qmText.h"
#include "quelplatform/windows/fileAttributes.h"
#include "quelplatform/windows/fileTicks.h"
#include "quelplatform/windows/wildcard.h"

namespace {

struct Entry {
  qmWString name;
  qmWString key;  ///< The name in capitals.

  bool isDots() const { return name == u"." || name == u".."; }

  bool operator<(const Entry& other) const {
    if (isDots() != other.isDots()) return isDots();
    return key != other.key ? key < other.key : name < other.name;
  }
};

struct Search {
  std::mutex mutex;
  std::string directory;  ///< Native, with its last separator.
  std::vector<Entry> entries;
  std::size_t next = 0;
};

// The open searches by number; a handle is such a number, so that a wrong one leads nowhere.
struct Searches {
  std::mutex mutex;
  std::map<std::uintptr_t, std::shared_ptr<Search>> open;
  std::uintptr_t last = 0;
};

Searches& searches() noexcept {
  static quelplatform::Lasting<Searches> all;
  return all.get();
}

void fill(const Entry& entry, const struct stat& status, bool isLink, WIN32_FIND_DATAW& data) {
  data = {};
  data.dwFileAttributes = quelplatform::attributesOf(status);
  if (isLink) data.dwFileAttributes |= FILE_ATTRIBUTE_REPARSE_POINT;
  data.ftLastAccessTime = quelplatform::fileTimeOf(status.st_atim);
  data.ftLastWriteTime = quelplatform::fileTimeOf(status.st_mtim);
  const auto size = static_cast<std::uint64_t>(status.st_size);
  data.nFileSizeHigh = static_cast<std::uint32_t>(size >> 32);
  data.nFileSizeLow = static_cast<std::uint32_t>(size);
  const std::size_t length = std::min(entry.name.size(), std::size_t{MAX_PATH} - 1);
  entry.name.copy(data.cFileName, length);
}

// Whether an entry that cannot be looked at for that reason is one that is gone, or that this process may not see.
bool isLasting(int error) {
  constexpr std::array kLasting = {ENOENT, ENOTDIR, EACCES, ELOOP, ENAMETOOLONG};
  return std::find(kLasting.begin(), kLasting.end(), error) != kLasting.end();
}

// Looks at the entry as it is now. Returns 0 or the `errno` of the failure.
int look(const std::string& directory, const Entry& entry, WIN32_FIND_DATAW& data) {
  const std::string path = directory + toNarrow(entry.name);
  struct stat status {};
  if (const int error = quelplatform::linkStatusOf(path, status); error != 0) return error;
  const bool isLink = S_ISLNK(status.st_mode);
  struct stat target {};
  const int error = isLink ? quelplatform::statusOf(path, target) : 0;
  if (error != 0 && !isLasting(error)) return error;
  if (isLink && error == 0) status = target;  // A link that leads nowhere stands for itself.
  fill(entry, status, isLink, data);
  return 0;
}

// Returns 0; ENOENT when there is no further entry; or the `errno` of a failure that may pass, after which the entry's
// turn comes again, as it does when memory runs out.
int takeNext(Search& search, WIN32_FIND_DATAW& data) {
  while (search.next < search.entries.size()) {
    const int error = look(search.directory, search.entries[search.next], data);
    if (error != 0 && !isLasting(error)) return error;
    ++search.next;
    if (error == 0) return 0;
  }
  return ENOENT;
}

void addIfWanted(const char* nativeName, const qmWString& pattern, std::vector<Entry>& entries) {
  Entry entry;
  entry.name = toWide(nativeName);
  if (entry.name.find(u'\\') != qmWString::npos || toNarrow(entry.name) != nativeName) return;
  entry.key = quelplatform::capitals(entry.name);
  if (quelplatform::matchesPattern(pattern, entry.key)) entries.push_back(std::move(entry));
}

// Returns 0 or the `errno` of the failure.
int list(const std::string& directory, const qmWString& pattern, std::vector<Entry>& entries) {
  const auto open = [&] { return opendir(directory.c_str()); };
  DIR* opened = open();
  while (opened == nullptr && errno == EINTR) opened = open();
  const std::unique_ptr<DIR, int (*)(DIR*)> listing(opened, &closedir);
  if (listing == nullptr) return errno;
  for (;;) {
    errno = 0;
    const dirent* found = readdir(listing.get());
    if (found == nullptr) break;
    addIfWanted(found->d_name, pattern, entries);
  }
  if (errno != 0) return errno;
  std::sort(entries.begin(), entries.end());
  return 0;
}

// A name without wildcards is looked up, not searched for: that takes no right to list the directory, and no time for
// whatever else lies there. A name that differs in case alone is still to be searched for.
bool lookUp(const std::string& directory, std::u16string_view name, WIN32_FIND_DATAW& data) {
  if (name.empty() || name.find_first_of(u"*?") != std::u16string_view::npos) return false;
  const Entry entry{qmWString(name), {}};
  return toWide(toNarrow(entry.name)) == entry.name && look(directory, entry, data) == 0;
}

HANDLE keep(std::shared_ptr<Search> search) {
  Searches& all = searches();
  const std::lock_guard lock(all.mutex);
  all.open.emplace(all.last + 1, std::move(search));
  return reinterpret_cast<HANDLE>(++all.last);
}

std::shared_ptr<Search> searchOf(HANDLE handle) {
  Searches& all = searches();
  const std::lock_guard lock(all.mutex);
  const auto found = all.open.find(reinterpret_cast<std::uintptr_t>(handle));
  return found == all.open.end() ? nullptr : found->second;
}

HANDLE noSearch(std::uint32_t error) noexcept {
  quelplatform::setLastError(error);
  return INVALID_HANDLE_VALUE;
}

std::int32_t failWith(std::uint32_t error) noexcept {
  quelplatform::setLastError(error);
  return 0;
}

// A directory that is missing is 3 whatever lies above it.
std::uint32_t errorOfListing(int error) {
  return error == ENOENT ? quelplatform::kErrorPathNotFound : quelplatform::windowsError(error);
}

}  // namespace

HANDLE FindFirstFileW(const qmWChar* pattern, WIN32_FIND_DATAW* entry) noexcept try {
  if (pattern == nullptr || entry == nullptr) return noSearch(quelplatform::kErrorInvalidParameter);
  const std::u16string_view text(pattern);
  const std::size_t name = quelplatform::startOfName(text);
  auto search = std::make_shared<Search>();
  search->directory = name == 0 ? "./" : quelplatform::nativePath(text.substr(0, name));
  WIN32_FIND_DATAW first;
  if (!lookUp(search->directory, text.substr(name), first)) {
    const int error = list(search->directory, quelplatform::capitals(text.substr(name)), search->entries);
    if (error != 0) return noSearch(errorOfListing(error));
    if (const int failure = takeNext(*search, first); failure != 0)
      return noSearch(quelplatform::windowsError(failure));
  }
  const HANDLE handle = keep(std::move(search));
  *entry = first;
  return handle;
} catch (const std::bad_alloc&) {
  return noSearch(quelplatform::kErrorNotEnoughMemory);
}

std::int32_t FindNextFileW(HANDLE search, WIN32_FIND_DATAW* entry) noexcept try {
  if (entry == nullptr) return failWith(quelplatform::kErrorInvalidParameter);
  const std::shared_ptr<Search> found = searchOf(search);
  if (found == nullptr) return failWith(quelplatform::kErrorInvalidHandle);
  const std::lock_guard lock(found->mutex);
  WIN32_FIND_DATAW next;
  const int error = takeNext(*found, next);
  if (error == ENOENT) return failWith(quelplatform::kErrorNoMoreFiles);
  if (error != 0) return failWith(quelplatform::windowsError(error));
  *entry = next;
  return 1;
} catch (const std::bad_alloc&) {
  return failWith(quelplatform::kErrorNotEnoughMemory);
}

std::int32_t FindClose(HANDLE search) noexcept {
  Searches& all = searches();
  const std::lock_guard lock(all.mutex);
  return all.open.erase(reinterpret_cast<std::uintptr_t>(search)) == 1 ? 1
                                                                       : failWith(quelplatform::kErrorInvalidHandle);
}

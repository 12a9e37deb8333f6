#include "quelcore/project/subdirectories.h"

#include "quelcore/base/DirectorySearch.h"

namespace quelcore {

namespace {

bool isSubdirectory(const WIN32_FIND_DATAW& entry) {
  const std::u16string_view name(entry.cFileName);
  return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && name != u"." && name != u"..";
}

}  // namespace

std::vector<Subdirectory> subdirectories(const qmWString& pattern, std::uint32_t* error) {
  std::vector<Subdirectory> found;
  DirectorySearch search(pattern);
  for (; search.found(); search.goOn()) {
    const WIN32_FIND_DATAW& entry = search.entry();
    if (!isSubdirectory(entry)) continue;
    found.push_back({entry.cFileName, (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0});
  }
  if (error != nullptr && !search.isComplete()) *error = search.error();
  return found;
}

}  // namespace quelcore

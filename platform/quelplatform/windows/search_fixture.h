// What the tests of the file search share.
#pragma once

#include <gmock/gmock.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "quelplatform/ground/files/systemErrors.h"
#include "quelplatform/windows/fileSearch.h"
#include "testing/TempHome.h"

namespace quelplatform::testing {

/// The names that a pattern finds, in the order in which they come.
inline std::vector<qmWString> found(const qmWString& pattern) {
  std::vector<qmWString> names;
  WIN32_FIND_DATAW entry{};
  const HANDLE search = FindFirstFileW(pattern.c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return names;
  do names.push_back(entry.cFileName);
  while (FindNextFileW(search, &entry) != 0);
  EXPECT_EQ(FindClose(search), 1);
  return names;
}

/// The last error of a search that fails.
inline std::uint32_t errorOfSearch(const qmWChar* pattern) {
  setLastError(0xABCD);
  WIN32_FIND_DATAW entry{};
  EXPECT_EQ(FindFirstFileW(pattern, &entry), INVALID_HANDLE_VALUE);
  return GetLastError();
}

/// Open descriptors of this process.
inline std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

}  // namespace quelplatform::testing

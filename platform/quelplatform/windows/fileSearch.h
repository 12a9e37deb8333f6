// Listing directories under the Windows names, with Windows results and in the order that NTFS gives.
//
//   WIN32_FIND_DATAW entry;
//   const HANDLE search = FindFirstFileW(u"/data\\*", &entry);
//   if (search != INVALID_HANDLE_VALUE) {
//     do use(entry); while (FindNextFileW(search, &entry) != 0);
//     FindClose(search);
//   }
//
// Only the name behind the last separator of a pattern is a pattern: '*' stands for any characters, '?' for one, or for
// none in front of a '.' and at the end of a name; a '.' in front of either may stand for the end of a name, so "*.*"
// finds everything. Case does not count.
//
// Entries come by name without regard to case: unit by unit in capital letters, "." and ".." first; names that differ
// in case alone stand in the order of their units. The names are those of the moment when the search began; what is
// gone by the time its turn comes is left out. So is an entry whose name no path could lead to: one that is no UTF-8,
// or that holds a '\', which separates.
//
// A search keeps nothing of the operating system open. Searches may be used from several threads.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/windows/fileTime.h"
#include "quelplatform/windows/windows.h"

/// Units of a path that a fixed buffer holds, its NUL among them.
inline constexpr std::int32_t MAX_PATH = 260;

/// An open search.
using HANDLE = void*;

/// What no search is.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

/// One entry of a directory.
struct WIN32_FIND_DATAW {
  /// As `GetFileAttributesW`, of what a link leads to. A link has FILE_ATTRIBUTE_REPARSE_POINT besides; one that leads
  /// nowhere is a file.
  std::uint32_t dwFileAttributes;
  FILETIME ftCreationTime;  ///< Not kept: zero.
  FILETIME ftLastAccessTime;
  FILETIME ftLastWriteTime;
  std::uint32_t nFileSizeHigh;
  std::uint32_t nFileSizeLow;
  std::uint32_t dwReserved0;
  std::uint32_t dwReserved1;
  qmWChar cFileName[MAX_PATH];
  qmWChar cAlternateFileName[14];  ///< Not kept: empty.
};

/// Begins a search and gives its first entry. The handle, to be closed by `FindClose`; or INVALID_HANDLE_VALUE with the
/// last error set: 2 when nothing fits the pattern, 3 for a directory that is not there, 5 for one that may not be
/// read, 8 when memory is exhausted, 87 for null, and so on.
QUELPLATFORM_API HANDLE FindFirstFileW(const qmWChar* pattern, WIN32_FIND_DATAW* entry) noexcept;

/// Gives the next entry. 1; or 0 with `*entry` as it was and the last error set: 18 when there are no more, 6 for what
/// is no open search, 8 when memory is exhausted, 87 for null, and others where an entry could not be looked at for a
/// reason that may pass; its turn comes again. Entries that are gone or may not be looked at are left out.
QUELPLATFORM_API std::int32_t FindNextFileW(HANDLE search, WIN32_FIND_DATAW* entry) noexcept;

/// Ends a search. 1; or 0 with the last error 6 for what is no open search, one that was closed included.
QUELPLATFORM_API std::int32_t FindClose(HANDLE search) noexcept;

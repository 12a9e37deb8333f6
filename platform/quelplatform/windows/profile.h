// Profile files: entries of ini files, by their Windows names and with Windows results.
//
//   [Section]
//   ; A comment: a line that begins with a semicolon.
//   Key=value
//
// Promises:
//   1. Names are compared without regard to case; of sections and of keys with one name the first counts.
//   2. Blanks around names and values are dropped, and so is one pair of quotation marks (" or ') around a value
//      when it is read.
//   3. A file that begins with a UTF-16 mark is read and written as UTF-16, any other as UTF-8.
//   4. Every call looks at the file as it stands. Files of up to 64 MiB are read; a larger one is no file to the
//      readers and fails a write (223).
//   5. A write replaces the file as a whole: whatever happens, the old file or the new one is there. All other
//      lines, their line ends included, stay as they are.
//   6. Writers, in this and in other processes, wait for each other (up to 20 seconds, then 32), so that no entry is
//      lost; they do it by an empty file ".quel-ini.lock" beside the file, which is there only while somebody
//      writes.
//
// Readers leave in the last error what they found, since a value by default does not tell: 0 for a file that was read,
// whether the entry was in it or not; 2 or 3 for one that is not there; anything else for one that could not be read,
// so that nobody knows what is in it.
//
// Paths are wide paths as everywhere; a relative one starts at the working directory. A null path names no file.
#pragma once

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// The integer at the beginning of the value of `key`: an optional sign and decimal digits up to the first character
/// that is none; 0 for a value that does not begin so. Numbers beyond 32 bits wrap around. `defaultValue` when the key,
/// the section or the file is missing, or memory is exhausted. Negative numbers come as what they are modulo 2^32.
QUELPLATFORM_API std::uint32_t GetPrivateProfileIntW(const qmWChar* section, const qmWChar* key,
                                                     std::int32_t defaultValue, const qmWChar* path) noexcept;

/// Copies the value of `key` to `buffer` of `size` units; when the key, the section or the file is missing,
/// `defaultValue` without its trailing blanks (null counts as empty).
///
/// Returns the number of units copied, without the closing NUL. Text that does not fit is cut, and the result is
/// `size` - 1.
///
/// A null `key` asks for the names of all keys of the section, a null `section` for the names of all sections: one
/// after the other, each closed by a NUL, with one more NUL behind the last; the result counts all but that last NUL.
/// A list that does not fit is cut, ends in two NULs, and the result is `size` - 2.
///
/// A null `buffer` or a `size` of 0 gives 0, and nothing is read.
QUELPLATFORM_API std::uint32_t GetPrivateProfileStringW(const qmWChar* section, const qmWChar* key,
                                                        const qmWChar* defaultValue, qmWChar* buffer,
                                                        std::uint32_t size, const qmWChar* path) noexcept;

/// Gives `key` the value `value`: replaces the text behind the first entry of that key, or adds an entry at the end of
/// the section, or the section at the end of the file, or makes the file (UTF-8, lines end in CR LF). A null `value`
/// deletes the key, a null `key` the section with all its lines; what is not there counts as deleted, and no file is
/// made for it.
///
/// Returns 1; or 0 with the file as it was and the last error set: 5 for a read-only file, 32 when another writer did
/// not finish, 87 for a null section or path and for text that would not be read back as what it is (line ends in any
/// text; an empty name; ']' in a section; a key that begins with ';' or '[' or holds '='), and so on.
///
/// All three null: returns 0 and does nothing, for there is no cache to be written.
QUELPLATFORM_API std::int32_t WritePrivateProfileStringW(const qmWChar* section, const qmWChar* key,
                                                         const qmWChar* value, const qmWChar* path) noexcept;

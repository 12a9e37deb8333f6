// Whether a file is there, so far as that can be known.
//
// Who reads a file, changes what was read and writes it anew must know which of the three it is: a file that could not
// be read is not one that is not there, and nothing may be written over it.
#pragma once

#include <cerrno>
#include <string>

#include "quelplatform/ground/files/systemCalls.h"

namespace quelplatform {

enum class Presence {
  Absent,  ///< The system says so: no such file, or no such directory on the way to it.
  Present,
  Unknown,  ///< The system could not tell: too many open files, no right to look, exhausted memory, a failing disk.
};

/// What a call on a file tells by its `errno` value; 0 is success.
constexpr Presence presenceBy(int error) noexcept {
  if (error == 0) return Presence::Present;
  return error == ENOENT || error == ENOTDIR ? Presence::Absent : Presence::Unknown;
}

/// For a read that comes before a write: 0 where the file was read or is absent, otherwise `error`.
constexpr int unlessAbsent(int error) noexcept { return presenceBy(error) == Presence::Absent ? 0 : error; }

/// Whether anything, a directory included, is at the native path; the empty path leads nowhere.
inline Presence presenceOf(const std::string& nativePath) noexcept {
  struct stat status {};
  return presenceBy(statusOf(nativePath, status));
}

}  // namespace quelplatform

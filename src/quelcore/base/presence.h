// Whether a file is there, so far as that can be known.
//
// Who reads a file, changes what was read and writes it anew must know which of the three it is. Nothing is written
// over a file that could not be read, since that would make a failure of a moment permanent.
#pragma once

#include <cstdint>
#include <new>

#include "quelplatform/windows/windows.h"

namespace quelcore {

/// The system's number of what one has no right to look at.
inline constexpr std::uint32_t kErrorAccessDenied = 5;

enum class Presence {
  Absent,   ///< The system says so.
  Present,  ///< What is in it was read, be it sound or damaged.
  Unknown,  ///< It could not be read: too many open files, no right to, exhausted memory, a failing disk.
};

/// What the platform's last error says of the file that was read last: by a profile function, a `QmRegKey` or a
/// `CMarkupSTL`.
inline Presence presenceByLastError() noexcept {
  constexpr std::uint32_t kNone = 0, kNoFile = 2, kNoDirectory = 3;
  const std::uint32_t error = GetLastError();
  if (error == kNone) return Presence::Present;
  return error == kNoFile || error == kNoDirectory ? Presence::Absent : Presence::Unknown;
}

/// Whether there is anything but a directory at `path`, whatever is in it. The empty path stands for one that could not
/// be made, being too long or for want of memory.
inline Presence presenceOf(const qmWChar* path) noexcept {
  if (path[0] == u'\0') return Presence::Unknown;
  const std::uint32_t attributes = GetFileAttributesW(path);
  if (attributes == INVALID_FILE_ATTRIBUTES) return presenceByLastError();
  return (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0 ? Presence::Present : Presence::Absent;
}

/// The same, for who cannot go on without knowing: throws std::bad_alloc where memory does not suffice to find out.
/// Whether a path could be made the last error has to tell.
inline Presence presenceOrThrow(const qmWChar* path) {
  constexpr std::uint32_t kNotEnoughMemory = 8;
  const Presence presence = presenceOf(path);
  if (presence == Presence::Unknown && GetLastError() == kNotEnoughMemory) throw std::bad_alloc();
  return presence;
}

}  // namespace quelcore

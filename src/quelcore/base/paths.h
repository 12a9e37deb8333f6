// Buffers for paths, and the joining of their parts.
#pragma once

#include <string>
#include <string_view>

#include "quelplatform/qmEnv/QmWorkPlace.h"

namespace quelcore {

/// Units of a buffer for a path or for one part of it, its NUL counted: the most that these systems' files and calls
/// hold.
inline constexpr std::int32_t kPathSize = 260;

/// The same where a longer path is taken.
inline constexpr std::int32_t kLongPathSize = 1024;

/// `name` in `directory`, with a separator between them whatever the directory ends in: the one that stored paths have
/// on every system.
inline qmWString joined(std::u16string_view directory, std::u16string_view name, qmWChar separator = u'\\') {
  qmWString path(directory);
  path += separator;
  path += name;
  return path;
}

/// The same with the separator of this system, as paths have it that are shown.
inline qmWString joinedHere(std::u16string_view directory, std::u16string_view name) {
  return joined(directory, name, QmWorkPlace::path_separator);
}

/// Whether `name`, which came out of a file, is the name of a file in a directory: none that leads elsewhere.
inline bool isFileName(std::u16string_view name) {
  return !name.empty() && name != u"." && name != u".." && name.find_first_of(u"\\/") == std::u16string_view::npos;
}

}  // namespace quelcore

// The directories in a directory, as the walks of the project store see them.
#pragma once

#include <cstdint>
#include <vector>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

struct Subdirectory {
  qmWString name;
  bool isLink;  ///< A link that leads to a directory.
};

/// Those that the search for `pattern` gives, in its order, but "." and "..". None when it gives nothing or fails.
/// Where the search failed, so that there may be more, `error`, if it is not null, becomes the system's number. Throws
/// std::bad_alloc.
std::vector<Subdirectory> subdirectories(const qmWString& pattern, std::uint32_t* error = nullptr);

}  // namespace quelcore

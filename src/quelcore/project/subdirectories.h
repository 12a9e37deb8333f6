// The directories in a directory, as the walks of the project store see them.
#pragma once

#include <vector>

#include "quelplatform/qmEnv/qmTypes.h"

namespace quelcore {

struct Subdirectory {
  qmWString name;
  bool isLink;  ///< A link that leads to a directory.
};

/// Those that the search for `pattern` gives, in its order, but "." and "..". None when it gives nothing or fails.
/// Throws std::bad_alloc.
std::vector<Subdirectory> subdirectories(const qmWString& pattern);

}  // namespace quelcore

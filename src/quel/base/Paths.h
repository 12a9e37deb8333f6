// Paths as the doors take them. Hidden in the library.
#pragma once

#include <filesystem>
#include <string>

#include "quelplatform/qmEnv/qmText.h"

namespace quel {

inline std::u16string widePath(const std::filesystem::path& path) { return toWide(path.string().c_str()); }

/// True for a path whose wide form stands for the same file: the doors take '\' for a separator, and text is UTF-8.
inline bool isTakenByDoors(const std::filesystem::path& path) {
  return path.string().find('\\') == std::string::npos && toNarrow(widePath(path)) == path.string();
}

}  // namespace quel

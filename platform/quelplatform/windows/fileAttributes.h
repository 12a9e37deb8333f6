// Windows attributes of a file or directory of the operating system.
#pragma once

#include <sys/stat.h>

#include "quelplatform/windows/windows.h"

namespace quelplatform {

inline bool isReadOnly(const struct stat& status) { return (status.st_mode & 0222) == 0; }

inline std::uint32_t attributesOf(const struct stat& status) {
  const std::uint32_t readOnly = isReadOnly(status) ? FILE_ATTRIBUTE_READONLY : 0;
  if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY | readOnly;
  return readOnly != 0 ? readOnly : FILE_ATTRIBUTE_NORMAL;
}

}  // namespace quelplatform

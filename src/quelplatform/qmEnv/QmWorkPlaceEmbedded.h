// The home directory as an application or a test sets it.
#pragma once

#include <string>

#include "quelplatform/QuelPlatformApi.h"

namespace quelplatform {

/// Sets the home directory of this process (UTF-8); empty text goes back to the environment's.
QUELPLATFORM_API void setHomeDirectory(const std::string& path);

/// The home directory in force (UTF-8); empty when there is none.
QUELPLATFORM_API std::string homeDirectory();

}  // namespace quelplatform

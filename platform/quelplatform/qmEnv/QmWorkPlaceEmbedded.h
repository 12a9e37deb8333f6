// The home directory and the current project root as an application or a test sets them.
#pragma once

#include <string>

#include "quelplatform/QuelPlatformApi.h"
#include "quelplatform/qmEnv/qmTypes.h"

namespace quelplatform {

/// Sets the home directory of this process (UTF-8); empty text goes back to the environment's.
QUELPLATFORM_API void setHomeDirectory(const std::string& path);

/// The home directory in force (UTF-8); empty when there is none.
QUELPLATFORM_API std::string homeDirectory();

/// Sets the current project root of this process (`QmWorkPlace::getCurProjRoot`), as wide text that is kept as it is;
/// empty text goes back to the directory "projects" of the home directory.
QUELPLATFORM_API void setCurProjRoot(const qmWString& path);

}  // namespace quelplatform

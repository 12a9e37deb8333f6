#include "quelcore/base/ModuleLog.h"

namespace quelcore {

const char* const kBuildDate = QUELCORE_BUILD_DATE;

}  // namespace quelcore

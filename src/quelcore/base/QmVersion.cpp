#include "quelcore/base/QmVersion.h"

const char* qmCoreVersion() noexcept { return QUELCORE_VERSION; }

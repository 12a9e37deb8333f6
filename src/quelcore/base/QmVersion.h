// The version of this library, as it is at run time: that of the headers may be another.
#pragma once

#include "quelcore/QuelCoreApi.h"

/// Such as "1.0.0": greater numbers are newer, and the first one changes where programs have to be built anew.
QUELCORE_API const char* qmCoreVersion() noexcept;

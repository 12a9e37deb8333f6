// Which instructions the inner loops of the library use. They give the same bits whichever these are.
#pragma once

#include "quelcore/QuelCoreApi.h"

/// "plain", "sse2", "avx2" or "avx512": the best that this machine runs, or what the environment variable QUEL_KERNELS
/// asked for when the library first needed it. A request that cannot be met leaves one warning in the log and the best
/// in use. The text lives as long as the process.
QUELCORE_API const char* qmKernelsInUse();

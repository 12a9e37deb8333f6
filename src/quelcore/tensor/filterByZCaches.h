// The process-wide caches of the Z-ratio filter, for tests.
#pragma once

namespace quelcore {

/// Puts the three caches back to their state at the start of the process.
void resetFilterByZCaches();

}  // namespace quelcore

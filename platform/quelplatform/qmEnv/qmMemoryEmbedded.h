// Memory failures on demand: every allocation of the platform passes one counter, so that a test can make each of them
// fail in turn.
#pragma once

#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

namespace quelplatform {

/// Lets the next `successes` allocations of the platform succeed and makes the `failures` after them fail; then all
/// succeed again. Holds for all threads of the process.
QUELPLATFORM_API void failAllocations(std::int64_t successes, std::int64_t failures) noexcept;

/// Ends what `failAllocations` began. Returns the number of allocations that were made to fail.
QUELPLATFORM_API std::int64_t stopFailingAllocations() noexcept;

/// Number of blocks that are allocated at this moment: 0 when everything was given back.
QUELPLATFORM_API std::int64_t allocatedBlocks() noexcept;

}  // namespace quelplatform

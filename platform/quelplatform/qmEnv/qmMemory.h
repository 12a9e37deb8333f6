// Memory of plain records. What comes from here goes back through `qmMallocFree`.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quelplatform/QuelPlatformApi.h"

/// Allocates `size` uninitialised bytes, aligned to 16, and stores their address in `*out`. A size of 0 succeeds with a
/// pointer that may be freed. Returns 1; or 0 with `*out` null when memory is exhausted, and 0 for a null `out`.
QUELPLATFORM_API std::int32_t qmMallocNoInit(std::size_t size, void** out) noexcept;

/// As `qmMallocNoInit`, with every byte zero.
QUELPLATFORM_API std::int32_t qmMallocInitZero(std::size_t size, void** out) noexcept;

/// Frees `*pointer` and nulls it. A null `pointer` or a null `*pointer` is left alone.
QUELPLATFORM_API void qmMallocFree(void** pointer) noexcept;

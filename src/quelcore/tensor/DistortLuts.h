// The distortion look-up tables of the process, by plain functions: each hands on to the one `DistortLutsManager`.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmDistort/qmDistort.h"

/// Finds or creates the tables of `id`, adds a reference and hands them out. Returns 1; or 0 with `*luts` null for a
/// null `id` (logged at level 5, "NULL luId pointer") and where the manager refuses.
QUELCORE_API std::int32_t addDistortLuts(const char* id, const tag_qmDistortLuts** luts);

/// Hands out the tables of `id` and adds a reference. Returns as above; 0 also for an unknown identifier.
QUELCORE_API std::int32_t getExistDistortLuts(const char* id, const tag_qmDistortLuts** luts);

/// Adds and drops a reference of `luts`; null and unknown tables are left alone.
QUELCORE_API void distortLutsAddRef(const tag_qmDistortLuts* luts);
QUELCORE_API void distortLutsReleaseRef(const tag_qmDistortLuts* luts);

/// Drops the reference that a holder of `id` has; null and unknown identifiers are left alone.
QUELCORE_API void removeDistortLuts(const char* id);

/// Frees all tables of the process, whatever references are left.
QUELCORE_API void releaseAllDistortLuts();

// Clearing and releasing the tensor record, and the system's error codes for tensor statuses.
//
// A record is cleared, filled by a load, and released. Releasing leaves a cleared record, so it may be repeated.
// Nothing here locks: a record belongs to one thread while it changes.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmReconsTensorData.h"

/// Sets every byte of the record to zero, whatever it held before. Returns 1. A null record is logged at level 5, "NULL
/// pointer", and the result is 1 all the same.
QUELCORE_API std::int32_t qmTensorInit(tag_qmReconsTensorData* tensor);

/// Frees the distortion images that the record owns and clears the record. LUTs are not the record's: their pointers
/// are dropped, their references stay (`QmReconsTensor` returns them first). Returns 1. A null record is logged at
/// level 5, "NULL pointer", and the result is 1 all the same.
QUELCORE_API std::int32_t qmTensorDestruct(tag_qmReconsTensorData* tensor);

/// The system error code of a tensor status; 0 for 0, and 0xc4070011 for every status that is not a known one. Of the
/// statuses this library sets two: 2, a projection whose 3x3 part has no inverse, and 8, a wrong camera order.
QUELCORE_API std::uint32_t rtStatus2Error(std::int32_t status);

// Tensor files (.tns): reading every version, writing the newest or the record's own.
//
// The layout stands in docs/formats.md. Files are little-endian, have neither magic nor checksum, and tell their
// version in the first 32-bit word: 0 is the oldest, -17 the newest; a first word of 1 or more is a legacy file without
// a version word. A "trace" is a bare log line of level 1 under the name QmReconsTensorIO.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/qmEnv/qmTypes.h"

/// Reads the tensor file `path` into `tensor`, which is released first. Fields that the file is too old to hold get
/// their defaults; distortion images are made, and projections and camera locations derived where the file has none.
/// LUTs are not loaded (`QmReconsTensor::LoadFromFile` does that). Nothing but the version is checked: the contents are
/// taken on trust.
///
/// Returns 1, or 0 when
///   - the file cannot be opened: trace; `tensor` is untouched;
///   - `tensor` is null: silent;
///   - it is newer than -17 or shorter than its version needs: traces;
///   - it is older than -5 and `force` is 0: a note of level 4 and traces; a nonzero `force` takes the defaults;
///   - a read fails: trace, and numbered error 0xc43d0030 at level 5 with the path and the system's reason;
///   - camera locations cannot be derived, or camera 0 is not the uppermost: traces (see `qmRTfillLocsAndCalibDist`).
///     Files of version -3 and older always end here, since the projections that locations come from are not there
///     yet; so do those of -4 to -8 that hold none.
/// After a failure the record holds everything read and defaulted up to that point and is to be released. Leaves a
/// problem (base/QmProblem.h): the place of the byte where the file ends is told with the field that lies there.
QUELCORE_API std::int32_t qmTensorDataForceLoad(const qmWChar* path, tag_qmReconsTensorData* tensor,
                                                std::int32_t force);

/// `qmTensorDataForceLoad` with `force` 0; a failure leaves one more trace.
QUELCORE_API std::int32_t qmTensorDataLoad(const qmWChar* path, tag_qmReconsTensorData* tensor);

/// Writes `tensor` as a file of version -17. Returns 1; or 0, with a trace, when the file cannot be opened or an
/// argument is null, and with numbered error 0xc43d0030 at level 5 when a write fails; the partial file then stays.
/// An old file stays when the new one is whole but cannot be put in its place, which is told in the same way, and when
/// the process is stopped.
///
/// Required: the last word, `distortOption`, is written only for a record whose own version is -17. A record that was
/// loaded from an older file gives a file that says -17 and lacks it, which the reader refuses; store such a record
/// with `qmTensorDataStoreByVersion`.
QUELCORE_API std::int32_t qmTensorDataStore(const qmWChar* path, tag_qmReconsTensorData* tensor);

/// As above; with a nonzero `keepVersion` the file has the record's own version. Returns 0, with a trace, when that is
/// no version from 0 to -17.
QUELCORE_API std::int32_t qmTensorDataStoreByVersion(const qmWChar* path, tag_qmReconsTensorData* tensor,
                                                     std::int32_t keepVersion);

/// Makes the small distortion images of all cameras: one entry per 25 x 25 pixels, the displacement (distorted minus
/// ideal, pixels) at its first pixel, by the exact distortion without depth and, where that fails, by the fast one.
/// Images that the record has are freed first; one that cannot be allocated stays null with its size noted.
QUELCORE_API void calcDistortTables(tag_qmReconsTensorData* tensor);

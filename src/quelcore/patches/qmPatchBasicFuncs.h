// Making, copying, moving and destroying patches, and freeing image pyramids.
//
// Functions return 1 for success and 0 for failure, except `qmPatchCopy`. Log lines bear the name qmPatchBasicFuncs. A
// patch is used by one thread at a time.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelcore/records/qmPatch.h"
#include "quelcore/records/qmReconsTensorData.h"
#include "quelplatform/img_4_qm/img_4_qm.h"
#include "quelplatform/qmMath/qmMath.h"

/// Fills `id` from a tensor and an image: machine, image tag and size are the image's; block number, time stamp, lens
/// and pixel ratio the tensor's. A tensor of another machine is logged at level 3, and filling goes on. Returns 0, with
/// "NULL pointer" at level 5 and `id` untouched, for a null argument.
QUELCORE_API std::int32_t qmFillFtrID(qmFtrID* id, const tag_qmReconsTensorData* tensor, const tag_qmImage* image);

/// Copies an identifier; nothing for a null argument.
QUELCORE_API void qmFtrIDCopy(const qmFtrID* source, qmFtrID* destination);

/// Copies a patch with its arrays. A null `*destination` gets a new record, to be freed by `qmPatchDestruct`; a record
/// that the caller brings must come without arrays: they would be overwritten, not freed. Arrays that the source lacks
/// leave the destination's pointers alone.
///
/// Required: returns 0 on success, and 0xc43d0001 when memory is exhausted or an argument is null. After a failure a
/// new record is gone again and `*destination` null; a caller's record keeps the copied fields and has no arrays.
QUELCORE_API std::uint32_t qmPatchCopy(const qmPatch* source, qmPatch** destination);

/// Copies everything but the arrays and the reserved word; nothing for a null argument.
QUELCORE_API void qmPatchCopyFields(const qmPatch* source, qmPatch* destination);

/// Makes `points2D` from the integer pixels of the patch's points: `pairs` is x, y for each. An existing array is
/// replaced; a patch of no points keeps what it has. Returns 0 for a null patch ("NULL pointer", level 5), null pairs,
/// or exhausted memory (both a bare trace).
QUELCORE_API std::int32_t qmPatchCopyGoodPoints(qmPatch* patch, const std::int32_t* pairs);

/// Frees a patch with its arrays and nulls `*patch`. Returns 1, also for null.
QUELCORE_API std::int32_t qmPatchDestruct(qmPatch** patch);

/// `qmFillFtrID` of the patch's `id`.
QUELCORE_API std::int32_t qmPatchFillFtrID(qmPatch* patch, const tag_qmReconsTensorData* tensor,
                                           const tag_qmImage* image);

/// Moves the points of a patch. Returns 0 for a null patch or transform (numbered error 0xc43d0003, level 5), for a
/// count without points (bare trace), and, with a bare trace, at the first point whose result is not finite: the points
/// before it are moved, the rest are not.
QUELCORE_API std::int32_t qmPatchTransform(qmPatch* patch, const qmMathTransform* transform);

/// Moves `count` points in place; results that are not finite stay as they come. Null arguments are left alone.
QUELCORE_API void qmPatchInplaceTransform3D(const qmMathTransform* transform, double (*points)[3], std::int64_t count);

/// Moves `count` single-precision points in place, in single precision throughout:
///
///   p' = ((y c1 + x c0) + z c2) + T        c0, c1, c2 the columns of R, rounded once
///
/// The fourth float of every point becomes +0, whatever it held. Null arguments are left alone.
QUELCORE_API void qmPatchInplaceTransformAF(const qmMathTransform* transform, float (*points)[4], std::int64_t count);

/// Frees levels 1 to `levels` of a pyramid, leaving level 0 alone; nothing for null or a level count below 1.
QUELCORE_API void qmFreeFlowPyramid(_qmPyramid* pyramid);

/// Frees `levels` levels from `first` on; nothing for null.
QUELCORE_API void qmFreeMaskPyramid(std::int32_t first, _qmBPyramid* pyramid);

/// Frees all levels of a pyramid, 0 to `levels`; nothing for null or a negative level count.
QUELCORE_API void qmFreePyramid(_qmPyramid* pyramid);

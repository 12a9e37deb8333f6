// The index of a patch, and what works on it: boxes, single-precision copies, copies of chosen bins.
//
// The index sorts the points of a patch in place into spatially compact runs, the bins, and gives one record for each.
// Points come in three forms: `double[3]` is how a patch stores them; `float[3]` is a compact copy; `float[4]` is the
// form of `qmPatchInplaceTransformAF`, 16 bytes a point, whose fourth float carries nothing.
#pragma once

#include <cstddef>
#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/patches/qmvector.h"
#include "quelcore/records/qmPatch.h"
#include "quelplatform/qmEnv/qmTypes.h"
#include "quelplatform/qmMath/qmMath.h"

/// Sorts the points of a patch, sub-patch by sub-patch, into bins, and fills `bins` with one record each; what `bins`
/// held is dropped. Image positions and values move along with their points. Bins follow one another without a gap, are
/// never empty, and never span two sub-patches.
///
/// A patch with image positions is binned by image cells of 32 x 32 pixels, column by column, each from low y to high
/// y; points of a cell keep their order. A patch without them is binned by a `QmCOPBSP` with leaves below 500 points
/// where points can be told apart; its bins are the leaves, left before right. An x of the first point of
/// a sub-patch that is no number makes one bin of it; a y or z that is none leaves its points undivided along that
/// axis.
///
/// Returns true when the index stands and holds at least one bin. False, with nothing logged, for
///   - a null patch, no points, no `points3D`, or no sub-patches;
///   - a sub-patch without points, one that reaches beyond `pointCount`, and a ninth one;
///   - an image without cells, and an image position (or one that is no number) whose cell lies outside the cells. A
///     position outside the image may well fall into a cell of the neighbouring column: that is not noticed;
///   - exhausted memory.
/// Sub-patches before the one that failed stay sorted, with their bins; it and those after it are as they were.
QUELCORE_API bool QmPatchCreateIndex(qmPatch* patch, qmvector<qmPatchBinInfo>& bins);

/// The box of the boxes of `count` bins; `box` is left alone when there are none.
QUELCORE_API void qmPatchCalcBoundingBox(const qmPatchBinInfo* bins, std::uint32_t count, QmBBox& box);

/// As above for pointers to bins; null ones are passed over.
///
/// Required: a `count` of 0 reads the first pointer all the same, so that a list which is not null must have one.
QUELCORE_API void qmPatchCalcBoundingBoxPtrs(const qmPatchBinInfo* const* bins, std::uint32_t count, QmBBox& box);

/// Makes `out` a new array of the points, narrowed to single precision; the fourth floats are not set. The caller frees
/// it with `qmMallocFree`. False, with `out` null and the numbered error 0xc43d0324 at level 5, when memory is
/// exhausted, and for null points with a count.
QUELCORE_API bool qmPatchConvertCOP(const double (*points)[3], std::size_t count, float (*&out)[4]);

/// Copies the points of `runCount` runs, in order, to `destination`, which has room for `capacity` points, and stops
/// when that is full. Returns the number of points copied. Runs must lie inside the source; null ones are passed over,
/// and a null array of any kind gives 0. A bin serves as a run.
///
/// Doubles are narrowed to floats and floats widened; a fourth float is neither read nor written.
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  double (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[4]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  double (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[4]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  double (*destination)[3]);
QUELCORE_API std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                                  std::uint32_t runCount, std::uint32_t capacity,
                                                  float (*destination)[4]);

/// `out` becomes the axis-aligned box of the eight corners of `in`, each moved by `transform`; it may be `in` itself. A
/// corner whose move fails counts with the result that it has.
QUELCORE_API void qmPatchTransformBbox(const qmMathTransform& transform, const QmBBox& in, QmBBox& out);

/// Whether the largest of the values is not 0; false for a null record and for one without values.
///
/// Required: negative values alone give true.
QUELCORE_API _qmBool isBuildLinesBrightFlow(const qmPatchVibrationInfo* info);

#include "quelcore/patches/QmPatchHelpers.h"

#include <algorithm>
#include <cstring>

#include "quelcore/base/MemoryBlock.h"
#include "quelcore/base/ModuleLog.h"
#include "quelcore/patches/patchBins.h"

namespace {

constexpr quelcore::ModuleLog kLog{"QmPatchHelpers"};
constexpr std::uint32_t kErrorNotConverted = 0xc43d0324;

/// Puts what stands at place order[i] at place i; `scratch` has room for all of it.
template <typename Element>
void permute(Element* elements, const std::uint32_t* order, std::uint32_t count, void* scratch) {
  if (elements == nullptr) return;
  std::memcpy(scratch, elements, count * sizeof(Element));
  const auto* from = static_cast<const Element*>(scratch);
  for (std::uint32_t n = 0; n < count; ++n) std::memcpy(elements + n, from + order[n], sizeof(Element));
}

/// The part of an array that belongs to a sub-patch; null for an array that the patch lacks.
template <typename Element>
Element* partOf(Element* elements, std::size_t offset) {
  return elements == nullptr ? nullptr : elements + offset;
}

/// Bins sub-patch `s`, whose points begin at `offset`, and sorts its points. `scratch` has room for a copy of them.
bool indexSubPatch(const qmPatch& patch, int s, std::uint32_t offset, std::uint32_t* order, void* scratch,
                   qmvector<qmPatchBinInfo>& bins) {
  const std::uint32_t count = patch.subPatchPoints[s];
  double(*points3D)[3] = patch.points3D + offset;
  double(*points2D)[2] = partOf(patch.points2D, offset);
  const quelcore::SubPatch points{
      points3D, points2D, count, patch.subPatchTag[s], patch.id.imageWidth, patch.id.imageHeight};
  const std::size_t before = bins.size();
  const bool binned = points2D != nullptr
                          ? quelcore::binByImageCells(points, static_cast<std::int32_t*>(scratch), order, bins)
                          : quelcore::binBySpace(points, order, bins);
  if (!binned) {
    bins.resize(before);  // Bins of points that stay where they are would mislead.
    return false;
  }
  permute(points3D, order, count, scratch);
  if (points2D != nullptr) quelcore::boxBins(points3D, bins.begin() + before, bins.size() - before);
  permute(points2D, order, count, scratch);
  permute(partOf(patch.pointValues, offset), order, count, scratch);
  for (std::size_t n = before; n < bins.size(); ++n) bins[n].start += offset;
  return true;
}

template <typename To, typename From>
void copyPoint(const From& from, To& to) {
  for (int axis = 0; axis < 3; ++axis) to[axis] = static_cast<std::remove_extent_t<To>>(from[axis]);
}

/// The nine doors below are this, for every pairing of point forms.
template <typename From, typename To>
std::size_t copyRuns(const From* source, const qmPatchPtsIndex* const* runs, std::uint32_t runCount,
                     std::uint32_t capacity, To* destination) {
  if (source == nullptr || runs == nullptr || destination == nullptr) return 0;
  std::size_t copied = 0;
  for (std::uint32_t r = 0; r < runCount && copied < capacity; ++r) {
    if (runs[r] == nullptr) continue;
    const std::size_t count = std::min<std::size_t>(runs[r]->count, capacity - copied);
    const From* from = source + runs[r]->start;
    To* to = destination + copied;
    if constexpr (std::is_same_v<From, To> && std::extent_v<From> == 3) {
      std::memmove(to, from, count * sizeof(To));
    } else {
      for (std::size_t n = 0; n < count; ++n) copyPoint(from[n], to[n]);
    }
    copied += count;
  }
  return copied;
}

void extendByBox(QmBBox& box, const QmBBox& other) {
  box.extend(other.minimum());
  box.extend(other.maximum());
}

}  // namespace

bool QmPatchCreateIndex(qmPatch* patch, qmvector<qmPatchBinInfo>& bins) {
  bins.clear();
  if (patch == nullptr || patch->pointCount <= 0 || patch->points3D == nullptr) return false;
  const auto pointCount = static_cast<std::uint32_t>(patch->pointCount);
  const auto order = quelcore::MemoryBlock<std::uint32_t>::uninitialised(pointCount);
  // The arrays are permuted one after the other, so that the scratch copy of the largest elements serves all three.
  const auto scratch = quelcore::MemoryBlock<double[3]>::uninitialised(pointCount);
  if (!order || !scratch) return false;
  std::uint32_t offset = 0;
  for (int s = 0; s < patch->subPatchCount; ++s) {
    if (s >= kMaxSubPatches || patch->subPatchPoints[s] > pointCount - offset) return false;
    if (!indexSubPatch(*patch, s, offset, order.data(), scratch.data(), bins)) return false;
    offset += patch->subPatchPoints[s];
  }
  return !bins.empty();
}

void qmPatchCalcBoundingBox(const qmPatchBinInfo* bins, std::uint32_t count, QmBBox& box) {
  if (bins == nullptr || count == 0) return;
  QmBBox all = bins[0].box;  // `box` may be one of the boxes that are still to be read.
  for (std::uint32_t n = 1; n < count; ++n) extendByBox(all, bins[n].box);
  box = all;
}

void qmPatchCalcBoundingBoxPtrs(const qmPatchBinInfo* const* bins, std::uint32_t count, QmBBox& box) {
  if (bins == nullptr) return;
  QmBBox all;
  bool any = false;
  for (std::uint32_t n = 0; n < std::max(count, 1U); ++n) {
    if (bins[n] == nullptr) continue;
    if (any) {
      extendByBox(all, bins[n]->box);
    } else {
      all = bins[n]->box;
    }
    any = true;
  }
  if (any) box = all;
}

bool qmPatchConvertCOP(const double (*points)[3], std::size_t count, float (*&out)[4]) {
  out = nullptr;
  const bool given = points != nullptr || count == 0;
  auto block = quelcore::MemoryBlock<float[4]>::uninitialised(given ? count : 0);
  if (!given || !block) {
    kLog.error(quelcore::kLogError, kErrorNotConverted);
    return false;
  }
  out = block.release();
  for (std::size_t n = 0; n < count; ++n) copyPoint(points[n], out[n]);
  return true;
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, double (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[4]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, double (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const double (*source)[3], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[4]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, double (*destination)[3]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

std::size_t qmPatchCopyIndexedPoints(const float (*source)[4], const qmPatchPtsIndex* const* runs,
                                     std::uint32_t runCount, std::uint32_t capacity, float (*destination)[4]) {
  return copyRuns(source, runs, runCount, capacity, destination);
}

void qmPatchTransformBbox(const qmMathTransform& transform, const QmBBox& in, QmBBox& out) {
  const QmBBox box = in;  // `out` may be the same box.
  QmBBox moved;
  for (int i = 0; i < 8; ++i) {
    QmVec3 corner = box.corner(i);
    qmMathTransformVec3(&transform, box.corner(i).v, corner.v);
    if (i == 0) {
      moved = QmBBox(corner, corner);
    } else {
      moved.extend(corner);
    }
  }
  out = moved;
}

_qmBool isBuildLinesBrightFlow(const qmPatchVibrationInfo* info) {
  if (info == nullptr || info->values.empty()) return 0;
  return *std::max_element(info->values.begin(), info->values.end()) != 0 ? 1 : 0;
}

#include "quelcore/patches/qmPatchBasicFuncs.h"

#include <algorithm>
#include <cstring>

#include "quelcore/base/MemoryBlock.h"
#include "quelcore/base/ModuleLog.h"

namespace {

constexpr quelcore::ModuleLog kLog{"qmPatchBasicFuncs"};

constexpr std::uint32_t kErrorOutOfMemory = 0xc43d0001;
constexpr std::uint32_t kErrorNoArgument = 0xc43d0003;

std::int32_t nullPointer(quelcore::LogPlace place = quelcore::LogPlace(quelcore::kLogError, __builtin_LINE())) {
  kLog.write(place, "NULL pointer");
  return 0;
}

bool copyPoints3D(const qmPatch& from, qmPatch& to) {
  if (from.points3D == nullptr) return true;
  const auto count = static_cast<std::size_t>(from.pointCount);
  if (qmMathVec3ArrayConstructNoInit(count, &to.points3D) == 0) return false;
  std::memcpy(to.points3D, from.points3D, count * sizeof(*from.points3D));
  return true;
}

bool copyValues(const qmPatch& from, qmPatch& to) {
  if (from.pointValues == nullptr) return true;
  const auto count = static_cast<std::size_t>(from.pointCount);
  to.pointValues = quelcore::MemoryBlock<std::int32_t>::uninitialised(count).release();
  if (to.pointValues == nullptr) return false;
  std::memcpy(to.pointValues, from.pointValues, count * sizeof(*from.pointValues));
  return true;
}

bool copyPoints2D(const qmPatch& from, qmPatch& to) {
  if (from.points2D == nullptr) return true;
  const auto count = static_cast<std::size_t>(from.pointCount);
  if (qmMathVec2ArrayConstructNoInit(count, &to.points2D) == 0) return false;
  std::memcpy(to.points2D, from.points2D, count * sizeof(*from.points2D));
  return true;
}

bool hasArrays(const qmPatch& patch) {
  return patch.points3D != nullptr || patch.points2D != nullptr || patch.pointValues != nullptr;
}

/// A negative count cannot be had, like memory that is exhausted.
bool copyArrays(const qmPatch& from, qmPatch& to) {
  if (from.pointCount < 0 && hasArrays(from)) return false;
  return copyPoints3D(from, to) && copyValues(from, to) && copyPoints2D(from, to);
}

void freeArrays(qmPatch& patch) {
  qmMathVec2ArrayDestruct(&patch.points2D);
  qmMathVec3ArrayDestruct(&patch.points3D);
  quelcore::freeMemory(patch.pointValues);
}

}  // namespace

std::int32_t qmFillFtrID(qmFtrID* id, const tag_qmReconsTensorData* tensor, const tag_qmImage* image) {
  if (id == nullptr || tensor == nullptr || image == nullptr) return nullPointer();
  std::memcpy(id->machineId, image->imageId.machineId, kMachineIdSize);
  if (std::memcmp(tensor->machineId, image->imageId.machineId, kMachineIdSize) != 0) {
    kLog.write(quelcore::kLogWarning, "The tensor's file Machine id is different from the images Machine id");
  }
  id->blockNumber = tensor->blockNumber;
  id->calibrationTimeStamp = tensor->calibrationTimeStamp;
  id->lensType = tensor->lensType;
  id->pixel2WorldRatio = tensor->pixel2WorldRatio;
  id->imageWidth = static_cast<std::uint32_t>(image->width);
  id->imageHeight = static_cast<std::uint32_t>(image->height);
  id->imageTag = image->imageId.imageTag;
  return 1;
}

void qmFtrIDCopy(const qmFtrID* source, qmFtrID* destination) {
  if (source == nullptr || destination == nullptr) return;
  *destination = *source;
}

std::uint32_t qmPatchCopy(const qmPatch* source, qmPatch** destination) {
  if (source == nullptr || destination == nullptr) return kErrorOutOfMemory;
  const bool madeHere = *destination == nullptr;
  if (madeHere) {
    *destination = quelcore::MemoryBlock<qmPatch>::zeroed(1).release();
    if (*destination == nullptr) return kErrorOutOfMemory;
  }
  qmPatchCopyFields(source, *destination);
  if (copyArrays(*source, **destination)) return 0;
  if (madeHere) {
    qmPatchDestruct(destination);
  } else {
    freeArrays(**destination);
  }
  return kErrorOutOfMemory;
}

void qmPatchCopyFields(const qmPatch* source, qmPatch* destination) {
  if (source == nullptr || destination == nullptr) return;
  qmFtrIDCopy(&source->id, &destination->id);
  destination->attribute = source->attribute;
  destination->subPatchCount = source->subPatchCount;
  std::copy(std::begin(source->subPatchTag), std::end(source->subPatchTag), destination->subPatchTag);
  std::copy(std::begin(source->subPatchPoints), std::end(source->subPatchPoints), destination->subPatchPoints);
  destination->pointCount = source->pointCount;
  std::copy(std::begin(source->scalars), std::end(source->scalars), destination->scalars);
}

std::int32_t qmPatchCopyGoodPoints(qmPatch* patch, const std::int32_t* pairs) {
  if (patch == nullptr) return nullPointer();
  if (patch->pointCount == 0) return 1;
  if (pairs == nullptr || patch->pointCount < 0) return kLog.tracedFailure();
  qmMathVec2ArrayDestruct(&patch->points2D);
  const auto count = static_cast<std::size_t>(patch->pointCount);
  if (qmMathVec2ArrayConstruct(count, &patch->points2D) == 0) return kLog.tracedFailure();
  for (std::size_t n = 0; n < count; ++n) {
    patch->points2D[n][0] = pairs[2 * n];
    patch->points2D[n][1] = pairs[2 * n + 1];
  }
  return 1;
}

std::int32_t qmPatchDestruct(qmPatch** patch) {
  if (patch == nullptr || *patch == nullptr) return 1;
  freeArrays(**patch);
  quelcore::freeMemory(*patch);
  return 1;
}

std::int32_t qmPatchFillFtrID(qmPatch* patch, const tag_qmReconsTensorData* tensor, const tag_qmImage* image) {
  if (patch == nullptr) return nullPointer();
  return qmFillFtrID(&patch->id, tensor, image);
}

std::int32_t qmPatchTransform(qmPatch* patch, const qmMathTransform* transform) {
  if (patch == nullptr || transform == nullptr) {
    kLog.message(quelcore::kLogError, kErrorNoArgument, "txt");
    return 0;
  }
  if (patch->pointCount > 0 && patch->points3D == nullptr) return kLog.tracedFailure();
  for (std::int32_t n = 0; n < patch->pointCount; ++n) {
    double moved[3];
    if (qmMathTransformVec3(transform, patch->points3D[n], moved) == 0) return kLog.tracedFailure();
    qmMathCopyVec3ToVec3(moved, patch->points3D[n]);
  }
  return 1;
}

void qmPatchInplaceTransform3D(const qmMathTransform* transform, double (*points)[3], std::int64_t count) {
  if (transform == nullptr || points == nullptr) return;
  for (std::int64_t n = 0; n < count; ++n) {
    double moved[3];
    qmMathTransformVec3(transform, points[n], moved);
    qmMathCopyVec3ToVec3(moved, points[n]);
  }
}

void qmFreeFlowPyramid(_qmPyramid* pyramid) {
  if (pyramid == nullptr || pyramid->levels <= 0) return;
  free_fpyr(pyramid->levelImages, 1, pyramid->levels);
}

void qmFreeMaskPyramid(std::int32_t first, _qmBPyramid* pyramid) {
  if (pyramid == nullptr) return;
  free_bpyr(pyramid->levelImages, first, pyramid->levels);
}

void qmFreePyramid(_qmPyramid* pyramid) {
  if (pyramid == nullptr || pyramid->levels < 0) return;
  const std::int32_t all = std::min(pyramid->levels, kPyramidRecords - 1) + 1;
  free_fpyr(pyramid->levelImages, 0, all);
}

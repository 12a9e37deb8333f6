#include "quelcore/patches/QmPatchBlockMultCalib.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "quelcore/base/MemoryBlock.h"
#include "quelcore/tensor/qmReconsTensorCore.h"

namespace {

constexpr std::size_t kParametersPerStage = 6;
constexpr std::size_t kCommonParameters = 57;

static_assert(sizeof(QmPatchBlockMultCalib::ResultBlock) == 14 * 8 && sizeof(qmMathTransform) == 12 * 8);

template <typename Record>
bool makeZeroed(std::size_t count, Record*& records) {
  records = quelcore::MemoryBlock<Record>::zeroed(count).release();
  return records != nullptr;
}

std::size_t parameterCount(std::int32_t stages) {
  return kParametersPerStage * static_cast<std::size_t>(stages) + kCommonParameters;
}

template <typename Element>
void copyArray(const Element* from, Element* to, std::size_t count) {
  if (from != nullptr && to != nullptr && from != to) std::memcpy(to, from, count * sizeof(Element));
}

/// Gives `to` the size and the content of a stage that has correspondences; nothing for one that has none.
bool handOver(const tag_qmRT2d3dPts& from, tag_qmRT2d3dPts& to) {
  if (from.count <= 0) return true;
  if (to.count != from.count) {
    qmRT2d3dPtsFree(&to);
    if (qmRT2d3dPtsAlloc(from.count, &to) == 0) {
      qmRT2d3dPtsFree(&to);  // A stage with some of its arrays would mislead.
      return false;
    }
  }
  const auto count = static_cast<std::size_t>(from.count);
  copyArray(from.imagePts, to.imagePts, 3 * count);
  copyArray(from.worldPts, to.worldPts, count);
  copyArray(from.values0, to.values0, count);
  copyArray(from.values1, to.values1, count);
  return true;
}

/// Correspondences of all stages; -1 when a stage lacks an array and when there are more than a stage can count.
std::int32_t totalOf(const tag_qmRT2d3dPts* stages, std::int32_t stageCount) {
  std::int64_t total = 0;
  for (std::int32_t s = 0; s < stageCount; ++s) {
    const tag_qmRT2d3dPts& stage = stages[s];
    if (stage.count <= 0) continue;
    if (stage.imagePts == nullptr || stage.worldPts == nullptr || stage.values0 == nullptr) return -1;
    total += stage.count;
    if (total > std::numeric_limits<std::int32_t>::max()) return -1;
  }
  return static_cast<std::int32_t>(total);
}

/// The arrays of a merged stage; `values1` is left out. Nothing is kept of it when memory is exhausted.
bool makeMerged(std::int32_t total, tag_qmRT2d3dPts& merged) {
  const auto count = static_cast<std::size_t>(total);
  merged.count = total;
  merged.imagePts = quelcore::MemoryBlock<double[2]>::uninitialised(3 * count).release();
  merged.worldPts = quelcore::MemoryBlock<double[3]>::uninitialised(count).release();
  merged.values0 = quelcore::MemoryBlock<std::int32_t>::uninitialised(count).release();
  if (merged.imagePts != nullptr && merged.worldPts != nullptr && merged.values0 != nullptr) return true;
  qmRT2d3dPtsFree(&merged);
  return false;
}

/// Appends the correspondences of a stage behind the `k` that stand in `merged`; the image points of each camera stay
/// together.
void append(const tag_qmRT2d3dPts& stage, const qmMathTransform& transform, tag_qmRT2d3dPts& merged, std::int32_t k) {
  for (std::int32_t j = 0; j < stage.count; ++j, ++k) {
    for (std::int64_t camera = 0; camera < 3; ++camera) {
      qmMathCopyVec2ToVec2(stage.imagePts[camera * stage.count + j], merged.imagePts[camera * merged.count + k]);
    }
    merged.values0[k] = stage.values0[j];
    qmMathTransformVec3(&transform, stage.worldPts[j], merged.worldPts[k]);
  }
}

}  // namespace

QmPatchBlockMultCalib::QmPatchBlockMultCalib(const QmPatchBlockMultCalib& other) {
  initialize(other.stageCount, other.checkStage != nullptr);
  setData(other);
}

QmPatchBlockMultCalib::~QmPatchBlockMultCalib() { free(); }

bool QmPatchBlockMultCalib::initialize(int stageNumber, bool withCheck) {
  if (stageNumber < 0) return false;
  stageCount = stageNumber;
  const auto count = static_cast<std::size_t>(stageNumber);
  return makeZeroed(count, stages) && qmMathVecConstructNoInit(parameterCount(stageCount), &parameters) != 0 &&
         makeZeroed(count, stageTransforms) && (!withCheck || makeZeroed(1, checkStage));
}

bool QmPatchBlockMultCalib::isComplete() const {
  return stages != nullptr && parameters != nullptr && stageTransforms != nullptr;
}

bool QmPatchBlockMultCalib::setData(const QmPatchBlockMultCalib& other) {
  if (stageCount != other.stageCount || !isComplete() || !other.isComplete()) return false;
  if (other.checkStage != nullptr && checkStage == nullptr) return false;
  copyArray(other.parameters, parameters, parameterCount(stageCount));
  for (std::int32_t s = 0; s < stageCount; ++s) {
    if (!handOver(stages[s], other.stages[s])) return false;
    stageTransforms[s] = other.stageTransforms[s];
  }
  return other.checkStage == nullptr || handOver(*checkStage, *other.checkStage);
}

QmPatchBlockMultCalib* QmPatchBlockMultCalib::clone() const { return new (std::nothrow) QmPatchBlockMultCalib(*this); }

tag_qmRT2d3dPts* QmPatchBlockMultCalib::getCalibData(int stage) {
  if (stage >= stageCount) return checkStage;
  return stage < 0 || stages == nullptr ? nullptr : stages + stage;
}

bool QmPatchBlockMultCalib::free() {
  qmRTcalibDataFree(stageCount, &stages);
  qmRTcalibDataFree(1, &checkStage);
  qmMathVecDestruct(&parameters);
  quelcore::freeMemory(stageTransforms);
  stageCount = 0;
  return true;
}

void QmPatchBlockMultCalib::createSingleStageFromMultiStage(QmPatchBlockMultCalib** out,
                                                            const qmMathTransform* transforms) const {
  if (out == nullptr) return;
  *out = new (std::nothrow) QmPatchBlockMultCalib();
  if (*out == nullptr || !makeZeroed(1, (*out)->stages)) return;
  tag_qmRT2d3dPts& merged = (*out)->stages[0];
  const std::int32_t count = stages == nullptr ? 0 : stageCount;
  const std::int32_t total = totalOf(stages, count);
  if (total < 0 || (total > 0 && transforms == nullptr) || !makeMerged(total, merged)) return;
  std::int32_t k = 0;
  for (std::int32_t s = 0; s < count; ++s) {
    if (stages[s].count <= 0) continue;
    qmMathTransform scaled = transforms[s];
    for (double& value : scaled.translation) value *= resultBlock.translationScale;
    append(stages[s], scaled, merged, k);
    k += stages[s].count;
  }
}

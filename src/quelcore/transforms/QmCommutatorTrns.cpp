#include "quelcore/transforms/QmCommutatorTrns.h"

namespace {

constexpr int indexOf(TrnPos pos) { return pos == TrnPosLeft ? 0 : 1; }

}  // namespace

QmCommutatorTrns::QmCommutatorTrns(std::uint32_t sourceId) noexcept : sourceId_(sourceId) {
  for (qmMathTransform& transform : transforms_) qmMathIdTransformCreate(&transform);
}

QmCommutatorTrns::QmCommutatorTrns(const QmCommutatorTrns&) noexcept = default;
QmCommutatorTrns& QmCommutatorTrns::operator=(const QmCommutatorTrns&) noexcept = default;
QmCommutatorTrns::~QmCommutatorTrns() = default;

void QmCommutatorTrns::setSourceID(std::uint32_t sourceId) noexcept {
  dirty_ = dirty_ || sourceId != sourceId_;
  sourceId_ = sourceId;
}

const qmMathTransform& QmCommutatorTrns::getTrn(TrnPos pos) const noexcept { return transforms_[indexOf(pos)]; }

void QmCommutatorTrns::setTrn(TrnPos pos, const qmMathTransform& transform) noexcept {
  transforms_[indexOf(pos)] = transform;
  dirty_ = true;
}

void QmCommutatorTrns::compensateTrn(qmMathTransform& transform) const noexcept {
  qmMathTransform right;
  qmMathTransformMultTransform(&transform, &transforms_[1], &right);
  qmMathTransformMultTransform(&transforms_[0], &right, &transform);
}

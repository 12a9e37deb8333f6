// A pair of fixed corrections of a transform, one applied on each side.
#pragma once

#include "quelcore/QuelCoreApi.h"
#include "quelplatform/qmMath/qmMath.h"

/// One half of a pair. Wherever one is asked for, any number but 0 means the right half.
enum TrnPos : std::int32_t { TrnPosLeft = 0, TrnPosRight = 1 };

/// The pair of one source. Copies copy all members.
class QUELCORE_API QmCommutatorTrns {
 public:
  /// Both corrections are the identity; not dirty.
  explicit QmCommutatorTrns(std::uint32_t sourceId = 0) noexcept;
  QmCommutatorTrns(const QmCommutatorTrns&) noexcept;
  QmCommutatorTrns& operator=(const QmCommutatorTrns&) noexcept;
  ~QmCommutatorTrns();

  std::uint32_t getSourceID() const noexcept { return sourceId_; }

  /// Makes the pair dirty only when the number changes.
  void setSourceID(std::uint32_t sourceId) noexcept;

  const qmMathTransform& getTrn(TrnPos pos) const noexcept;

  /// Stores the correction and makes the pair dirty, be it the same as before.
  void setTrn(TrnPos pos, const qmMathTransform& transform) noexcept;

  /// Required: nothing ever clears the flag, so that a pair that was set, or read from files, is written again with
  /// every save of its set.
  bool isDirty() const noexcept { return dirty_; }

  /// transform = left (transform right).
  void compensateTrn(qmMathTransform& transform) const noexcept;

 private:
  std::uint32_t sourceId_;
  qmMathTransform transforms_[2];
  bool dirty_ = false;
};

// A calibration block that is measured in several stages.
//
// Each stage is a set of correspondences between image and world points with a rigid transform of its own; all share
// one vector of parameters. A further stage may be kept back as a check. World points are in the unit and frame of
// their stage until the stages are merged.
#pragma once

#include <cstdint>

#include "quelcore/QuelCoreApi.h"
#include "quelcore/patches/QmPatchBlockInfo.h"
#include "quelcore/records/qmRT2d3dPts.h"
#include "quelplatform/qmMath/qmMath.h"

/// The stages of a block. The object owns its arrays, those of the stages included; numbers without a name here are the
/// caller's, nothing in this library gives them a value.
class QUELCORE_API QmPatchBlockMultCalib {
 public:
  /// All zero and null, `blockInfo` new.
  QmPatchBlockMultCalib() = default;

  /// Runs `initialize` for the stages of `other` and then `setData(other)`.
  ///
  /// Required: this is no copy of the whole. The result has the parameters and transforms of `other` and as many
  /// stages, all of them empty, a new `blockInfo`, and zero results. `other` is not changed.
  QmPatchBlockMultCalib(const QmPatchBlockMultCalib& other);

  /// Required: copies every field as it stands, pointers included, so that both objects share their arrays and only one
  /// may be destroyed. What this object owned before is not freed.
  QmPatchBlockMultCalib& operator=(const QmPatchBlockMultCalib& other) = default;

  ~QmPatchBlockMultCalib();

  /// Makes `stages` empty stages with their transforms (zero) and parameters (unspecified), and a check stage if asked.
  /// Meant for a fresh object: what it held is not freed. False for a negative number, with nothing changed, and when
  /// memory is exhausted: what was made stays.
  bool initialize(int stages, bool withCheck);

  /// Exchanges data with an object of as many stages: parameters and transforms come from `other`, correspondences go
  /// to `other`.
  ///
  /// Required: `other` is changed. Each of its stages for which this object has correspondences is made the same size
  /// and takes them over; so is its check stage. Arrays that one side lacks are left alone. False, with nothing
  /// changed, when the numbers of stages differ, when either object lacks an array of its own (it was not initialised),
  /// and when `other` has a check stage and this object has none; false when memory is exhausted: the stage that could
  /// not be made is empty, those behind it are as they were.
  bool setData(const QmPatchBlockMultCalib& other);

  /// A new object by the copy constructor, to be deleted by the caller; null when there is no memory for the object
  /// itself.
  QmPatchBlockMultCalib* clone() const;

  /// Stage `stage`, or the check stage, which may be null, for any number not below the number of stages; null for a
  /// negative number and without stages.
  tag_qmRT2d3dPts* getCalibData(int stage);

  /// The check stage, or null.
  tag_qmRT2d3dPts* getCalibCheckData() { return checkStage; }

  /// The number under which `getCalibData` reaches the check stage; -1 without one.
  int getCheckStageIndex() const { return checkStage == nullptr ? -1 : stageCount; }

  /// Makes `*out` a new object that holds the correspondences of all stages, one behind the other, as one stage:
  /// `out->stages[0]`. `transforms` has one transform per stage; with its translation multiplied by
  /// `translationScale` it takes the stage's world points into the common frame. Neither the stages' own transforms nor
  /// the check stage nor `values1` take part. The result has `count` 0 and no arrays when `transforms` is null, when a
  /// stage lacks an array, and when memory is exhausted; `stages` or `*out` is null when not even they could be made. A
  /// null `out` does nothing.
  ///
  /// Required: the new object counts 0 stages, so that it does not free the arrays of the merged stage: the caller
  /// calls `qmRT2d3dPtsFree(out->stages)` before deleting the object.
  void createSingleStageFromMultiStage(QmPatchBlockMultCalib** out, const qmMathTransform* transforms) const;

  /// Results of a calibration, as the caller sets them.
  struct ResultBlock {
    std::int64_t word0;
    double translationScale;  ///< Multiplies the translations when stages are merged.
    std::int64_t words[12];
  };

  std::int32_t stageCount = 0;
  QmPatchBlockInfo blockInfo;
  tag_qmRT2d3dPts* stages = nullptr;      ///< `stageCount`.
  tag_qmRT2d3dPts* checkStage = nullptr;  ///< One, or null.
  double* parameters = nullptr;           ///< 6 `stageCount` + 57: six per stage, 57 common to all.
  ResultBlock resultBlock = {};
  qmMathTransform resultTransform = {};
  double resultVector[3] = {};
  qmMathTransform* stageTransforms = nullptr;  ///< `stageCount`.

 protected:
  /// Frees what the object owns. True.
  bool free();

 private:
  QUELCORE_LOCAL bool isComplete() const;
};

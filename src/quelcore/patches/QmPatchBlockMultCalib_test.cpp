#include "quelcore/patches/QmPatchBlockMultCalib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::Each;
using ::testing::ElementsAre;

using Multi = QmPatchBlockMultCalib;

/// Fills a stage with numbers that tell stage, array and place.
void fill(tag_qmRT2d3dPts& stage, std::int32_t count, int mark) {
  qmRT2d3dPtsFree(&stage);
  ASSERT_EQ(qmRT2d3dPtsAlloc(count, &stage), 1);
  for (std::int32_t n = 0; n < 3 * count; ++n) {
    stage.imagePts[n][0] = 1000 * mark + n;
    stage.imagePts[n][1] = 1000 * mark + n + 0.5;
  }
  for (std::int32_t n = 0; n < count; ++n) {
    for (int axis = 0; axis < 3; ++axis) stage.worldPts[n][axis] = 100 * mark + 10 * axis + n;
    stage.values0[n] = 10000 * mark + n;
    stage.values1[n] = 20000 * mark + n;
  }
}

void expectFilled(const tag_qmRT2d3dPts& stage, std::int32_t count, int mark) {
  ASSERT_EQ(stage.count, count);
  for (std::int32_t n = 0; n < 3 * count; ++n)
    ASSERT_THAT(stage.imagePts[n], ElementsAre(1000 * mark + n, 1000 * mark + n + 0.5));
  for (std::int32_t n = 0; n < count; ++n) {
    ASSERT_THAT(stage.worldPts[n], ElementsAre(100 * mark + n, 100 * mark + 10 + n, 100 * mark + 20 + n));
    ASSERT_EQ(stage.values0[n], 10000 * mark + n);
    ASSERT_EQ(stage.values1[n], 20000 * mark + n);
  }
}

/// Stages of the given sizes, marked `mark`, `mark` + 1 and so on; parameters and transforms tell `mark` too.
std::unique_ptr<Multi> made(const std::vector<std::int32_t>& counts, int mark, bool withCheck = false) {
  auto multi = std::make_unique<Multi>();
  const int stages = static_cast<int>(counts.size());
  EXPECT_TRUE(multi->initialize(stages, withCheck));
  for (int s = 0; s < stages; ++s) {
    const auto at = static_cast<std::size_t>(s);
    if (counts[at] > 0) fill(multi->stages[s], counts[at], mark + s);
    multi->stageTransforms[s].translation[0] = mark + s;
  }
  for (int n = 0; n < 6 * stages + 57; ++n) multi->parameters[n] = 1e6 * mark + n;
  return multi;
}

void expectParameters(const Multi& multi, int mark) {
  for (int n = 0; n < 6 * multi.stageCount + 57; ++n) ASSERT_EQ(multi.parameters[n], 1e6 * mark + n);
  for (int s = 0; s < multi.stageCount; ++s) ASSERT_EQ(multi.stageTransforms[s].translation[0], mark + s);
}

TEST(QmPatchBlockMultCalib, IsEmptyAtFirst) {
  Multi multi;
  EXPECT_EQ(multi.stageCount, 0);
  EXPECT_EQ(multi.stages, nullptr);
  EXPECT_EQ(multi.checkStage, nullptr);
  EXPECT_EQ(multi.parameters, nullptr);
  EXPECT_EQ(multi.stageTransforms, nullptr);
  EXPECT_EQ(multi.resultBlock.translationScale, 0.0);
  EXPECT_THAT(multi.resultBlock.words, Each(0));
  EXPECT_THAT(multi.resultVector, Each(0.0));
  EXPECT_THAT(multi.resultTransform.translation, Each(0.0));
  EXPECT_FALSE(multi.blockInfo.isInit());
  EXPECT_EQ(multi.getCheckStageIndex(), -1);
  EXPECT_EQ(multi.getCalibData(0), nullptr);
}

TEST(QmPatchBlockMultCalib, HasItsFieldsInOrder) {
  EXPECT_EQ(offsetof(Multi, stageCount), 0u);
  EXPECT_EQ(offsetof(Multi, blockInfo), 8u);
  const std::size_t stages = 8 + sizeof(QmPatchBlockInfo);
  EXPECT_EQ(offsetof(Multi, stages), stages);
  EXPECT_EQ(offsetof(Multi, checkStage), stages + 8);
  EXPECT_EQ(offsetof(Multi, parameters), stages + 16);
  EXPECT_EQ(offsetof(Multi, resultBlock), stages + 24);
  EXPECT_EQ(offsetof(Multi, resultBlock.translationScale), stages + 32);
  EXPECT_EQ(offsetof(Multi, resultTransform), stages + 136);
  EXPECT_EQ(offsetof(Multi, resultVector), stages + 232);
  EXPECT_EQ(offsetof(Multi, stageTransforms), stages + 256);
}

TEST(QmPatchBlockMultCalib, MakesEmptyStages) {
  const std::int64_t before = allocatedBlocks();
  {
    Multi multi;
    ASSERT_TRUE(multi.initialize(4, true));
    EXPECT_EQ(multi.stageCount, 4);
    EXPECT_EQ(multi.getCheckStageIndex(), 4);
    for (int s = 0; s < 4; ++s) {
      EXPECT_EQ(multi.getCalibData(s), multi.stages + s);
      EXPECT_EQ(multi.stages[s].count, 0);
      EXPECT_EQ(multi.stages[s].worldPts, nullptr);
      EXPECT_THAT(multi.stageTransforms[s].rotation[0], Each(0.0));
    }
    EXPECT_EQ(multi.getCalibData(4), multi.checkStage);
    EXPECT_EQ(multi.getCalibData(99), multi.checkStage);
    EXPECT_EQ(multi.getCalibCheckData(), multi.checkStage);
    EXPECT_EQ(multi.checkStage->count, 0);
    multi.parameters[6 * 4 + 56] = 1;
    EXPECT_EQ(multi.getCalibData(-1), nullptr);
    EXPECT_EQ(multi.getCalibData(std::numeric_limits<int>::min()), nullptr);
    fill(multi.stages[2], 7, 1);
    fill(*multi.checkStage, 3, 1);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPatchBlockMultCalib, HasNoCheckStageUnlessAsked) {
  Multi multi;
  ASSERT_TRUE(multi.initialize(2, false));
  EXPECT_EQ(multi.getCheckStageIndex(), -1);
  EXPECT_EQ(multi.getCalibData(2), nullptr);
}

TEST(QmPatchBlockMultCalib, RefusesNegativeAndAbsurdNumbersOfStages) {
  Multi multi;
  EXPECT_FALSE(multi.initialize(-1, true));
  EXPECT_FALSE(multi.initialize(std::numeric_limits<int>::min(), true));
  EXPECT_EQ(multi.stageCount, 0);
  EXPECT_EQ(multi.stages, nullptr);
}

TEST(QmPatchBlockMultCalib, DoesNotFreeWhatItHeldAtASecondInitialize) {
  Multi multi;
  ASSERT_TRUE(multi.initialize(1, false));
  const std::int64_t before = allocatedBlocks();
  tag_qmRT2d3dPts* stages = multi.stages;
  void* parameters = multi.parameters;
  void* transforms = multi.stageTransforms;
  ASSERT_TRUE(multi.initialize(1, false));
  EXPECT_EQ(allocatedBlocks(), before + 3);
  qmRTcalibDataFree(1, &stages);
  qmMallocFree(&parameters);
  qmMallocFree(&transforms);
}

TEST(QmPatchBlockMultCalib, KeepsWhatItGotWhenMemoryIsExhausted) {
  const std::int64_t failures = failEachAllocation([](std::int64_t n) {
    Multi multi;
    EXPECT_EQ(multi.initialize(3, true), n == 4);
    EXPECT_EQ(multi.stageCount, 3);
    EXPECT_EQ(multi.stages != nullptr, n > 0);
    EXPECT_EQ(multi.parameters != nullptr, n > 1);
    EXPECT_EQ(multi.stageTransforms != nullptr, n > 2);
    EXPECT_EQ(multi.checkStage != nullptr, n > 3);
    EXPECT_EQ(multi.getCalibData(1) != nullptr, n > 0);
  });
  EXPECT_EQ(failures, 4);
}

TEST(QmPatchBlockMultCalib, TakesParametersAndGivesCorrespondences) {
  const auto own = made({4, 5, 0}, 1), other = made({4, 3, 2}, 20);
  ASSERT_TRUE(own->setData(*other));
  expectParameters(*own, 20);
  expectParameters(*other, 20);
  expectFilled(own->stages[0], 4, 1);
  expectFilled(own->stages[1], 5, 2);
  EXPECT_EQ(own->stages[2].count, 0);
  expectFilled(other->stages[0], 4, 1);
  expectFilled(other->stages[1], 5, 2);
  expectFilled(other->stages[2], 2, 22);  // This side had none to give.
}

TEST(QmPatchBlockMultCalib, GivesItsCheckStageToo) {
  const auto own = made({1}, 1, true), other = made({1}, 20, true);
  fill(*other->checkStage, 6, 30);
  ASSERT_TRUE(own->setData(*other));
  expectFilled(*other->checkStage, 6, 30);
  fill(*own->checkStage, 4, 40);
  ASSERT_TRUE(own->setData(*other));
  expectFilled(*other->checkStage, 4, 40);
  const auto without = made({1}, 50);
  ASSERT_TRUE(own->setData(*without));
  EXPECT_EQ(without->checkStage, nullptr);
}

TEST(QmPatchBlockMultCalib, ExchangesNothingWithAnObjectThatDoesNotFit) {
  const auto own = made({4, 5}, 1), fewer = made({4}, 20), checked = made({4, 3}, 30, true);
  EXPECT_FALSE(own->setData(*fewer));
  EXPECT_FALSE(own->setData(*checked));  // It has a check stage, and this one has none.
  expectParameters(*own, 1);
  expectFilled(own->stages[1], 5, 2);
  expectFilled(fewer->stages[0], 4, 20);
  expectFilled(checked->stages[1], 3, 31);
  Multi none, alsoNone;
  EXPECT_FALSE(none.setData(alsoNone));
}

TEST(QmPatchBlockMultCalib, CopiesOnlyArraysThatBothSidesHave) {
  const auto own = made({4}, 1), other = made({4}, 20);
  void* values = own->stages[0].values1;
  qmMallocFree(&values);
  own->stages[0].values1 = nullptr;
  values = other->stages[0].values0;
  qmMallocFree(&values);
  other->stages[0].values0 = nullptr;
  ASSERT_TRUE(own->setData(*other));
  EXPECT_EQ(other->stages[0].worldPts[3][2], 123.0);
  EXPECT_EQ(other->stages[0].values1[3], 20 * 20000 + 3);
  EXPECT_EQ(other->stages[0].values0, nullptr);
}

TEST(QmPatchBlockMultCalib, ExchangesWithItselfWithoutHarm) {
  const auto own = made({4, 5}, 1, true);
  EXPECT_TRUE(own->setData(*own));
  expectParameters(*own, 1);
  expectFilled(own->stages[1], 5, 2);
}

TEST(QmPatchBlockMultCalib, LeavesWholeStagesWhenAnExchangeRunsOutOfMemory) {
  const auto own = made({4, 5}, 1);
  const std::int64_t before = allocatedBlocks();
  for (int n = 0; n < 4; ++n) {
    const auto other = made({4, 3}, 20);
    quelplatform::failAllocations(n, 1);
    EXPECT_FALSE(own->setData(*other));
    EXPECT_EQ(quelplatform::stopFailingAllocations(), 1);
    expectFilled(other->stages[0], 4, 1);
    EXPECT_EQ(other->stages[1].count, 0);
    EXPECT_EQ(other->stages[1].imagePts, nullptr);
    expectFilled(own->stages[1], 5, 2);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPatchBlockMultCalib, IsCopiedWithoutItsCorrespondences) {
  const auto original = made({4, 5}, 1, true);
  fill(*original->checkStage, 3, 9);
  original->blockInfo.ohType = OH_CAMERA_640x480;
  original->resultBlock.translationScale = 2;
  original->resultVector[1] = 3;
  const std::unique_ptr<Multi> copy(original->clone());
  EXPECT_EQ(copy->stageCount, 2);
  expectParameters(*copy, 1);
  EXPECT_NE(copy->parameters, original->parameters);
  EXPECT_EQ(copy->stages[0].count, 0);
  EXPECT_EQ(copy->stages[1].count, 0);
  ASSERT_NE(copy->checkStage, nullptr);
  EXPECT_EQ(copy->checkStage->count, 0);
  EXPECT_FALSE(copy->blockInfo.isInit());
  EXPECT_EQ(copy->resultBlock.translationScale, 0.0);
  EXPECT_THAT(copy->resultVector, Each(0.0));
  expectFilled(original->stages[0], 4, 1);
  expectFilled(original->stages[1], 5, 2);
  expectFilled(*original->checkStage, 3, 9);
}

TEST(QmPatchBlockMultCalib, IsCopiedHarmlesslyWhenMemoryIsExhausted) {
  const auto original = made({4, 5}, 1, true);
  const std::int64_t failures = failEachAllocation([&](std::int64_t n) {
    const Multi copy(*original);
    EXPECT_EQ(copy.stages != nullptr, n > 0);
  });
  EXPECT_EQ(failures, 4);
  const Multi fresh;
  const Multi copyOfFresh(fresh);
  EXPECT_EQ(copyOfFresh.stageCount, 0);
}

TEST(QmPatchBlockMultCalib, SharesItsArraysWithWhatItIsAssignedTo) {
  const std::int64_t before = allocatedBlocks();
  {
    const auto original = made({4}, 1, true);
    original->resultBlock.translationScale = 2;
    Multi assigned;
    assigned = *original;
    EXPECT_EQ(assigned.stages, original->stages);
    EXPECT_EQ(assigned.checkStage, original->checkStage);
    EXPECT_EQ(assigned.parameters, original->parameters);
    EXPECT_EQ(assigned.stageTransforms, original->stageTransforms);
    EXPECT_EQ(assigned.stageCount, 1);
    EXPECT_EQ(assigned.resultBlock.translationScale, 2.0);
    std::memset(static_cast<void*>(&assigned), 0, sizeof(assigned));  // Only one of the two may be destroyed.
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

/// Merges, and frees the result as its owner is told to.
struct Merged {
  Merged(const Multi& multi, const qmMathTransform* transforms) {
    multi.createSingleStageFromMultiStage(&object, transforms);
  }
  ~Merged() {
    if (object != nullptr && object->stages != nullptr) qmRT2d3dPtsFree(object->stages);
    delete object;
  }
  Merged(const Merged&) = delete;
  Merged& operator=(const Merged&) = delete;
  const tag_qmRT2d3dPts& stage() const { return object->stages[0]; }

  Multi* object = nullptr;
};

qmMathTransform turned(double angle, double x, double y, double z) {
  qmMathTransform t{};
  qmMathRotationMatCreate(0, 0, angle, t.rotation);
  t.translation[0] = x;
  t.translation[1] = y;
  t.translation[2] = z;
  return t;
}

TEST(QmPatchBlockMultCalib, MergesItsStagesCameraByCamera) {
  const std::int64_t before = allocatedBlocks();
  {
    const auto multi = made({2, 0, 3}, 1, true);
    fill(*multi->checkStage, 2, 9);
    multi->resultBlock.translationScale = 0.5;
    const qmMathTransform transforms[] = {turned(0.3, 1, 2, 3), turned(9, 9, 9, 9), turned(-1.2, -4, 5, 6)};
    const Merged merged(*multi, transforms);
    ASSERT_EQ(merged.stage().count, 5);
    for (int k = 0; k < 5; ++k) {
      const int s = k < 2 ? 0 : 2, j = k < 2 ? k : k - 2;
      const tag_qmRT2d3dPts& from = multi->stages[s];
      for (int camera = 0; camera < 3; ++camera) {
        EXPECT_THAT(merged.stage().imagePts[5 * camera + k],
                    ::testing::ElementsAreArray(from.imagePts[from.count * camera + j]));
      }
      EXPECT_EQ(merged.stage().values0[k], from.values0[j]);
      const double(&R)[3][3] = transforms[s].rotation;
      const double* p = from.worldPts[j];
      for (int i = 0; i < 3; ++i) {
        const double expected = R[i][0] * p[0] + R[i][1] * p[1] + R[i][2] * p[2] + transforms[s].translation[i] * 0.5;
        EXPECT_THAT(merged.stage().worldPts[k][i], Near(expected, 1e-10));
      }
    }
    EXPECT_EQ(merged.stage().values1, nullptr);
    EXPECT_EQ(merged.object->stageCount, 0);
    EXPECT_EQ(merged.object->parameters, nullptr);
    EXPECT_EQ(merged.object->stageTransforms, nullptr);
    EXPECT_EQ(merged.object->checkStage, nullptr);
    EXPECT_EQ(merged.object->getCalibData(0), nullptr);
    EXPECT_EQ(transforms[0].translation[0], 1.0);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPatchBlockMultCalib, LeavesTheMergedArraysToTheCaller) {
  const auto multi = made({2}, 1);
  const qmMathTransform transform = turned(0, 0, 0, 0);
  const std::int64_t before = allocatedBlocks();
  Multi* out = nullptr;
  multi->createSingleStageFromMultiStage(&out, &transform);
  ASSERT_NE(out, nullptr);
  tag_qmRT2d3dPts kept = out->stages[0];
  delete out;
  EXPECT_EQ(allocatedBlocks(), before + 3);
  qmRT2d3dPtsFree(&kept);
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(QmPatchBlockMultCalib, TurnsButDoesNotMoveTheStagesOfANewObject) {
  const auto multi = made({1}, 1);
  const qmMathTransform transform = turned(0, 1000, 2000, 3000);
  const Merged merged(*multi, &transform);
  EXPECT_THAT(merged.stage().worldPts[0], ElementsAre(100, 110, 120));
}

TEST(QmPatchBlockMultCalib, MergesNoStagesIntoAnEmptyOne) {
  Multi fresh, none;
  ASSERT_TRUE(none.initialize(0, false));
  for (const Multi* multi : {&fresh, &none}) {
    const Merged merged(*multi, nullptr);
    EXPECT_EQ(merged.stage().count, 0);
  }
}

TEST(QmPatchBlockMultCalib, MergesNothingThatItCannotMergeWhole) {
  const qmMathTransform transforms[] = {turned(0, 0, 0, 0), turned(0, 0, 0, 0)};
  const auto multi = made({2, 3}, 1);
  multi->createSingleStageFromMultiStage(nullptr, transforms);
  EXPECT_EQ(Merged(*multi, nullptr).stage().count, 0);
  for (const int missing : {0, 1, 2}) {
    const auto lacking = made({2, 3}, 1);
    tag_qmRT2d3dPts& stage = lacking->stages[1];
    void* block = missing == 0   ? static_cast<void*>(stage.imagePts)
                  : missing == 1 ? static_cast<void*>(stage.worldPts)
                                 : static_cast<void*>(stage.values0);
    qmMallocFree(&block);
    (missing == 0   ? reinterpret_cast<void*&>(stage.imagePts)
     : missing == 1 ? reinterpret_cast<void*&>(stage.worldPts)
                    : reinterpret_cast<void*&>(stage.values0)) = nullptr;
    const Merged merged(*lacking, transforms);
    EXPECT_EQ(merged.stage().count, 0) << missing;
    EXPECT_EQ(merged.stage().imagePts, nullptr);
  }
  multi->stages[0].count = multi->stages[1].count = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(Merged(*multi, transforms).stage().count, 0);
  multi->stages[0].count = -5;
  multi->stages[1].count = 3;
  EXPECT_EQ(Merged(*multi, transforms).stage().count, 3);
  multi->stages[0].count = 2;
}

TEST(QmPatchBlockMultCalib, MergesNothingWhenMemoryIsExhausted) {
  const auto multi = made({2, 3}, 1);
  const qmMathTransform transforms[] = {turned(0, 0, 0, 0), turned(0, 0, 0, 0)};
  const std::int64_t failures = failEachAllocation([&](std::int64_t n) {
    const Merged merged(*multi, transforms);
    ASSERT_NE(merged.object, nullptr);
    EXPECT_EQ(merged.object->stages != nullptr, n > 0);
    if (n == 0) return;
    EXPECT_EQ(merged.stage().count, n == 4 ? 5 : 0);
    EXPECT_EQ(merged.stage().worldPts != nullptr, n == 4);
  });
  EXPECT_EQ(failures, 4);
}

}  // namespace

#include "quelcore/patches/QmPatchBlockMultCalib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "quelcore/patches/QmPatchBlockMultCalib_fixture.h"
#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::Each;

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
  const double(*const kept)[3] = other->stages[0].worldPts;
  const RecordingLog log;
  ASSERT_TRUE(own->setData(*other));
  EXPECT_THAT(log.records(), ::testing::IsEmpty());
  EXPECT_EQ(other->stages[0].worldPts, kept);  // It had the size already.
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
    const RecordingLog log;
    quelplatform::failAllocations(n, 1);
    EXPECT_FALSE(own->setData(*other));
    EXPECT_EQ(quelplatform::stopFailingAllocations(), 1);
    EXPECT_THAT(log.records(), ::testing::ElementsAre(::testing::Field(&quelplatform::LogRecord::level, 1)));
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

TEST(QmPatchBlockMultCalib, HasNoCloneWhenMemoryIsExhausted) {
  const auto original = made({4, 5}, 1, true);
  const std::int64_t before = allocatedBlocks();
  newSuccesses = 0;  // The object itself.
  const Multi* none = original->clone();
  newSuccesses = -1;
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(allocatedBlocks(), before);
}

/// What is protected, in the open.
class OpenMulti : public Multi {
 public:
  using Multi::free;
};

TEST(QmPatchBlockMultCalib, IsEmptyAgainWhenItIsFreed) {
  const std::int64_t before = allocatedBlocks();
  OpenMulti multi;
  ASSERT_TRUE(multi.initialize(2, true));
  fill(multi.stages[1], 3, 1);
  fill(*multi.checkStage, 4, 2);
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(multi.free());
    EXPECT_EQ(multi.stageCount, 0);
    EXPECT_EQ(multi.stages, nullptr);
    EXPECT_EQ(multi.checkStage, nullptr);
    EXPECT_EQ(multi.parameters, nullptr);
    EXPECT_EQ(multi.stageTransforms, nullptr);
  }
  EXPECT_EQ(allocatedBlocks(), before);
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

}  // namespace

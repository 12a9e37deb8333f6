// The stages of a block merged into one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "quelcore/patches/QmPatchBlockMultCalib_fixture.h"
#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::ElementsAre;

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
    multi->resultBlock.translationScale = 0.3;
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
        const double expected = R[i][0] * p[0] + R[i][1] * p[1] + R[i][2] * p[2] + transforms[s].translation[i] * 0.3;
        EXPECT_EQ(merged.stage().worldPts[k][i], expected);
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
    EXPECT_NE(merged.stage().imagePts, nullptr);  // Arrays of nothing, where a merge that fails leaves none.
    EXPECT_NE(merged.stage().worldPts, nullptr);
    EXPECT_NE(merged.stage().values0, nullptr);
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

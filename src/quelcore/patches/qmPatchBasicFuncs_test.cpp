#include "quelcore/patches/qmPatchBasicFuncs.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "quelplatform/qmEnv/qmMemory.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::BareTrace;
using quel::testing::Line;
using quel::testing::Message;
using quel::testing::RecordingLog;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kModule = "qmPatchBasicFuncs";
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// A patch of its own arrays, destroyed at the end.
class OwnedPatch {
 public:
  explicit OwnedPatch(std::int32_t count, bool with3D = true, bool with2D = true, bool withValues = true) {
    void* record = nullptr;
    qmMallocInitZero(sizeof(qmPatch), &record);
    patch_ = static_cast<qmPatch*>(record);
    patch_->pointCount = count;
    const auto size = static_cast<std::size_t>(count);
    if (with3D) qmMathVec3ArrayConstructNoInit(size, &patch_->points3D);
    if (with2D) qmMathVec2ArrayConstruct(size, &patch_->points2D);
    void* values = nullptr;
    if (withValues) qmMallocNoInit(size * 4, &values);
    patch_->pointValues = static_cast<std::int32_t*>(values);
    for (std::int32_t n = 0; n < count; ++n) {
      for (int i = 0; with3D && i < 3; ++i) patch_->points3D[n][i] = 10 * n + i;
      for (int i = 0; with2D && i < 2; ++i) patch_->points2D[n][i] = 100 * n + i;
      if (withValues) patch_->pointValues[n] = 7 * n;
    }
  }
  ~OwnedPatch() { qmPatchDestruct(&patch_); }
  OwnedPatch(const OwnedPatch&) = delete;
  OwnedPatch& operator=(const OwnedPatch&) = delete;

  qmPatch* get() { return patch_; }
  qmPatch* operator->() { return patch_; }
  qmPatch** address() { return &patch_; }

 private:
  qmPatch* patch_;
};

void fillFields(qmPatch& patch) {
  std::memcpy(patch.id.machineId, "ABCD1234", 8);
  patch.id.blockNumber = 3;
  patch.id.lensType = 50.0;
  patch.attribute = 11;
  patch.subPatchCount = 2;
  for (int i = 0; i < 8; ++i) {
    patch.subPatchTag[i] = static_cast<std::uint8_t>(20 + i);
    patch.subPatchPoints[i] = static_cast<std::uint32_t>(30 + i);
  }
  for (int i = 0; i < 7; ++i) patch.scalars[i] = 40 + i;
}

// --- Identifiers ---------------------------------------------------------------------------------------------------

class FillFtrIDTest : public ::testing::Test {
 protected:
  FillFtrIDTest() : tensor_(std::make_unique<tag_qmReconsTensorData>()) {
    std::memset(tensor_.get(), 0, sizeof(*tensor_));
    std::memcpy(tensor_->machineId, "ABCD1234", 8);
    tensor_->blockNumber = 1;
    tensor_->calibrationTimeStamp = 2;
    tensor_->lensType = 3.5;
    tensor_->pixel2WorldRatio = 4.5;
    tensor_->imageTag = 99;
    std::memcpy(image_.imageId.machineId, "ABCD1234", 8);
    image_.imageId.imageTag = 5;
    image_.imageId.calibrationTimeStamp = 98;
    image_.imageId.blockNumber = 97;
    image_.width = 1536;
    image_.height = 1024;
  }

  std::unique_ptr<tag_qmReconsTensorData> tensor_;
  tag_qmImage image_ = {};
  qmFtrID id_ = {};
};

TEST_F(FillFtrIDTest, TakesTheImagesMachineTagAndSizeAndTheTensorsRest) {
  const RecordingLog log;
  ASSERT_EQ(qmFillFtrID(&id_, tensor_.get(), &image_), 1);
  EXPECT_EQ(std::memcmp(id_.machineId, "ABCD1234", 8), 0);
  EXPECT_EQ(id_.blockNumber, 1);
  EXPECT_EQ(id_.calibrationTimeStamp, 2);
  EXPECT_EQ(id_.lensType, 3.5);
  EXPECT_EQ(id_.pixel2WorldRatio, 4.5);
  EXPECT_EQ(id_.imageTag, 5);
  EXPECT_EQ(id_.imageWidth, 1536U);
  EXPECT_EQ(id_.imageHeight, 1024U);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(FillFtrIDTest, WarnsOfAnotherMachineAndTakesTheImages) {
  tensor_->machineId[7] = 'x';
  const RecordingLog log;
  ASSERT_EQ(qmFillFtrID(&id_, tensor_.get(), &image_), 1);
  EXPECT_EQ(std::memcmp(id_.machineId, "ABCD1234", 8), 0);
  EXPECT_EQ(id_.imageTag, 5);
  EXPECT_THAT(log.records(),
              ElementsAre(Line(3, kModule, "The tensor's file Machine id is different from the images Machine id")));
}

TEST_F(FillFtrIDTest, LogsEachNullArgumentAndLeavesTheOutput) {
  id_.imageTag = -7;
  const RecordingLog log;
  EXPECT_EQ(qmFillFtrID(nullptr, tensor_.get(), &image_), 0);
  EXPECT_EQ(qmFillFtrID(&id_, nullptr, &image_), 0);
  EXPECT_EQ(qmFillFtrID(&id_, tensor_.get(), nullptr), 0);
  EXPECT_EQ(qmPatchFillFtrID(nullptr, tensor_.get(), &image_), 0);
  EXPECT_EQ(id_.imageTag, -7);
  EXPECT_THAT(log.records(), ::testing::AllOf(::testing::SizeIs(4), Each(Line(5, kModule, "NULL pointer"))));
}

TEST_F(FillFtrIDTest, FillsTheIdentifierOfAPatch) {
  OwnedPatch patch(0);
  ASSERT_EQ(qmPatchFillFtrID(patch.get(), tensor_.get(), &image_), 1);
  EXPECT_EQ(patch->id.imageTag, 5);
  EXPECT_EQ(qmPatchFillFtrID(patch.get(), nullptr, &image_), 0);
}

TEST(qmFtrIDCopy, CopiesEveryFieldAndIgnoresNull) {
  qmFtrID a = {{'A', 'B', 'C', 'D', '1', '2', '3', '4'}, 1, 2.5, 3.5, 4, 5, 6, 7};
  qmFtrID b = {};
  qmFtrIDCopy(&a, &b);
  EXPECT_EQ(std::memcmp(a.machineId, b.machineId, 8), 0);
  EXPECT_EQ(b.blockNumber, 1);
  EXPECT_EQ(b.pixel2WorldRatio, 2.5);
  EXPECT_EQ(b.lensType, 3.5);
  EXPECT_EQ(b.imageTag, 4);
  EXPECT_EQ(b.calibrationTimeStamp, 5);
  EXPECT_EQ(b.imageWidth, 6U);
  EXPECT_EQ(b.imageHeight, 7U);
  qmFtrIDCopy(nullptr, &b);
  qmFtrIDCopy(&a, nullptr);
  EXPECT_EQ(b.imageHeight, 7U);
}

// --- Copying -------------------------------------------------------------------------------------------------------

TEST(qmPatchCopyFields, CopiesEverythingButTheArraysAndTheReservedWord) {
  OwnedPatch source(3);
  fillFields(*source.get());
  source->reserved = source.get();
  qmPatch copy = {};
  std::int32_t values[1] = {};
  int reserved = 0;
  copy.pointValues = values;
  copy.reserved = &reserved;
  qmPatchCopyFields(source.get(), &copy);
  EXPECT_EQ(std::memcmp(&copy.id, &source->id, sizeof(copy.id)), 0);
  EXPECT_EQ(copy.attribute, 11);
  EXPECT_EQ(copy.subPatchCount, 2);
  EXPECT_EQ(std::memcmp(copy.subPatchTag, source->subPatchTag, sizeof(copy.subPatchTag)), 0);
  EXPECT_EQ(std::memcmp(copy.subPatchPoints, source->subPatchPoints, sizeof(copy.subPatchPoints)), 0);
  EXPECT_EQ(copy.pointCount, 3);
  EXPECT_THAT(copy.scalars, ElementsAre(40, 41, 42, 43, 44, 45, 46));
  EXPECT_EQ(copy.points3D, nullptr);
  EXPECT_EQ(copy.points2D, nullptr);
  EXPECT_EQ(copy.pointValues, values);
  EXPECT_EQ(copy.reserved, &reserved);
  source->reserved = nullptr;
  qmPatchCopyFields(nullptr, &copy);
  qmPatchCopyFields(source.get(), nullptr);
}

TEST(qmPatchCopy, MakesARecordWithArraysOfItsOwn) {
  OwnedPatch source(4);
  fillFields(*source.get());
  qmPatch* copy = nullptr;
  ASSERT_EQ(qmPatchCopy(source.get(), &copy), 0U);
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(copy->attribute, 11);
  EXPECT_EQ(copy->reserved, nullptr);
  EXPECT_NE(copy->points3D, source->points3D);
  EXPECT_EQ(std::memcmp(copy->points3D, source->points3D, 4 * 24), 0);
  EXPECT_EQ(std::memcmp(copy->points2D, source->points2D, 4 * 16), 0);
  EXPECT_EQ(std::memcmp(copy->pointValues, source->pointValues, 4 * 4), 0);
  EXPECT_EQ(qmPatchDestruct(&copy), 1);
}

TEST(qmPatchCopy, GivesNullArraysForNullArrays) {
  OwnedPatch source(4, false, false, false);
  qmPatch* copy = nullptr;
  ASSERT_EQ(qmPatchCopy(source.get(), &copy), 0U);
  EXPECT_EQ(copy->pointCount, 4);
  EXPECT_EQ(copy->points3D, nullptr);
  EXPECT_EQ(copy->points2D, nullptr);
  EXPECT_EQ(copy->pointValues, nullptr);
  qmPatchDestruct(&copy);
}

TEST(qmPatchCopy, MakesEmptyArraysForAPatchOfNoPoints) {
  OwnedPatch source(0);
  qmPatch* copy = nullptr;
  ASSERT_EQ(qmPatchCopy(source.get(), &copy), 0U);
  EXPECT_NE(copy->points3D, nullptr);
  EXPECT_NE(copy->points2D, nullptr);
  EXPECT_NE(copy->pointValues, nullptr);
  qmPatchDestruct(&copy);
}

TEST(qmPatchCopy, LeavesThePointersOfArraysThatTheSourceLacks) {
  OwnedPatch source(2, true, false, false);
  OwnedPatch target(2, false, true, true);
  double(*const before)[2] = target->points2D;
  ASSERT_EQ(qmPatchCopy(source.get(), target.address()), 0U);
  EXPECT_EQ(target->points2D, before);
  EXPECT_NE(target->points3D, nullptr);
}

TEST(qmPatchCopy, TakesBackARecordOfItsOwnMakingWhereverMemoryRunsOut) {
  OwnedPatch source(4);
  const auto failures = quel::testing::failEachAllocation([&](std::int64_t succeeding) {
    const RecordingLog log;
    qmPatch* copy = nullptr;
    EXPECT_EQ(qmPatchCopy(source.get(), &copy), succeeding < 4 ? 0xc43d0001U : 0U);
    EXPECT_EQ(copy != nullptr, succeeding >= 4);
    EXPECT_THAT(log.records(), IsEmpty());
    qmPatchDestruct(&copy);
  });
  EXPECT_EQ(failures, 4);
}

TEST(qmPatchCopy, LeavesTheCallersRecordWithoutArraysWhereverMemoryRunsOut) {
  OwnedPatch source(4);
  fillFields(*source.get());
  OwnedPatch target(0, false, false, false);
  quel::testing::failEachAllocation([&](std::int64_t succeeding) {
    qmPatch* const record = target.get();
    EXPECT_EQ(qmPatchCopy(source.get(), target.address()), succeeding < 3 ? 0xc43d0001U : 0U);
    EXPECT_EQ(target.get(), record);
    EXPECT_EQ(target->attribute, 11);
    EXPECT_EQ(target->pointCount, 4);
    if (succeeding < 3) {
      EXPECT_EQ(target->points3D, nullptr);
      EXPECT_EQ(target->points2D, nullptr);
      EXPECT_EQ(target->pointValues, nullptr);
    }
    qmMathVec3ArrayDestruct(&target->points3D);
    qmMathVec2ArrayDestruct(&target->points2D);
    void* values = target->pointValues;
    qmMallocFree(&values);
    target->pointValues = nullptr;
  });
}

/// Frees an array that a copy overwrote, as the one who brought it has to.
void freeOverwritten(void* array) { qmMallocFree(&array); }

TEST(qmPatchCopy, MakesItsArraysInTheOrderPointsValuesPixels) {
  // An array that the caller's record brings is overwritten, and so lost to it, once its turn has come; until then a
  // failure frees it. `turn` counts points, values, pixels.
  OwnedPatch source(4);
  for (int turn = 0; turn < 3; ++turn) {
    for (int failing = 0; failing < 3; ++failing) {
      OwnedPatch target(4, turn == 0, turn == 2, turn == 1);
      void* const brought[] = {target->points3D, target->pointValues, target->points2D};
      const std::int64_t before = quelplatform::allocatedBlocks();
      quelplatform::failAllocations(failing, 1);
      EXPECT_EQ(qmPatchCopy(source.get(), target.address()), 0xc43d0001U);
      quelplatform::stopFailingAllocations();
      const bool overwritten = failing >= turn;
      EXPECT_EQ(before - quelplatform::allocatedBlocks(), overwritten ? 0 : 1) << turn << ' ' << failing;
      if (overwritten) freeOverwritten(brought[turn]);
    }
  }
}

TEST(qmPatchCopy, RefusesNullAndANegativeCount) {
  OwnedPatch source(4);
  qmPatch* copy = nullptr;
  EXPECT_EQ(qmPatchCopy(nullptr, &copy), 0xc43d0001U);
  EXPECT_EQ(qmPatchCopy(source.get(), nullptr), 0xc43d0001U);
  source->pointCount = -1;
  EXPECT_EQ(qmPatchCopy(source.get(), &copy), 0xc43d0001U);
  EXPECT_EQ(copy, nullptr);
  source->pointCount = 4;
}

TEST(qmPatchCopy, CopiesANegativeCountWhereThereAreNoArrays) {
  OwnedPatch source(0, false, false, false);
  source->pointCount = -1;
  qmPatch* copy = nullptr;
  EXPECT_EQ(qmPatchCopy(source.get(), &copy), 0U);
  EXPECT_EQ(copy->pointCount, -1);
  qmPatchDestruct(&copy);
  source->pointCount = 0;
}

// --- Pixels of good points -----------------------------------------------------------------------------------------

TEST(qmPatchCopyGoodPoints, ReplacesThePixels) {
  OwnedPatch patch(3);
  const std::int32_t pairs[6] = {1, 2, -3, 4, 2147483647, -2147483647 - 1};
  ASSERT_EQ(qmPatchCopyGoodPoints(patch.get(), pairs), 1);
  EXPECT_THAT(patch->points2D[0], ElementsAre(1.0, 2.0));
  EXPECT_THAT(patch->points2D[1], ElementsAre(-3.0, 4.0));
  EXPECT_THAT(patch->points2D[2], ElementsAre(2147483647.0, -2147483648.0));
}

TEST(qmPatchCopyGoodPoints, KeepsThePixelsOfAPatchOfNoPoints) {
  OwnedPatch patch(0);
  double(*const before)[2] = patch->points2D;
  EXPECT_EQ(qmPatchCopyGoodPoints(patch.get(), nullptr), 1);
  EXPECT_EQ(patch->points2D, before);
}

TEST(qmPatchCopyGoodPoints, LogsANullPatch) {
  const std::int32_t pairs[2] = {};
  const RecordingLog log;
  EXPECT_EQ(qmPatchCopyGoodPoints(nullptr, pairs), 0);
  EXPECT_THAT(log.records(), ElementsAre(Line(5, kModule, "NULL pointer")));
}

TEST(qmPatchCopyGoodPoints, LeavesATraceWhenMemoryRunsOut) {
  OwnedPatch patch(3);
  const std::int32_t pairs[6] = {};
  quelplatform::failAllocations(0, 1);
  const RecordingLog log;
  EXPECT_EQ(qmPatchCopyGoodPoints(patch.get(), pairs), 0);
  quelplatform::stopFailingAllocations();
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_EQ(patch->points2D, nullptr);
}

TEST(qmPatchCopyGoodPoints, RefusesNullPairsAndANegativeCountAndKeepsThePixels) {
  OwnedPatch patch(3);
  const std::int32_t pairs[6] = {};
  double(*const before)[2] = patch->points2D;
  const RecordingLog log;
  EXPECT_EQ(qmPatchCopyGoodPoints(patch.get(), nullptr), 0);
  patch->pointCount = -3;
  EXPECT_EQ(qmPatchCopyGoodPoints(patch.get(), pairs), 0);
  EXPECT_EQ(patch->points2D, before);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule), BareTrace(kModule)));
}

// --- Destruction ---------------------------------------------------------------------------------------------------

TEST(qmPatchDestruct, FreesEverythingAndClearsThePointer) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  OwnedPatch patch(5);
  EXPECT_EQ(qmPatchDestruct(patch.address()), 1);
  EXPECT_EQ(patch.get(), nullptr);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmPatchDestruct, SucceedsForNull) {
  qmPatch* none = nullptr;
  EXPECT_EQ(qmPatchDestruct(&none), 1);
  EXPECT_EQ(qmPatchDestruct(nullptr), 1);
}

// --- Motion --------------------------------------------------------------------------------------------------------

const qmMathTransform kQuarterTurn = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {100, 200, 300}};

TEST(qmPatchTransform, MovesThePointsAndNotThePixels) {
  OwnedPatch patch(2);
  ASSERT_EQ(qmPatchTransform(patch.get(), &kQuarterTurn), 1);
  EXPECT_THAT(patch->points3D[0], ElementsAre(99, 200, 302));
  EXPECT_THAT(patch->points3D[1], ElementsAre(89, 210, 312));
  EXPECT_THAT(patch->points2D[1], ElementsAre(100, 101));
}

TEST(qmPatchTransform, SucceedsForAPatchOfNoPoints) {
  OwnedPatch patch(0, false, false, false);
  EXPECT_EQ(qmPatchTransform(patch.get(), &kQuarterTurn), 1);
}

TEST(qmPatchTransform, StopsAtAPointThatFailsAndKeepsThoseBefore) {
  OwnedPatch patch(4);
  patch->points3D[2][1] = kInfinity;
  const RecordingLog log;
  EXPECT_EQ(qmPatchTransform(patch.get(), &kQuarterTurn), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
  EXPECT_THAT(patch->points3D[0], ElementsAre(99, 200, 302));
  EXPECT_THAT(patch->points3D[1], ElementsAre(89, 210, 312));
  EXPECT_THAT(patch->points3D[2], ElementsAre(20, kInfinity, 22));
  EXPECT_THAT(patch->points3D[3], ElementsAre(30, 31, 32));
}

TEST(qmPatchTransform, ReportsANumberedErrorForNullArguments) {
  OwnedPatch patch(1);
  const RecordingLog log;
  EXPECT_EQ(qmPatchTransform(nullptr, &kQuarterTurn), 0);
  EXPECT_EQ(qmPatchTransform(patch.get(), nullptr), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(Message(5, kModule, 0xc43d0003, "txt"), Message(5, kModule, 0xc43d0003, "txt")));
}

TEST(qmPatchTransform, RefusesACountWithoutPoints) {
  OwnedPatch patch(3, false);
  const RecordingLog log;
  EXPECT_EQ(qmPatchTransform(patch.get(), &kQuarterTurn), 0);
  EXPECT_THAT(log.records(), ElementsAre(BareTrace(kModule)));
}

TEST(qmPatchInplaceTransform3D, MovesEveryPointAndGoesOnPastOnesThatAreNotFinite) {
  double points[3][3] = {{0, 1, 2}, {kInfinity, 0, 0}, {10, 11, 12}};
  qmPatchInplaceTransform3D(&kQuarterTurn, points, 3);
  EXPECT_THAT(points[0], ElementsAre(99, 200, 302));
  EXPECT_THAT(points[2], ElementsAre(89, 210, 312));
  EXPECT_EQ(points[1][1], kInfinity);
}

TEST(qmPatchInplaceTransform3D, LeavesEverythingAloneForNoPointsOrNull) {
  double points[1][3] = {{1, 2, 3}};
  qmPatchInplaceTransform3D(&kQuarterTurn, points, 0);
  qmPatchInplaceTransform3D(&kQuarterTurn, points, -1);
  qmPatchInplaceTransform3D(nullptr, points, 1);
  qmPatchInplaceTransform3D(&kQuarterTurn, nullptr, 1);
  EXPECT_THAT(points[0], ElementsAre(1, 2, 3));
}

// --- Pyramids ------------------------------------------------------------------------------------------------------

/// A pyramid with an image in each of its records.
template <typename Pyramid>
class FullPyramid {
 public:
  explicit FullPyramid(std::int32_t levels) : pyramid_{} {
    pyramid_.levels = levels;
    for (auto& image : pyramid_.levelImages) {
      void* const rows = alloc_image(2, 2, sizeof(**image.rows), Image_border);
      std::memcpy(&image.rows, &rows, sizeof(rows));
    }
  }
  ~FullPyramid() {
    for (auto& image : pyramid_.levelImages) free_image(image.rows, sizeof(**image.rows), Image_border);
  }

  Pyramid* get() { return &pyramid_; }

  /// The records whose images are gone.
  std::vector<int> freed() const {
    std::vector<int> records;
    for (int n = 0; n < kPyramidRecords; ++n) {
      if (pyramid_.levelImages[n].rows == nullptr) records.push_back(n);
    }
    return records;
  }

 private:
  Pyramid pyramid_;
};

using FloatPyramid = FullPyramid<_qmPyramid>;
using BytePyramid = FullPyramid<_qmBPyramid>;

TEST(qmFreePyramid, FreesLevelZeroToTheTopLevel) {
  FloatPyramid zero(0);
  qmFreePyramid(zero.get());
  EXPECT_THAT(zero.freed(), ElementsAre(0));
  FloatPyramid two(2);
  qmFreePyramid(two.get());
  EXPECT_THAT(two.freed(), ElementsAre(0, 1, 2));
}

TEST(qmFreePyramid, IgnoresNullAndNegativeCountsAndStaysInsideTheTable) {
  qmFreePyramid(nullptr);
  FloatPyramid negative(-1);
  qmFreePyramid(negative.get());
  EXPECT_THAT(negative.freed(), IsEmpty());
  for (const std::int32_t levels : {14, 15, std::numeric_limits<std::int32_t>::max()}) {
    FloatPyramid all(levels);
    qmFreePyramid(all.get());
    EXPECT_EQ(all.freed().size(), 15U);
  }
}

TEST(qmFreeFlowPyramid, LeavesLevelZeroAlone) {
  FloatPyramid two(2);
  qmFreeFlowPyramid(two.get());
  EXPECT_THAT(two.freed(), ElementsAre(1, 2));
  FloatPyramid zero(0);
  qmFreeFlowPyramid(zero.get());
  EXPECT_THAT(zero.freed(), IsEmpty());
  FloatPyramid negative(-3);
  qmFreeFlowPyramid(negative.get());
  EXPECT_THAT(negative.freed(), IsEmpty());
  FloatPyramid all(1000);
  qmFreeFlowPyramid(all.get());
  EXPECT_EQ(all.freed().size(), 14U);
  qmFreeFlowPyramid(nullptr);
}

TEST(qmFreeMaskPyramid, FreesItsCountOfLevelsFromTheFirstGivenOn) {
  BytePyramid three(3);
  qmFreeMaskPyramid(1, three.get());
  EXPECT_THAT(three.freed(), ElementsAre(0, 1, 2));  // record 0 is level 1
  BytePyramid fromTwo(2);
  qmFreeMaskPyramid(2, fromTwo.get());
  EXPECT_THAT(fromTwo.freed(), ElementsAre(1, 2));
}

TEST(qmFreeMaskPyramid, IgnoresNullAndCountsThatAreNotPositiveAndStaysInsideTheTable) {
  qmFreeMaskPyramid(1, nullptr);
  for (const std::int32_t levels : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
    BytePyramid none(levels);
    qmFreeMaskPyramid(1, none.get());
    EXPECT_THAT(none.freed(), IsEmpty());
  }
  BytePyramid all(std::numeric_limits<std::int32_t>::max());
  qmFreeMaskPyramid(1, all.get());
  EXPECT_EQ(all.freed().size(), 15U);
}

}  // namespace

// The index of a patch, by image cells and by space.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <limits>

#include "quelcore/patches/qmPatch_fixture.h"
#include "testing/FailingMemory.h"
#include "testing/RecordingLog.h"
#include "testing/Sanitized.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A patch of one sub-patch at the given image positions, its points on the x axis.
PatchFixture patchAt(const std::vector<Position>& positions) {
  PatchFixture fixture({static_cast<std::uint32_t>(positions.size())});
  fixture.positions = positions;
  for (std::size_t n = 0; n < positions.size(); ++n) fixture.points[n] = QmVec3(static_cast<double>(n), 0, 0);
  fixture.attach();
  return fixture;
}

void expectUntouched(const PatchFixture& now, const PatchFixture& before, std::size_t first = 0) {
  for (std::size_t n = first; n < before.points.size(); ++n) {
    ASSERT_EQ(now.points[n], before.points[n]) << n;
    ASSERT_EQ(now.values[n], before.values[n]) << n;
    if (before.positions.empty()) continue;
    ASSERT_THAT(now.positions[n].xy[0], SameBits(before.positions[n].xy[0])) << n;
  }
}

TEST(QmPatchCreateIndex, SortsByImageCellsAndKeepsTheOrderWithinACell) {
  const std::uint32_t many = kSanitized ? 20000 : 200000;
  for (const auto& subPatches : {std::vector<std::uint32_t>{many}, {1}, {3, 5000, 1, 700}, {1, 2, 3, 4, 5, 6, 7, 8}}) {
    const PatchFixture before(subPatches);
    PatchFixture after(subPatches);
    EXPECT_TRUE(after.index());
    expectIndex(after, before, modelOfCells(before));
  }
}

TEST(QmPatchCreateIndex, SortsBySpaceWithoutImagePositions) {
  for (const auto& subPatches : {std::vector<std::uint32_t>{20000}, {1}, {499}, {500}, {3, 5000, 1, 700}}) {
    const PatchFixture before(subPatches, false);
    PatchFixture after(subPatches, false);
    EXPECT_TRUE(after.index());
    expectIndex(after, before, modelOfLeaves(before));
  }
}

TEST(QmPatchCreateIndex, LeavesAbsentValuesAbsent) {
  for (const bool withImage : {true, false}) {
    PatchFixture before({700, 800}, withImage), after({700, 800}, withImage);
    for (PatchFixture* fixture : {&before, &after}) {
      fixture->values.clear();
      fixture->attach();
    }
    EXPECT_TRUE(after.index());
    expectIndex(after, before, withImage ? modelOfCells(before) : modelOfLeaves(before));
  }
}

TEST(QmPatchCreateIndex, GivesOneBinForOnePoint) {
  PatchFixture fixture({1});
  ASSERT_TRUE(fixture.index());
  ASSERT_EQ(fixture.bins.size(), 1u);
  EXPECT_EQ(fixture.bins[0].start, 0u);
  EXPECT_EQ(fixture.bins[0].count, 1u);
  EXPECT_EQ(fixture.bins[0].box, QmBBox(fixture.points[0], fixture.points[0]));
  EXPECT_EQ(fixture.bins[0].subPatchTag, 10);
}

TEST(QmPatchCreateIndex, DropsWhatTheBinsHeld) {
  PatchFixture fixture({100});
  ASSERT_TRUE(fixture.index());
  const std::size_t count = fixture.bins.size();
  ASSERT_TRUE(fixture.index());
  EXPECT_EQ(fixture.bins.size(), count);
  EXPECT_FALSE(QmPatchCreateIndex(nullptr, fixture.bins));
  EXPECT_TRUE(fixture.bins.empty());
}

TEST(QmPatchCreateIndex, PartsCellsAtMultiplesOf32) {
  PatchFixture fixture = patchAt({{{32.0, 5}}, {{31.9, 5}}, {{0, 31.999}}, {{0, 32}}, {{31.9, 6}}});
  ASSERT_TRUE(fixture.index());
  EXPECT_THAT(fixture.values, ElementsAre(1, 2, 4, 3, 0));
  ASSERT_EQ(fixture.bins.size(), 3u);
  EXPECT_EQ(fixture.bins[0].count, 3u);
  EXPECT_EQ(fixture.bins[1].count, 1u);
  EXPECT_EQ(fixture.bins[2].count, 1u);
}

TEST(QmPatchCreateIndex, LooksAtPositionsInDoublePrecision) {
  // In single precision all of them lie at 32.
  PatchFixture fixture = patchAt({{{32.0, 5}}, {{31.9999999, 5}}, {{5, 32.0}}, {{5, 31.9999999}}});
  ASSERT_TRUE(fixture.index());
  EXPECT_THAT(fixture.values, ElementsAre(1, 3, 2, 0));
  EXPECT_EQ(fixture.bins.size(), 3u);
}

TEST(QmPatchCreateIndex, CountsCellsInSinglePrecision) {
  // A width of 2^24 + 1 pixels is one of 2^24 there, and its last pixel outside the cells; 2^24 + 3 is 2^24 + 4.
  for (const auto& [beyond, fits] : {std::pair{0u, false}, {1u, false}, {3u, true}}) {
    PatchFixture fixture = patchAt({{{16777216.0, 0}}});
    fixture.patch.id.imageWidth = 16777216u + beyond;
    fixture.patch.id.imageHeight = 1;
    EXPECT_EQ(fixture.index(), fits) << beyond;
  }
  for (const auto& [beyond, fits] : {std::pair{1u, false}, {3u, true}}) {
    PatchFixture fixture = patchAt({{{0, 16777216.0}}});
    fixture.patch.id.imageWidth = 1;
    fixture.patch.id.imageHeight = 16777216u + beyond;
    EXPECT_EQ(fixture.index(), fits) << beyond;
  }
}

TEST(QmPatchCreateIndex, CountsTheCellsOfAnIncompleteLastRow) {
  // 1000 pixels make 32 rows: (33, 40) is cell 33, just behind (33, 0), cell 32, and before (33, 64), cell 34.
  PatchFixture fixture = patchAt({{{33, 64}}, {{33, 40}}, {{33, 0}}, {{0, 999}}});
  ASSERT_TRUE(fixture.index());
  EXPECT_THAT(fixture.values, ElementsAre(3, 2, 1, 0));
  // With 992 pixels the last row is gone, and y = 999 shares a cell with the top of the next column.
  fixture = patchAt({{{33, 64}}, {{33, 40}}, {{33, 0}}, {{0, 999}}});
  fixture.patch.id.imageHeight = 992;
  ASSERT_TRUE(fixture.index());
  EXPECT_THAT(fixture.values, ElementsAre(2, 3, 1, 0));
  EXPECT_EQ(fixture.bins.size(), 3u);
}

TEST(QmPatchCreateIndex, TakesACoordinateJustBelowZeroIntoTheFirstCells) {
  PatchFixture fixture = patchAt({{{40, 40}}, {{-31.9, 5}}, {{5, -31.9}}, {{-0.5, -0.5}}});
  ASSERT_TRUE(fixture.index());
  EXPECT_THAT(fixture.values, ElementsAre(1, 2, 3, 0));
  EXPECT_EQ(fixture.bins[0].count, 3u);
}

TEST(QmPatchCreateIndex, TakesAPositionBesideTheImageIntoTheNeighbouringColumn) {
  PatchFixture fixture = patchAt({{{40, 31 * 32}}, {{72, -32}}});
  ASSERT_TRUE(fixture.index());
  EXPECT_EQ(fixture.bins.size(), 1u);
}

TEST(QmPatchCreateIndex, FailsUnharmedForAPositionOutsideTheCells) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  for (const Position& position : {Position{{-32, 0}},
                                   {{0, -32}},
                                   {{1536, 0}},
                                   {{1535, 1024}},
                                   {{kNaN, 0}},
                                   {{0, kNaN}},
                                   {{kInfinity, 0}},
                                   {{0, -kInfinity}},
                                   {{1e300, 0}},
                                   {{6.9e10, 0}},
                                   {{2147483648.0, kNaN}},  // 32 rows down from there would lie the first cell.
                                   {{2147483648.0, -6.9e10}},
                                   {{0, 6.9e10}},
                                   {{-6.9e10, 6.9e10}}}) {
    PatchFixture before({100});
    before.positions[57] = position;
    PatchFixture after({100});
    after.positions[57] = position;
    EXPECT_FALSE(after.index()) << position.xy[0] << ' ' << position.xy[1];
    EXPECT_TRUE(after.bins.empty());
    expectUntouched(after, before);
  }
}

TEST(QmPatchCreateIndex, FailsForAnImageWithoutCellsAndForOneWithMoreThanCanBeNumbered) {
  for (const auto& [width, height] : {std::pair{0u, 1000u},
                                      {1536u, 0u},
                                      {0u, 0u},
                                      {0xffffffffu, 0xffffffffu},
                                      {0xffffffffu, 1000u},
                                      {2000000u, 2000000u}}) {
    PatchFixture fixture({10});
    fixture.patch.id.imageWidth = width;
    fixture.patch.id.imageHeight = height;
    EXPECT_FALSE(fixture.index()) << width << ' ' << height;
    EXPECT_TRUE(fixture.bins.empty());
  }
}

TEST(QmPatchCreateIndex, FailsSilentlyWithoutAnythingToIndex) {
  const RecordingLog log;
  qmvector<qmPatchBinInfo> bins;
  EXPECT_FALSE(QmPatchCreateIndex(nullptr, bins));
  PatchFixture fixture({10});
  const PatchFixture before({10});
  fixture.patch.subPatchCount = 0;
  EXPECT_FALSE(fixture.index());
  expectUntouched(fixture, before);
  fixture = PatchFixture({10});
  for (const std::int32_t count : {0, -1}) {
    fixture.patch.pointCount = count;
    EXPECT_FALSE(fixture.index());
  }
  fixture = PatchFixture({10});
  fixture.patch.points3D = nullptr;
  EXPECT_FALSE(fixture.index());
  EXPECT_TRUE(fixture.bins.empty());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QmPatchCreateIndex, EndsAtASubPatchWithoutPointsAndKeepsThoseBefore) {
  for (const bool withImage : {true, false}) {
    const PatchFixture before({600, 0, 900}, withImage);
    PatchFixture after({600, 0, 900}, withImage);
    EXPECT_FALSE(after.index());
    PatchFixture first({600}, withImage);
    ASSERT_TRUE(first.index());
    ASSERT_EQ(after.bins.size(), first.bins.size());
    for (std::size_t n = 0; n < first.bins.size(); ++n) EXPECT_EQ(after.bins[n].box, first.bins[n].box);
    EXPECT_TRUE(std::equal(first.values.begin(), first.values.end(), after.values.begin()));
    expectUntouched(after, before, 600);
  }
}

TEST(QmPatchCreateIndex, TouchesNothingBeyondThePatchWhenCountsDoNotFit) {
  for (const bool withImage : {true, false}) {
    for (const std::uint32_t tooMany : {901u, 0x7fffffffu, 0xffffffffu}) {
      PatchFixture before({600, 900}, withImage), after({600, 900}, withImage);
      after.patch.subPatchPoints[1] = tooMany;
      EXPECT_FALSE(after.index());
      EXPECT_GT(after.bins.size(), 0u);
      expectUntouched(after, before, 600);
    }
    // Eight sub-patches are all that a patch has room for.
    PatchFixture nine({1, 1, 1, 1, 1, 1, 1, 1, 1}, withImage);
    EXPECT_FALSE(nine.index());
    EXPECT_EQ(nine.bins.size(), 8u);
    EXPECT_EQ(nine.values[8], 8);
  }
}

TEST(QmPatchCreateIndex, LeavesPointsBehindTheLastSubPatchAlone) {
  const PatchFixture before({50, 30});
  PatchFixture after({50, 30});
  after.patch.subPatchCount = 1;
  EXPECT_TRUE(after.index());
  expectUntouched(after, before, 50);
}

TEST(QmPatchCreateIndex, DividesSpaceFromFiveHundredPointsOn) {
  PatchFixture few({499}, false), many({500}, false);
  ASSERT_TRUE(few.index());
  ASSERT_TRUE(many.index());
  EXPECT_EQ(few.bins.size(), 1u);
  EXPECT_GE(many.bins.size(), 2u);
}

TEST(QmPatchCreateIndex, KeepsCoincidentPointsInOneBin) {
  PatchFixture fixture({1000}, false);
  std::fill(fixture.points.begin(), fixture.points.end(), QmVec3(1, 2, 3));
  ASSERT_TRUE(fixture.index());
  ASSERT_EQ(fixture.bins.size(), 1u);
  EXPECT_EQ(fixture.bins[0].count, 1000u);
}

TEST(QmPatchCreateIndex, StaysWholeWhenMemoryIsExhausted) {
  for (const bool withImage : {true, false}) {
    const PatchFixture before({600, 700}, withImage);
    const std::int64_t failures = failEachAllocation([&](std::int64_t) {
      PatchFixture after({600, 700}, withImage);
      const bool done = after.index();
      if (done) return expectIndex(after, before, withImage ? modelOfCells(before) : modelOfLeaves(before));
      std::uint32_t next = 0;
      for (const qmPatchBinInfo& bin : after.bins) {
        EXPECT_EQ(bin.start, next);
        EXPECT_GT(bin.count, 0u);
        next += bin.count;
      }
      EXPECT_TRUE(next == 0 || next == 600) << next;
      expectUntouched(after, before, next);
      std::sort(after.values.begin(), after.values.end());
      EXPECT_EQ(after.values, before.values);
    });
    EXPECT_GE(failures, 2 + 2 * 3);
  }
}

RC_GTEST_PROP(QmPatchCreateIndex, IsTheModelForAnySubPatches, ()) {
  const auto some = *rc::gen::container<std::vector<std::uint32_t>>(rc::gen::inRange(1u, 900u));
  const std::vector<std::uint32_t> subPatches(some.begin(),
                                              some.begin() + static_cast<int>(std::min(some.size(), std::size_t{8})));
  const bool withImage = *rc::gen::arbitrary<bool>();
  const PatchFixture before(subPatches, withImage);
  PatchFixture after(subPatches, withImage);
  RC_ASSERT(after.index() == !subPatches.empty());
  expectIndex(after, before, withImage ? modelOfCells(before) : modelOfLeaves(before));
  RC_ASSERT(!::testing::Test::HasFailure());
}

// The box that is to be divided begins at the first point, and x is divided unless another side is longer.
TEST(QmPatchCreateIndex, GivesOneBinWhereTheFirstPointHasNoX) {
  for (int axis = 0; axis < 3; ++axis) {
    PatchFixture fixture({20000}, false);
    fixture.points[0].v[axis] = std::numeric_limits<double>::quiet_NaN();
    fixture.attach();
    ASSERT_TRUE(fixture.index());
    EXPECT_EQ(fixture.bins.size() == 1, axis == 0) << axis;
    std::uint32_t count = 0;
    for (std::size_t n = 0; n < fixture.bins.size(); ++n) count += fixture.bins[n].count;
    EXPECT_EQ(count, 20000U);
  }
}

}  // namespace

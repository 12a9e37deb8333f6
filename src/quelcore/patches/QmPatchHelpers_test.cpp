// Boxes of bins, copies of points and what else works on a patch's index.
#include "quelcore/patches/QmPatchHelpers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "testing/FailingMemory.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

qmPatchBinInfo binOf(double low, double high) {
  qmPatchBinInfo bin;
  bin.box = QmBBox(QmVec3(low, low + 1, low + 2), QmVec3(high, high + 1, high + 2));
  return bin;
}

const QmBBox kOther(QmVec3(7, 7, 7), QmVec3(8, 8, 8));

TEST(qmPatchCalcBoundingBox, HoldsTheBoxesOfAllBinsAndNothingElse) {
  const qmPatchBinInfo bins[] = {binOf(0, 1), binOf(-5, -4), binOf(2, 9)};
  const qmPatchBinInfo* pointers[] = {bins, bins + 1, bins + 2};
  QmBBox box = kOther, fromPointers = kOther;
  qmPatchCalcBoundingBox(bins, 3, box);
  qmPatchCalcBoundingBoxPtrs(pointers, 3, fromPointers);
  EXPECT_EQ(box, binOf(-5, 9).box);
  EXPECT_EQ(fromPointers, box);
  qmPatchCalcBoundingBox(bins, 1, box);
  qmPatchCalcBoundingBoxPtrs(pointers, 1, fromPointers);
  EXPECT_EQ(box, bins[0].box);
  EXPECT_EQ(fromPointers, bins[0].box);
}

TEST(qmPatchCalcBoundingBox, LeavesTheBoxAloneWithoutBins) {
  const qmPatchBinInfo bin = binOf(0, 1);
  QmBBox box = kOther;
  qmPatchCalcBoundingBox(&bin, 0, box);
  qmPatchCalcBoundingBox(nullptr, 0, box);
  qmPatchCalcBoundingBox(nullptr, 3, box);
  EXPECT_EQ(box, kOther);
}

TEST(qmPatchCalcBoundingBoxPtrs, ReadsTheFirstBinEvenForACountOfZeroAndPassesOverNulls) {
  const qmPatchBinInfo bin = binOf(0, 1), next = binOf(3, 4);
  const qmPatchBinInfo* pointers[] = {&bin, &next};
  QmBBox box = kOther;
  qmPatchCalcBoundingBoxPtrs(pointers, 0, box);
  EXPECT_EQ(box, bin.box);
  box = kOther;
  const qmPatchBinInfo* holes[] = {nullptr, &next, nullptr};
  qmPatchCalcBoundingBoxPtrs(holes, 0, box);
  qmPatchCalcBoundingBoxPtrs(nullptr, 0, box);
  qmPatchCalcBoundingBoxPtrs(nullptr, 2, box);
  qmPatchCalcBoundingBoxPtrs(holes, 1, box);
  EXPECT_EQ(box, kOther);
  qmPatchCalcBoundingBoxPtrs(holes, 3, box);
  EXPECT_EQ(box, next.box);
}

TEST(qmPatchCalcBoundingBox, MayWriteToABoxThatItReads) {
  qmPatchBinInfo bins[] = {binOf(0, 1), binOf(-5, -4), binOf(2, 9)};
  qmPatchCalcBoundingBox(bins, 3, bins[1].box);
  EXPECT_EQ(bins[1].box, binOf(-5, 9).box);
}

TEST(qmPatchConvertCOP, NarrowsEachPoint) {
  auto random = testRandom();
  double points[100][3];
  for (auto& p : points) {
    for (double& value : p) value = uniform(random, -1e4, 1e4);
  }
  points[3][1] = 1e300;
  points[4][2] = std::numeric_limits<double>::quiet_NaN();
  points[5][0] = -0.0;
  float(*out)[4] = nullptr;
  ASSERT_TRUE(qmPatchConvertCOP(points, 100, out));
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(out) % 16, 0u);
  for (int n = 0; n < 100; ++n) {
    for (int axis = 0; axis < 3; ++axis) EXPECT_THAT(out[n][axis], SameBits(static_cast<float>(points[n][axis])));
  }
  void* block = out;
  qmMallocFree(&block);
}

TEST(qmPatchConvertCOP, MakesAnEmptyArrayOfNoPoints) {
  float(*out)[4] = nullptr;
  EXPECT_TRUE(qmPatchConvertCOP(nullptr, 0, out));
  EXPECT_NE(out, nullptr);
  void* block = out;
  qmMallocFree(&block);
}

TEST(qmPatchConvertCOP, ReportsPointsThatCannotBeConverted) {
  const double point[1][3] = {{1, 2, 3}};
  float some[1][4];
  RecordingLog log;
  const auto reported = ElementsAre(NumberedError(5, "QmPatchHelpers", 0xc43d0324));
  for (const std::size_t count : {std::numeric_limits<std::size_t>::max(), std::size_t{1} << 60}) {
    float(*out)[4] = some;
    EXPECT_FALSE(qmPatchConvertCOP(point, count, out));
    EXPECT_EQ(out, nullptr);
    EXPECT_THAT(log.records(), reported);
    log.clear();
  }
  float(*out)[4] = some;
  EXPECT_FALSE(qmPatchConvertCOP(nullptr, 1, out));
  EXPECT_EQ(out, nullptr);
  EXPECT_THAT(log.records(), reported);
  log.clear();
  const std::int64_t failures = failEachAllocation([&](std::int64_t) {
    out = some;
    const bool done = qmPatchConvertCOP(point, 1, out);
    EXPECT_EQ(done, out != nullptr);
    void* block = out;
    qmMallocFree(&block);
  });
  EXPECT_EQ(failures, 1);
  EXPECT_THAT(log.records(), reported);
}

/// The nine forms of the copy, one test for all.
template <typename FromTo>
class CopyIndexedPoints : public ::testing::Test {
 protected:
  using From = typename FromTo::first_type::value_type;
  using To = typename FromTo::second_type::value_type;
  static constexpr std::size_t kFrom = std::tuple_size_v<typename FromTo::first_type>;
  static constexpr std::size_t kTo = std::tuple_size_v<typename FromTo::second_type>;
  static constexpr To kUntouched = static_cast<To>(-77.25);

  CopyIndexedPoints() {
    auto random = testRandom();
    for (auto& p : source_) {
      for (From& value : p) value = static_cast<From>(uniform(random, -3000, 3000));
    }
    clear();
  }

  void clear() {
    for (auto& p : destination_) std::fill(std::begin(p), std::end(p), kUntouched);
  }

  std::size_t copy(const std::vector<const qmPatchPtsIndex*>& runs, std::uint32_t capacity) {
    return qmPatchCopyIndexedPoints(source_, runs.data(), static_cast<std::uint32_t>(runs.size()), capacity,
                                    destination_);
  }

  /// Points of these numbers have come, and nothing else was written.
  void expectPoints(const std::vector<std::size_t>& numbers) {
    for (std::size_t n = 0; n < 40; ++n) {
      for (std::size_t i = 0; i < kTo; ++i) {
        const To expected = n < numbers.size() && i < 3 ? static_cast<To>(source_[numbers[n]][i]) : kUntouched;
        ASSERT_THAT(destination_[n][i], SameBits(expected)) << n << ' ' << i;
      }
    }
  }

  From source_[30][kFrom];
  To destination_[40][kTo];
};

using Float3 = std::array<float, 3>;
using Float4 = std::array<float, 4>;
using Double3 = std::array<double, 3>;
using Pairings = ::testing::Types<std::pair<Float3, Float3>, std::pair<Float3, Double3>, std::pair<Float3, Float4>,
                                  std::pair<Double3, Float3>, std::pair<Double3, Double3>, std::pair<Double3, Float4>,
                                  std::pair<Float4, Float3>, std::pair<Float4, Double3>, std::pair<Float4, Float4>>;
TYPED_TEST_SUITE(CopyIndexedPoints, Pairings);

const qmPatchPtsIndex kRun{3, 4}, kNext{20, 2}, kNone{5, 0}, kAgain{3, 1};

TYPED_TEST(CopyIndexedPoints, CopiesRunsInTheirOrder) {
  EXPECT_EQ(this->copy({&kNext, &kRun, &kNone, &kAgain}, 40), 7u);
  this->expectPoints({20, 21, 3, 4, 5, 6, 3});
}

TYPED_TEST(CopyIndexedPoints, StopsWhenTheDestinationIsFull) {
  EXPECT_EQ(this->copy({&kRun, &kNext}, 5), 5u);
  this->expectPoints({3, 4, 5, 6, 20});
  this->clear();
  EXPECT_EQ(this->copy({&kRun, &kNext}, 4), 4u);
  this->expectPoints({3, 4, 5, 6});
  this->clear();
  EXPECT_EQ(this->copy({&kRun, &kNext}, 2), 2u);
  this->expectPoints({3, 4});
}

TYPED_TEST(CopyIndexedPoints, WritesNothingWithoutRoomRunsOrArrays) {
  EXPECT_EQ(this->copy({&kRun}, 0), 0u);
  EXPECT_EQ(this->copy({}, 40), 0u);
  EXPECT_EQ(this->copy({nullptr, &kNone}, 40), 0u);
  const qmPatchPtsIndex* runs[] = {&kRun};
  EXPECT_EQ(qmPatchCopyIndexedPoints(this->source_, nullptr, 1, 40, this->destination_), 0u);
  using SourcePoint = std::remove_reference_t<decltype(*this->source_)>;
  using Point = std::remove_reference_t<decltype(*this->destination_)>;
  EXPECT_EQ(qmPatchCopyIndexedPoints(static_cast<const SourcePoint*>(nullptr), runs, 1, 40, this->destination_), 0u);
  EXPECT_EQ(qmPatchCopyIndexedPoints(this->source_, runs, 1, 40, static_cast<Point*>(nullptr)), 0u);
  this->expectPoints({});
}

TYPED_TEST(CopyIndexedPoints, PassesOverNullRunsAndTakesBinsForRuns) {
  qmPatchBinInfo bin;
  bin.start = 10;
  bin.count = 3;
  EXPECT_EQ(this->copy({nullptr, &bin, nullptr, &kAgain}, 40), 4u);
  this->expectPoints({10, 11, 12, 3});
}

/// Moves points within one array by copying a run of it, forwards and backwards.
template <typename Value>
void expectRunsMayOverlap() {
  constexpr std::uint32_t kCount = 5000;
  using Point = std::array<Value, 3>;
  std::vector<Point> before(kCount + 7);
  for (std::size_t n = 0; n < before.size(); ++n) before[n] = {static_cast<Value>(n), static_cast<Value>(n + 1), 7};
  for (const auto& [from, to] : {std::pair{0u, 7u}, {7u, 0u}}) {
    std::vector<Point> points = before;
    auto* array = reinterpret_cast<Value(*)[3]>(points.data());
    const qmPatchPtsIndex run{from, kCount};
    const qmPatchPtsIndex* runs[] = {&run};
    EXPECT_EQ(qmPatchCopyIndexedPoints(array, runs, 1, kCount, array + to), kCount);
    for (std::size_t n = 0; n < kCount; ++n) ASSERT_EQ(points[to + n], before[from + n]) << n;
  }
}

TEST(qmPatchCopyIndexedPoints, MovesARunWithinItsOwnArray) {
  expectRunsMayOverlap<double>();
  expectRunsMayOverlap<float>();
}

TEST(qmPatchTransformBbox, IsTheBoxOfTheMovedCorners) {
  const double s = std::sqrt(0.5);
  const qmMathTransform eighthTurn = {{{s, -s, 0}, {s, s, 0}, {0, 0, 1}}, {10, 0, -1}};
  const QmBBox unitBox(QmVec3(0, 0, 0), QmVec3(1, 1, 1));
  QmBBox moved = kOther;
  qmPatchTransformBbox(eighthTurn, unitBox, moved);
  EXPECT_THAT(moved.minimum().x(), Near(10 - s, 1e-12));
  EXPECT_THAT(moved.maximum().x(), Near(10 + s, 1e-12));
  EXPECT_EQ(moved.minimum().y(), 0.0);
  EXPECT_THAT(moved.maximum().y(), Near(2 * s, 1e-12));
  EXPECT_EQ(moved.minimum().z(), -1.0);
  EXPECT_EQ(moved.maximum().z(), 0.0);
  QmBBox inPlace = unitBox;
  qmPatchTransformBbox(eighthTurn, inPlace, inPlace);
  EXPECT_EQ(inPlace, moved);
}

TEST(qmPatchTransformBbox, HoldsEveryMovedPointOfTheBox) {
  auto random = testRandom();
  for (int round = 0; round < 200; ++round) {
    qmMathTransform t;
    qmMathRotationMatCreate(uniform(random, -3, 3), uniform(random, -3, 3), uniform(random, -3, 3), t.rotation);
    for (double& value : t.translation) value = uniform(random, -50, 50);
    const QmVec3 low(uniform(random, -9, 0), uniform(random, -9, 0), uniform(random, -9, 0));
    const QmVec3 high(uniform(random, 0, 9), uniform(random, 0, 9), uniform(random, 0, 9));
    QmBBox moved;
    qmPatchTransformBbox(t, QmBBox(low, high), moved);
    for (int n = 0; n < 20; ++n) {
      QmVec3 p;
      for (int axis = 0; axis < 3; ++axis) p[axis] = uniform(random, low[axis], high[axis]);
      QmVec3 at;
      qmMathTransformVec3(&t, p.v, at.v);
      for (int axis = 0; axis < 3; ++axis) {
        EXPECT_GE(at[axis], moved.minimum()[axis] - 1e-12);
        EXPECT_LE(at[axis], moved.maximum()[axis] + 1e-12);
      }
    }
  }
}

TEST(qmPatchTransformBbox, GoesOnAfterACornerThatCannotBeMoved) {
  qmMathTransform t = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}};
  t.translation[1] = std::numeric_limits<double>::infinity();
  QmBBox moved = kOther;
  qmPatchTransformBbox(t, QmBBox(QmVec3(0, 0, 0), QmVec3(1, 1, 1)), moved);
  EXPECT_EQ(moved.minimum().x(), 0.0);
  EXPECT_EQ(moved.maximum().z(), 1.0);
  EXPECT_EQ(moved.minimum().y(), t.translation[1]);
}

TEST(isBuildLinesBrightFlow, IsTrueWhenTheLargestValueIsNotZero) {
  EXPECT_EQ(isBuildLinesBrightFlow(nullptr), 0);
  const auto of = [](const std::vector<std::int32_t>& values) {
    qmPatchVibrationInfo info;
    for (const std::int32_t value : values) info.values.push_back(value);
    return isBuildLinesBrightFlow(&info);
  };
  EXPECT_EQ(of({}), 0);
  EXPECT_EQ(of({0, 0}), 0);
  EXPECT_EQ(of({0, 3}), 1);
  EXPECT_EQ(of({3, 0}), 1);
  EXPECT_EQ(of({-2, 0}), 0);
  EXPECT_EQ(of({-2, -1}), 1);
}

}  // namespace

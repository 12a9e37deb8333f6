#include "quelcore/patches/QmImage2COP_Data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "quelcore/tensor/qmReconsTensorCore.h"
#include "testing/FailingMemory.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace {

using namespace quel::testing;
using quelplatform::allocatedBlocks;
using ::testing::IsEmpty;

QmVec3 at(double x) { return {x, 10 * x, -x}; }

/// An image of 4 rows and 6 columns with points on three pixels.
class Image2COP : public ::testing::Test {
 protected:
  Image2COP() {
    data_.add3DPtData(at(1), true, {0, 0});
    data_.add3DPtData(at(2), false, {5, 3});
    data_.add3DPtData(at(3), true, {2, 1});
  }

  /// Number of pixels under which a point is found.
  static int found(const QmImage2COP_Data& data) {
    int count = 0;
    for (int y = -2; y < 10; ++y) {
      for (int x = -2; x < 10; ++x) count += data.getMatch3DPt(x, y) != nullptr ? 1 : 0;
    }
    return count;
  }

  QmImage2COP_Data data_{4, 6};
};

TEST_F(Image2COP, FindsNothingBeforeTheConversion) { EXPECT_EQ(found(data_), 0); }

TEST_F(Image2COP, FindsThePointUnderEachPixel) {
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(found(data_), 3);
  ASSERT_NE(data_.getMatch3DPt(5, 3), nullptr);
  EXPECT_EQ(*data_.getMatch3DPt(0, 0), at(1));
  EXPECT_EQ(*data_.getMatch3DPt(5, 3), at(2));
  EXPECT_EQ(*data_.getMatch3DPt(2, 1), at(3));
  EXPECT_EQ(data_.getMatch3DPt(1, 2), nullptr);
  EXPECT_EQ(data_.getMatch3DPtData(2, 1), &data_.getReconsPtsData()[2]);
  EXPECT_TRUE(data_.getMatch3DPtData(2, 1)->Is3ImgRecons());
  EXPECT_EQ(data_.getMatch3DPtData(1, 2), nullptr);
}

TEST_F(Image2COP, FindsNothingOutsideTheImage) {
  data_.convertPixArrayToLIMAGE();
  constexpr int kLargest = std::numeric_limits<int>::max(), kLeast = std::numeric_limits<int>::min();
  for (const auto& [x, y] :
       {std::pair{6, 0}, {0, 4}, {-1, 0}, {0, -1}, {kLargest, 0}, {0, kLargest}, {kLeast, kLeast}}) {
    EXPECT_EQ(data_.getMatch3DPt(x, y), nullptr) << x << ' ' << y;
    EXPECT_EQ(data_.getMatch3DPtData(x, y), nullptr) << x << ' ' << y;
  }
}

TEST_F(Image2COP, GivesALaterPointOnAPixelThePixel) {
  data_.add3DPtData(at(4), false, {0, 0});
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(*data_.getMatch3DPt(0, 0), at(4));
  EXPECT_EQ(data_.getCopPtsNum(), 4u);
}

TEST_F(Image2COP, LeavesOutPixelsOutsideTheImage) {
  for (const QmVec2i& pixel : {QmVec2i(6, 0), QmVec2i(0, 4), QmVec2i(-1, 2), QmVec2i(2, -1),
                               QmVec2i(std::numeric_limits<int>::max(), std::numeric_limits<int>::min())}) {
    data_.add3DPtData(at(9), true, pixel);
  }
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(found(data_), 3);
}

TEST_F(Image2COP, EmptiesThePixelsAtTheConversion) {
  const std::int64_t before = allocatedBlocks();
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(allocatedBlocks(), before + 1);
  data_.convertPixArrayToLIMAGE();  // No pixels are left; the image before is freed.
  EXPECT_EQ(found(data_), 0);
  EXPECT_EQ(allocatedBlocks(), before + 1);
}

TEST_F(Image2COP, ReservesRoomForAPointOnEveryOtherPixel) {
  QmImage2COP_Data data(100, 30);
  data.convertPixArrayToLIMAGE();
  EXPECT_GE(data.getReconsPtsData().capacity(), 1500u);
  EXPECT_EQ(data.getReconsPtsDistances().capacity(), 0u);
}

TEST_F(Image2COP, DropsItsImageWithANewSize) {
  const std::int64_t before = allocatedBlocks();
  data_.convertPixArrayToLIMAGE();
  data_.initLimageDim(10, 2);
  EXPECT_EQ(allocatedBlocks(), before);
  EXPECT_EQ(found(data_), 0);
  data_.add3DPtData(at(5), true, {1, 9});
  data_.convertPixArrayToLIMAGE();
  // The list of pixels began anew, so that entry 0 is the first point.
  EXPECT_EQ(data_.getMatch3DPt(1, 9), &data_.getReconsPtsData()[0].getPt3D());
}

TEST_F(Image2COP, FindsNoPointThatIsGone) {
  data_.convertPixArrayToLIMAGE();
  data_.RemoveSuspiciousPoints({true, false, false});
  EXPECT_EQ(data_.getMatch3DPt(2, 1), nullptr);  // Number 2 of two points.
  EXPECT_EQ(*data_.getMatch3DPt(5, 3), at(3));
  data_.clear();
  EXPECT_EQ(found(data_), 0);
}

TEST_F(Image2COP, HasNoImageOfANegativeOrAbsurdSizeAndKeepsThePixels) {
  for (const auto& [rows, columns] :
       {std::pair{-1, 6}, {4, -1}, {-1, -1}, {std::numeric_limits<int>::max(), std::numeric_limits<int>::max()}}) {
    data_.initLimageDim(rows, columns);
    data_.convertPixArrayToLIMAGE();
    EXPECT_EQ(found(data_), 0);
  }
  data_.initLimageDim(4, 6);
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(found(data_), 3);
}

TEST_F(Image2COP, TriesAgainAfterMemoryWasExhausted) {
  quelplatform::failAllocations(0, 1);
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(quelplatform::stopFailingAllocations(), 1);
  EXPECT_EQ(found(data_), 0);
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(found(data_), 3);
}

TEST_F(Image2COP, ConvertsWithoutRoomForFurtherPoints) {
  const auto convert = [&] {
    data_.convertPixArrayToLIMAGE();
    return found(data_);
  };
  const std::int64_t failures = failEachNew(
      convert, [](int points, bool failed) { EXPECT_EQ(points, failed ? 3 : 0); });  // Once converted: none.
  EXPECT_EQ(failures, 1);
}

TEST_F(Image2COP, GivesItsPointsInOrder) {
  std::vector<QmVec3> all = {at(9)}, three;
  data_.getReconsPts(all);
  data_.getReconsPtsFrom3Imgs(three);
  EXPECT_EQ(all, (std::vector<QmVec3>{at(9), at(1), at(2), at(3)}));
  EXPECT_EQ(three, (std::vector<QmVec3>{at(1), at(3)}));
}

TEST_F(Image2COP, IsCopiedWithItsPointsButWithoutItsLookUp) {
  data_.addPoint(at(4), true, 0.25F);
  data_.convertPixArrayToLIMAGE();
  QmImage2COP_Data copy(data_), assigned(2, 2);
  assigned.add3DPtData(at(8), true, {0, 0});
  assigned = data_;
  for (QmImage2COP_Data* other : {&copy, &assigned}) {
    EXPECT_EQ(other->getCopPtsNum(), 4u);
    EXPECT_EQ(other->getReconsPtsDistances(), data_.getReconsPtsDistances());
    EXPECT_EQ(found(*other), 0);
    const QmImage2COP_Data second(*other);  // A copy of a copy keeps the points too.
    EXPECT_EQ(second.getCopPtsNum(), 4u);
    other->initLimageDim(4, 6);
    other->add3DPtData(at(7), false, {3, 3});
    other->convertPixArrayToLIMAGE();
    EXPECT_EQ(*other->getMatch3DPt(3, 3), at(1));  // Pixels count from 0 again: the first point.
  }
  EXPECT_EQ(found(data_), 3);
}

TEST_F(Image2COP, IsCopiedToNothingWithoutAnImage) {
  QmImage2COP_Data copy(data_), assigned(2, 2);
  assigned.add3DPtData(at(8), true, {0, 0});
  assigned = data_;
  EXPECT_EQ(copy.getCopPtsNum(), 0u);
  EXPECT_EQ(assigned.getCopPtsNum(), 0u);
  EXPECT_EQ(data_.getCopPtsNum(), 3u);
}

TEST_F(Image2COP, StaysAsItIsWhenAssignedToItself) {
  data_.convertPixArrayToLIMAGE();
  const QmImage2COP_Data& itself = data_;
  data_ = itself;
  EXPECT_EQ(found(data_), 3);
  EXPECT_EQ(data_.getCopPtsNum(), 3u);
}

TEST_F(Image2COP, UnifiesPointsAndPixels) {
  QmImage2COP_Data other;
  other.add3DPtData(at(11), true, {3, 3});
  other.add3DPtData(at(12), true, {0, 0});
  data_.unify(other);
  data_.convertPixArrayToLIMAGE();
  EXPECT_EQ(*data_.getMatch3DPt(3, 3), at(11));
  EXPECT_EQ(*data_.getMatch3DPt(0, 0), at(12));
  EXPECT_EQ(data_.getReconsPtsData()[0].getPt3D(), at(1));
  EXPECT_EQ(found(data_), 4);
  data_.unify(data_);
  EXPECT_EQ(data_.getCopPtsNum(), 10u);
}

TEST_F(Image2COP, GivesBackAllMemory) {
  const std::int64_t before = allocatedBlocks();
  {
    QmImage2COP_Data data(4, 6);
    data.add3DPtData(at(1), true, {0, 0});
    data.convertPixArrayToLIMAGE();
    QmImage2COP_Data copy(data);
    copy = data;
    EXPECT_EQ(allocatedBlocks(), before + 2);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST_F(Image2COP, KeepsPointsAndPixelsTogetherWhenMemoryIsExhausted) {
  QmImage2COP_Data other;
  other.add3DPtData(at(11), true, {3, 3});
  for (const bool whole : {false, true}) {
    for (int place = 0; place < 3; ++place) {
      QmImage2COP_Data data(4, 6);
      data.add3DPtData(at(1), true, {0, 0});
      newFailed = false;
      newSuccesses = place;
      try {
        whole ? data.unify(other) : data.add3DPtData(at(11), true, {3, 3});
      } catch (const std::bad_alloc&) {
      }
      newSuccesses = -1;
      EXPECT_EQ(newFailed, place < 2) << place;
      EXPECT_EQ(data.getCopPtsNum(), newFailed ? 1u : 2u);
      data.add3DPtData(at(12), true, {5, 2});
      data.convertPixArrayToLIMAGE();
      EXPECT_EQ(*data.getMatch3DPt(5, 2), at(12));  // Not its neighbour in the list.
    }
  }
}

TEST_F(Image2COP, LeavesNothingBehindWhenACopyRunsOutOfMemory) {
  data_.addPoint(at(4), true, 0.25F);
  data_.convertPixArrayToLIMAGE();
  const std::int64_t before = allocatedBlocks();
  const auto copied = [&] {
    try {
      const QmImage2COP_Data copy(data_);
      return copy.getCopPtsNum();
    } catch (const std::bad_alloc&) {
      return std::size_t{0};
    }
  };
  const std::int64_t failures = failEachNew(copied, [&](std::size_t points, bool failed) {
    EXPECT_EQ(points, failed ? 0u : 4u);
    EXPECT_EQ(allocatedBlocks(), before);
  });
  EXPECT_EQ(failures, 2);
}

TEST_F(Image2COP, HasItsFieldsInOrderAndNoSizeAfterAnAssignment) {
  struct Size {
    std::int32_t columns, rows;
  };
  constexpr std::size_t kBefore = sizeof(LSReconsPtsData) + sizeof(std::vector<QmVec2i>) + sizeof(void*);
  EXPECT_EQ(sizeof(QmImage2COP_Data), kBefore + sizeof(Size));
  const auto sizeOf = [](const QmImage2COP_Data& data) {
    Size size{};
    std::memcpy(&size, reinterpret_cast<const char*>(&data) + kBefore, sizeof(size));
    return std::pair(size.columns, size.rows);
  };
  EXPECT_EQ(sizeOf(data_), std::pair(6, 4));
  QmImage2COP_Data assigned(2, 3);
  EXPECT_EQ(sizeOf(assigned), std::pair(3, 2));
  assigned = data_;
  EXPECT_EQ(sizeOf(assigned), std::pair(0, 0));
}

TEST_F(Image2COP, ProjectsItsPointsOnAnyNumberOfThreads) {
  const SampleHead head;
  auto random = testRandom();
  QmImage2COP_Data data;
  std::vector<QmVec3> points;
  for (int n = 0; n < 1000; ++n) {
    const auto p = head.randomPoint(random);
    points.emplace_back(p[0], p[1], p[2]);
    data.addPoint(points.back(), n % 2 == 0);
  }
  const qmMathTransform t = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 2, 3}};
  std::vector<double> expected(6000), projected(6000);
  const auto pixels = [](std::vector<double>& from, int camera) {
    return reinterpret_cast<double(*)[2]>(from.data() + 2000 * camera);
  };
  double(*const plain[3])[2] = {pixels(expected, 0), pixels(expected, 1), pixels(expected, 2)};
  ASSERT_EQ(qmTransAndProjPoints2Images(&t, head.tensor(), reinterpret_cast<const double(*)[3]>(points.data()), 0, 1000,
                                        PROJECT_FAST, plain),
            1);
  for (const int threads : {1, 3, 16, 99}) {
    std::fill(projected.begin(), projected.end(), 0.0);
    double(*const own[3])[2] = {pixels(projected, 0), pixels(projected, 1), pixels(projected, 2)};
    EXPECT_TRUE(data.TransAndProjPoints2ImagesMT(&t, head.tensor(), PROJECT_FAST, threads, own));
    EXPECT_EQ(std::memcmp(projected.data(), expected.data(), 6000 * sizeof(double)), 0) << threads;
  }
}

TEST_F(Image2COP, SaysWhenItsPointsCannotBeProjected) {
  const SampleHead head;
  const qmMathTransform t = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 2, 3}};
  double pixels[3][3][2];
  double(*const own[3])[2] = {pixels[0], pixels[1], pixels[2]};
  EXPECT_TRUE(data_.TransAndProjPoints2ImagesMT(&t, head.tensor(), PROJECT_PINHOLE, 1, own));
  EXPECT_FALSE(data_.TransAndProjPoints2ImagesMT(nullptr, head.tensor(), PROJECT_PINHOLE, 1, own));
  EXPECT_FALSE(data_.TransAndProjPoints2ImagesMT(&t, head.tensor(), PROJECT_PINHOLE, 1, nullptr));
  EXPECT_TRUE(QmImage2COP_Data().TransAndProjPoints2ImagesMT(&t, head.tensor(), PROJECT_PINHOLE, 1, own));
  const std::int64_t failures =
      failEachNew([&] { return data_.TransAndProjPoints2ImagesMT(&t, head.tensor(), PROJECT_PINHOLE, 1, own); },
                  [](bool done, bool failed) { EXPECT_EQ(done, !failed); });
  EXPECT_EQ(failures, 1);
}

TEST(featureIOneededTileBKM3D, IsFifteenWordsAndThreeNumbers) {
  const featureIOneededTileBKM3D fresh;
  EXPECT_THAT(fresh.words, ::testing::Each(0));
  EXPECT_EQ(sizeof(fresh.words), 15 * 8u);
  EXPECT_EQ(offsetof(featureIOneededTileBKM3D, numbers), 15 * 8u);
  EXPECT_EQ(sizeof(fresh.numbers), 3 * 4u);
  featureIOneededTileBKM3D some = fresh;
  some.words[14] = 7;
  some.numbers[2] = 8;
  const featureIOneededTileBKM3D copy(some);
  EXPECT_EQ(copy.words[14], 7);
  EXPECT_EQ(copy.numbers[2], 8);
}

TEST(QmImage2COP_Data, GathersManyPartsIntoOneListThatGrowsByMoreAndMore) {
  QmImage2COP_Data single;
  single.add3DPtData({1, 2, 3}, true, {0, 0});
  std::vector<QmVec3> out;
  int moves = 0;
  for (int n = 0; n < 10000; ++n) {
    const std::size_t room = out.capacity();
    single.getReconsPts(out);
    if (out.capacity() != room) ++moves;
  }
  EXPECT_LE(moves, 20);
  EXPECT_EQ(out.size(), 10000U);
}

TEST_F(Image2COP, LeadsFromAPixelToThePointThatMovedUpWhenSomeWereRemoved) {
  QmImage2COP_Data data(1, 3);
  for (int x = 0; x < 3; ++x) data.add3DPtData({10.0 * x, 0, 0}, true, {x, 0});
  data.convertPixArrayToLIMAGE();
  data.RemoveSuspiciousPoints({false, true, false});
  ASSERT_NE(data.getMatch3DPt(1, 0), nullptr);
  EXPECT_EQ(*data.getMatch3DPt(0, 0), QmVec3(0, 0, 0));
  EXPECT_EQ(*data.getMatch3DPt(1, 0), QmVec3(20, 0, 0));
  EXPECT_EQ(data.getMatch3DPt(2, 0), nullptr);
}

TEST_F(Image2COP, ProjectsNothingByANullTensorAndSaysThatItIsDone) {
  const qmMathTransform t = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {1, 2, 3}};
  double pixels[3][3][2] = {};
  double(*const own[3])[2] = {pixels[0], pixels[1], pixels[2]};
  for (const int threads : {1, 4}) {
    EXPECT_TRUE(data_.TransAndProjPoints2ImagesMT(&t, nullptr, PROJECT_EXACT, threads, own));
    EXPECT_EQ(pixels[0][0][0], 0.0);
  }
}

}  // namespace

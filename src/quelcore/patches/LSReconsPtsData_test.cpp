#include "quelcore/patches/LSReconsPtsData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"

namespace {

using namespace quel::testing;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

QmVec3 at(double x) { return {x, 10 * x, -x}; }

/// Points 0, 1, 2 and so on, of the given kinds.
LSReconsPtsData pointsOf(const std::vector<bool>& from3Images, bool withDistances = false) {
  LSReconsPtsData data;
  for (std::size_t n = 0; n < from3Images.size(); ++n) {
    const auto number = static_cast<double>(n);
    if (withDistances) {
      data.addPoint(at(number), from3Images[n], static_cast<float>(number) / 2);
    } else {
      data.addPoint(at(number), from3Images[n]);
    }
  }
  return data;
}

std::vector<double> xOf(const LSReconsPtsData& data) {
  std::vector<double> x;
  for (const LSReconsSinglePtData& point : data.getReconsPtsData()) x.push_back(point.getPt3D().x());
  return x;
}

std::vector<double> xOf(const std::vector<QmVec3>& points) {
  std::vector<double> x;
  for (const QmVec3& point : points) x.push_back(point.x());
  return x;
}

TEST(LSReconsSinglePtData, HoldsAPointAndItsKind) {
  const LSReconsSinglePtData point(at(3), true);
  const LSReconsSinglePtData copy(point);
  EXPECT_TRUE(copy.Is3ImgRecons());
  EXPECT_EQ(copy.getPt3D(), at(3));
  EXPECT_FALSE(LSReconsSinglePtData(at(3), false).Is3ImgRecons());
  EXPECT_FALSE(LSReconsSinglePtData().Is3ImgRecons());
  EXPECT_EQ(LSReconsSinglePtData().getPt3D(), QmVec3());
  EXPECT_EQ(sizeof(LSReconsSinglePtData), 32u);
}

TEST(LSReconsPtsData, ListsPointsAndTheirDistances) {
  const LSReconsPtsData data = pointsOf({false, true, false}, true);
  EXPECT_EQ(data.size(), 3u);
  EXPECT_THAT(xOf(data), ElementsAre(0, 1, 2));
  EXPECT_TRUE(data.getReconsPtsData()[1].Is3ImgRecons());
  EXPECT_THAT(data.getReconsPtsDistances(), ElementsAre(0.0F, 0.5F, 1.0F));
  EXPECT_THAT(pointsOf({true}).getReconsPtsDistances(), IsEmpty());
}

TEST(LSReconsPtsData, TakesADistanceOfItsOwnList) {
  LSReconsPtsData data = pointsOf({true, false}, true);
  for (int n = 0; n < 50; ++n) data.addPoint(at(9), true, data.getReconsPtsDistances()[1]);
  for (std::size_t n = 2; n < 52; ++n) EXPECT_EQ(data.getReconsPtsDistances()[n], 0.5F);
}

TEST(LSReconsPtsData, KeepsItsMemoryWhenItIsEmptied) {
  LSReconsPtsData data = pointsOf(std::vector<bool>(100, true), true);
  const auto points = data.getReconsPtsData().capacity(), distances = data.getReconsPtsDistances().capacity();
  data.clear();
  EXPECT_EQ(data.size(), 0u);
  EXPECT_THAT(data.getReconsPtsDistances(), IsEmpty());
  EXPECT_EQ(data.getReconsPtsData().capacity(), points);
  EXPECT_EQ(data.getReconsPtsDistances().capacity(), distances);
}

TEST(LSReconsPtsData, ReservesDistancesOnlyWhenTold) {
  LSReconsPtsData data;
  data.reserveReconsPts(100, false);
  EXPECT_GE(data.getReconsPtsData().capacity(), 100u);
  EXPECT_EQ(data.getReconsPtsDistances().capacity(), 0u);
  data.reserveReconsPts(50, true);
  EXPECT_GE(data.getReconsPtsDistances().capacity(), 50u);
  data.reserveReconsPts(-1, true);
  data.reserveReconsPts(std::numeric_limits<int>::min(), true);
  EXPECT_EQ(data.size(), 0u);
}

TEST(LSReconsPtsData, AppendsThePointsOfEachKindInOrder) {
  const LSReconsPtsData data = pointsOf({false, true, false, true});
  std::vector<QmVec3> two = {at(77)}, three = {at(88)};
  data.getFinal2ImgsPoints(two);
  data.getFinal3ImgsPoints(three);
  EXPECT_THAT(xOf(two), ElementsAre(77, 0, 2));
  EXPECT_THAT(xOf(three), ElementsAre(88, 1, 3));
}

TEST(LSReconsPtsData, PutsPointsFromThreeImagesFirst) {
  const LSReconsPtsData data = pointsOf({false, true, false, true});
  std::vector<QmVec3> out;
  std::size_t count = 99;
  data.getFinalPoints(out, count);
  EXPECT_THAT(xOf(out), ElementsAre(1, 3, 0, 2));
  EXPECT_EQ(count, 2u);
  data.getFinalPoints(out, count);  // What it held counts too.
  EXPECT_THAT(xOf(out), ElementsAre(1, 3, 0, 2, 1, 3, 0, 2));
  EXPECT_EQ(count, 6u);
}

TEST(LSReconsPtsData, MovesEveryPointAndKeepsItsKind) {
  const qmMathTransform t = {{{0, -1, 0}, {1, 0, 0}, {0, 0, 1}}, {100, 200, 300}};
  LSReconsPtsData data = pointsOf({false, true});
  data.addPoint(QmVec3(std::numeric_limits<double>::infinity(), 0, 0), true);
  data.addPoint(at(2), false);
  data.transformPts(t);
  EXPECT_EQ(data.getReconsPtsData()[1].getPt3D(), QmVec3(90, 201, 299));
  EXPECT_TRUE(data.getReconsPtsData()[1].Is3ImgRecons());
  EXPECT_EQ(data.getReconsPtsData()[2].getPt3D().y(), std::numeric_limits<double>::infinity());
  EXPECT_EQ(data.getReconsPtsData()[3].getPt3D(), QmVec3(80, 202, 298));
}

TEST(LSReconsPtsData, RemovesPointsWithTheirDistances) {
  LSReconsPtsData data = pointsOf({false, true, false, true, true}, true);
  data.RemoveSuspiciousPoints({true, false, false, true, false});
  EXPECT_THAT(xOf(data), ElementsAre(1, 2, 4));
  EXPECT_THAT(data.getReconsPtsDistances(), ElementsAre(0.5F, 1.0F, 2.0F));
  EXPECT_TRUE(data.getReconsPtsData()[0].Is3ImgRecons());
  EXPECT_FALSE(data.getReconsPtsData()[1].Is3ImgRecons());
  data.RemoveSuspiciousPoints({false, false, false});
  EXPECT_THAT(xOf(data), ElementsAre(1, 2, 4));
  EXPECT_THAT(data.getReconsPtsDistances(), ElementsAre(0.5F, 1.0F, 2.0F));
  data.RemoveSuspiciousPoints({true, true, true});
  EXPECT_EQ(data.size(), 0u);
  EXPECT_THAT(data.getReconsPtsDistances(), IsEmpty());
}

TEST(LSReconsPtsData, KeepsPointsWithoutABitAndFillsUpDistances) {
  LSReconsPtsData data = pointsOf({false, true, false});
  data.RemoveSuspiciousPoints({true});
  EXPECT_THAT(xOf(data), ElementsAre(1, 2));
  EXPECT_THAT(data.getReconsPtsDistances(), ElementsAre(0.0F, 0.0F));
  data.RemoveSuspiciousPoints({});
  EXPECT_THAT(xOf(data), ElementsAre(1, 2));
  data.RemoveSuspiciousPoints({false, true, true, true, true});
  EXPECT_THAT(xOf(data), ElementsAre(1));
  LSReconsPtsData none;
  none.RemoveSuspiciousPoints({true, false});
  EXPECT_THAT(none.getReconsPtsDistances(), IsEmpty());
}

TEST(LSReconsPtsData, UnifiesWithItsOwnPointsFirst) {
  LSReconsPtsData data = pointsOf({false, true}, true);
  data.unify(pointsOf({true, true, true}, true));
  EXPECT_THAT(xOf(data), ElementsAre(0, 1, 0, 1, 2));
  EXPECT_THAT(data.getReconsPtsDistances(), ElementsAre(0.0F, 0.5F, 0.0F, 0.5F, 1.0F));
  data.unify(pointsOf({true}));
  EXPECT_EQ(data.size(), 6u);
  EXPECT_EQ(data.getReconsPtsDistances().size(), 5u);  // Now shorter than the points.
  data.unify(data);
  EXPECT_THAT(xOf(data), ElementsAre(0, 1, 0, 1, 2, 0, 0, 1, 0, 1, 2, 0));
}

/// Points of `data` and their distances; both lists are as long.
void expectParallel(const LSReconsPtsData& data, std::size_t size) {
  EXPECT_EQ(data.size(), size);
  EXPECT_EQ(data.getReconsPtsDistances().size(), size);
}

TEST(LSReconsPtsData, AddsAPointWithItsDistanceOrNeitherWhenMemoryIsExhausted) {
  for (int place = 0; place < 3; ++place) {
    LSReconsPtsData data = pointsOf({true}, true);
    const float distance = 7.0F;
    newFailed = false;
    newSuccesses = place;
    try {
      data.addPoint(at(1), false, distance);
    } catch (const std::bad_alloc&) {
    }
    newSuccesses = -1;
    EXPECT_EQ(newFailed, place < 2);  // One list, then the other.
    expectParallel(data, newFailed ? 1 : 2);
  }
}

TEST(LSReconsPtsData, UnifiesWholeOrNotAtAllWhenMemoryIsExhausted) {
  const LSReconsPtsData other = pointsOf(std::vector<bool>(100, true), true);
  for (int place = 0; place < 3; ++place) {
    LSReconsPtsData data = pointsOf({true}, true);
    newFailed = false;
    newSuccesses = place;
    try {
      data.unify(other);
    } catch (const std::bad_alloc&) {
    }
    newSuccesses = -1;
    EXPECT_EQ(newFailed, place < 2);
    expectParallel(data, newFailed ? 1 : 101);
  }
}

TEST(LSReconsPtsData, GrowsByDoublingWhenItIsUnifiedAgainAndAgain) {
  const LSReconsPtsData one = pointsOf({true}, true);
  LSReconsPtsData data;
  int moves = 0;
  for (int n = 0; n < 1000; ++n) {
    const LSReconsSinglePtData* before = data.getReconsPtsData().data();
    data.unify(one);
    moves += data.getReconsPtsData().data() != before ? 1 : 0;
  }
  expectParallel(data, 1000);
  EXPECT_LE(moves, 11);
}

TEST(LSReconsPtsData, HasItsFieldsInOrder) {
  struct Fields : LSReconsPtsData {
    std::ptrdiff_t gap() const {
      return reinterpret_cast<const char*>(&distances) - reinterpret_cast<const char*>(&points);
    }
  };
  EXPECT_EQ(Fields().gap(), static_cast<std::ptrdiff_t>(sizeof(std::vector<float>)));
  EXPECT_EQ(sizeof(LSReconsPtsData), 2 * sizeof(std::vector<float>));
}

}  // namespace

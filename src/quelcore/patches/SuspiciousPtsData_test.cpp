#include "quelcore/patches/SuspiciousPtsData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <new>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(SuspiciousPtsData, CountsOneEntryMoreThanSegments) {
  SuspiciousPtsData three(3);
  EXPECT_EQ(three.getNumSegments(), 3);
  EXPECT_EQ(three.numberOfSegments(), 4);
  SuspiciousPtsData none(0);
  EXPECT_EQ(none.getNumSegments(), 0);
  EXPECT_EQ(none.numberOfSegments(), 1);
  SuspiciousPtsData fresh;
  EXPECT_EQ(fresh.getNumSegments(), -1);
  EXPECT_EQ(fresh.numberOfSegments(), 0);
}

TEST(SuspiciousPtsData, ListsIndicesInTheOrderTheyCame) {
  SuspiciousPtsData data(3);
  data.addIndex(0, 7);
  data.addIndex(2, 5);
  data.addIndex(2, -1);
  data.addIndex(2, 5);
  EXPECT_THAT(data.getSegment(0), ElementsAre(7));
  EXPECT_THAT(data.getSegment(1), IsEmpty());
  EXPECT_THAT(data.getSegment(2), ElementsAre(5, -1, 5));
  data.getSegment(3).push_back(11);
  EXPECT_THAT(data.getSegment(3), ElementsAre(11));
}

TEST(SuspiciousPtsData, IgnoresEntriesThatAreNotThere) {
  SuspiciousPtsData data(3);
  data.addIndex(4, 1);
  data.addIndex(99, 1);
  data.addIndex(std::numeric_limits<unsigned>::max(), 1);
  EXPECT_EQ(data.numberOfSegments(), 4);
  for (unsigned entry = 0; entry < 4; ++entry) EXPECT_THAT(data.getSegment(entry), IsEmpty());
  SuspiciousPtsData().addIndex(0, 1);
}

TEST(SuspiciousPtsData, GivesOneSharedEmptyListForAllEntriesThatAreNotThere) {
  SuspiciousPtsData data(3), other;
  std::vector<int>& none = data.getSegment(99);
  EXPECT_THAT(none, IsEmpty());
  EXPECT_EQ(&other.getSegment(0), &none);
  none.push_back(1);  // What somebody writes there reaches nobody else.
  EXPECT_THAT(data.getSegment(4), IsEmpty());
}

TEST(SuspiciousPtsData, StartsAnewAtInit) {
  SuspiciousPtsData data(3);
  data.addIndex(1, 1);
  data.init(5);
  EXPECT_EQ(data.getNumSegments(), 5);
  EXPECT_THAT(data.getSegment(1), IsEmpty());
  data.clear();
  EXPECT_EQ(data.numberOfSegments(), 0);
  data.clear();
}

TEST(SuspiciousPtsData, ThrowsForMoreEntriesThanAnyMemoryHolds) {
  SuspiciousPtsData data(3);
  EXPECT_THROW(data.init(std::numeric_limits<std::size_t>::max()), std::bad_alloc);
  EXPECT_THROW(data.init(std::numeric_limits<std::size_t>::max() - 1), std::bad_alloc);
  EXPECT_EQ(data.numberOfSegments(), 0);
}

TEST(SuspiciousPtsData, UnifiesByRaisingTheOthersIndices) {
  SuspiciousPtsData data(2), other(2);
  data.addIndex(1, 3);
  other.addIndex(0, 9);
  other.addIndex(1, 5);
  other.addIndex(1, 6);
  other.addIndex(2, 0);
  data.unify(other, 1000);
  EXPECT_THAT(data.getSegment(0), IsEmpty());
  EXPECT_THAT(data.getSegment(1), ElementsAre(3, 1005, 1006));
  EXPECT_THAT(data.getSegment(2), ElementsAre(1000));
  EXPECT_THAT(other.getSegment(1), ElementsAre(5, 6));
}

TEST(SuspiciousPtsData, UnifiesNoMoreEntriesThanBothHave) {
  SuspiciousPtsData data(3), shorter(1), longer(9), fresh, single(0);
  shorter.addIndex(1, 5);
  longer.addIndex(3, 6);
  longer.addIndex(9, 7);
  data.unify(shorter, 10);
  data.unify(longer, 100);
  data.unify(fresh, 1);
  EXPECT_THAT(data.getSegment(1), ElementsAre(15));
  EXPECT_THAT(data.getSegment(3), ElementsAre(106));
  EXPECT_EQ(data.getNumSegments(), 3);
  fresh.unify(data, 1);
  EXPECT_EQ(fresh.numberOfSegments(), 0);
  single.unify(data, 1);
  EXPECT_THAT(single.getSegment(0), IsEmpty());
}

TEST(SuspiciousPtsData, UnifiesWithItself) {
  SuspiciousPtsData data(1);
  for (int n = 0; n < 100; ++n) data.addIndex(1, n);
  data.unify(data, 100);
  ASSERT_EQ(data.getSegment(1).size(), 200u);
  for (int n = 0; n < 200; ++n) EXPECT_EQ(data.getSegment(1)[static_cast<std::size_t>(n)], n);
}

TEST(SuspiciousPtsData, GrowsByMoreAndMoreWhenManySetsAreUnified) {
  SuspiciousPtsData data(1), single(1);
  single.addIndex(1, 0);
  int moves = 0;
  for (std::size_t n = 0; n < 10000; ++n) {
    const std::size_t room = data.getSegment(1).capacity();
    data.unify(single, n);
    if (data.getSegment(1).capacity() != room) ++moves;
  }
  EXPECT_LE(moves, 20);
  EXPECT_EQ(data.getSegment(1).back(), 9999);
}

}  // namespace

#include "quelcore/patches/segments2DDataType.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <type_traits>

#include "testing/FailingMemory.h"

namespace {

using quelplatform::allocatedBlocks;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_polymorphic_v<segments2DDataType>);
static_assert(!std::is_copy_constructible_v<segments2DDataType> && !std::is_copy_assignable_v<segments2DDataType>);

/// The sizes and the table, which stand behind the table of virtual operations.
struct Fields {
  explicit Fields(const segments2DDataType& segments) {
    const char* at = reinterpret_cast<const char*>(&segments) + sizeof(void*);
    std::memcpy(&rowCount, at, 4);
    std::memcpy(&columnCount, at + 4, 4);
    std::memcpy(&segmentIds, at + 8, sizeof(segmentIds));
  }
  std::int32_t rowCount, columnCount;
  unsigned short** segmentIds;
};
static_assert(sizeof(segments2DDataType) == 3 * sizeof(void*) + sizeof(std::vector<int>));

TEST(segments2DDataType, MakesATableOfZeros) {
  const std::int64_t before = allocatedBlocks();
  {
    segments2DDataType segments(3, 5);
    unsigned short** rows = segments.getPt2DySegmentsIds();
    ASSERT_NE(rows, nullptr);
    EXPECT_EQ(allocatedBlocks(), before + 4);  // Each row by itself.
    for (int y = 0; y < 3; ++y) {
      for (int x = 0; x < 5; ++x) EXPECT_EQ(rows[y][x]++, 0);
    }
    const Fields fields(segments);
    EXPECT_EQ(fields.rowCount, 3);
    EXPECT_EQ(fields.columnCount, 5);
    EXPECT_EQ(fields.segmentIds, rows);
  }
  EXPECT_EQ(allocatedBlocks(), before);
}

TEST(segments2DDataType, IsEmptyWithoutInit) {
  segments2DDataType segments;
  EXPECT_EQ(segments.getPt2DySegmentsIds(), nullptr);
  segments.setSegmentSize(4);
  segments.cleanData();  // Without a table nothing is cleaned.
  EXPECT_THAT(segments.getSegmentSizes(), ElementsAre(4));
}

TEST(segments2DDataType, RefusesASecondInitAndChangesNothing) {
  segments2DDataType segments(2, 2);
  unsigned short** rows = segments.getPt2DySegmentsIds();
  rows[1][1] = 9;
  EXPECT_FALSE(segments.init(4, 4));
  EXPECT_EQ(segments.getPt2DySegmentsIds(), rows);
  EXPECT_EQ(rows[1][1], 9);
  EXPECT_EQ(Fields(segments).rowCount, 2);
}

TEST(segments2DDataType, RefusesNegativeSizesAndTakesSizesOfZero) {
  segments2DDataType segments;
  EXPECT_FALSE(segments.init(-1, 3));
  EXPECT_FALSE(segments.init(3, -1));
  EXPECT_FALSE(segments.init(std::numeric_limits<int>::min(), std::numeric_limits<int>::min()));
  EXPECT_EQ(segments.getPt2DySegmentsIds(), nullptr);
  EXPECT_TRUE(segments.init(0, 3));
  EXPECT_FALSE(segments.init(2, 3));
  segments2DDataType noColumns(3, 0);
  EXPECT_NE(noColumns.getPt2DySegmentsIds(), nullptr);
  noColumns.cleanData();
}

TEST(segments2DDataType, CleansTheTableAndTheSizesAndKeepsItsOwnSize) {
  segments2DDataType segments(3, 4);
  unsigned short** rows = segments.getPt2DySegmentsIds();
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 4; ++x) rows[y][x] = 65535;
  }
  segments.setSegmentSize(10);
  segments.cleanData();
  EXPECT_EQ(segments.getPt2DySegmentsIds(), rows);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 4; ++x) EXPECT_EQ(rows[y][x], 0);
  }
  EXPECT_THAT(segments.getSegmentSizes(), IsEmpty());
  EXPECT_EQ(Fields(segments).columnCount, 4);
}

TEST(segments2DDataType, CountsTheFirstSizeOut) {
  segments2DDataType segments;
  EXPECT_EQ(segments.getSegmentNo(), std::numeric_limits<std::size_t>::max());
  segments.setSegmentSize(100);
  EXPECT_EQ(segments.getSegmentNo(), 0u);
  segments.setSegmentSize(20);
  segments.setSegmentSize(30);
  EXPECT_EQ(segments.getSegmentNo(), 2u);
  segments.getSegmentSizes().push_back(40);
  EXPECT_EQ(segments.getSegmentNo(), 3u);
  EXPECT_THAT(segments.getSegmentSizes(), ElementsAre(100, 20, 30, 40));
}

TEST(segments2DDataType, KeepsTheRowsThatItGotWhenMemoryIsExhausted) {
  const std::int64_t failures = quel::testing::failEachAllocation([](std::int64_t n) {
    segments2DDataType segments;
    EXPECT_EQ(segments.init(3, 4), n == 4);
    unsigned short** rows = segments.getPt2DySegmentsIds();
    EXPECT_EQ(rows == nullptr, n == 0);
    for (std::int64_t y = 0; rows != nullptr && y < 3; ++y) EXPECT_EQ(rows[y] != nullptr, y < n - 1) << n;
    segments.cleanData();
    EXPECT_EQ(segments.init(3, 4), n == 0);  // Without a table one may try again.
  });
  EXPECT_EQ(failures, 4);
}

}  // namespace

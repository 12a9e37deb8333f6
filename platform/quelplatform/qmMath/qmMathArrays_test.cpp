#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "quelplatform/qmMath/qmMath.h"
#include "testing/FailingMemory.h"

namespace {

using quel::testing::failEachAllocation;

TEST(qmMathArrays, AreZeroFilledWhereTheySaySo) {
  double(*array)[2] = nullptr;
  ASSERT_EQ(qmMathVec2ArrayConstruct(1000, &array), 1);
  for (int i = 0; i < 1000; ++i) EXPECT_THAT(array[i], testing::ElementsAre(0, 0));
  qmMathVec2ArrayDestruct(&array);
  EXPECT_EQ(array, nullptr);
}

TEST(qmMathArrays, HoldTheirCountAndAreGivenBack) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  double(*pairs)[2] = nullptr;
  double(*triples)[3] = nullptr;
  ASSERT_EQ(qmMathVec2ArrayConstructNoInit(100, &pairs), 1);
  ASSERT_EQ(qmMathVec3ArrayConstructNoInit(100, &triples), 1);
  for (int i = 0; i < 100; ++i) pairs[i][1] = triples[i][2] = i;
  EXPECT_EQ(pairs[99][1] + triples[99][2], 198);
  qmMathVec2ArrayDestruct(&pairs);
  qmMathVec3ArrayDestruct(&triples);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmMathArrays, OfNoElementsSucceed) {
  double(*pairs)[2] = nullptr;
  double(*zeroPairs)[2] = nullptr;
  double(*triples)[3] = nullptr;
  EXPECT_EQ(qmMathVec2ArrayConstruct(0, &zeroPairs), 1);
  EXPECT_EQ(qmMathVec2ArrayConstructNoInit(0, &pairs), 1);
  EXPECT_EQ(qmMathVec3ArrayConstructNoInit(0, &triples), 1);
  qmMathVec2ArrayDestruct(&zeroPairs);
  qmMathVec2ArrayDestruct(&pairs);
  qmMathVec3ArrayDestruct(&triples);
}

TEST(qmMathArrays, FailWithNullWhenTheSizeOverflowsOrMemoryIsExhausted) {
  constexpr std::size_t kHuge = std::numeric_limits<std::size_t>::max();
  for (const std::size_t count : {kHuge, kHuge / 16 + 1, kHuge / 24 + 1}) {
    double local2[1][2], local3[1][3];
    double(*pairs)[2] = local2;
    double(*triples)[3] = local3;
    if (count > kHuge / 16) {
      EXPECT_EQ(qmMathVec2ArrayConstruct(count, &pairs), 0);
      EXPECT_EQ(pairs, nullptr);
      pairs = local2;
      EXPECT_EQ(qmMathVec2ArrayConstructNoInit(count, &pairs), 0);
      EXPECT_EQ(pairs, nullptr);
    }
    EXPECT_EQ(qmMathVec3ArrayConstructNoInit(count, &triples), 0);
    EXPECT_EQ(triples, nullptr);
  }
  EXPECT_EQ(failEachAllocation([](std::int64_t failing) {
              double local[1][3];
              double(*triples)[3] = local;
              EXPECT_EQ(qmMathVec3ArrayConstructNoInit(10, &triples), failing == 0 ? 0 : 1);
              EXPECT_EQ(triples == nullptr, failing == 0);
              qmMathVec3ArrayDestruct(&triples);
            }),
            1);
}

TEST(qmMathArrays, TolerateNullAddresses) {
  EXPECT_EQ(qmMathVec2ArrayConstruct(1, nullptr), 0);
  EXPECT_EQ(qmMathVec2ArrayConstructNoInit(1, nullptr), 0);
  EXPECT_EQ(qmMathVec3ArrayConstructNoInit(1, nullptr), 0);
  qmMathVec2ArrayDestruct(nullptr);
  qmMathVec3ArrayDestruct(nullptr);
  double(*pairs)[2] = nullptr;
  double(*triples)[3] = nullptr;
  qmMathVec2ArrayDestruct(&pairs);
  qmMathVec3ArrayDestruct(&triples);
}

TEST(qmMathVec, HoldsItsCountAndIsGivenBack) {
  const std::int64_t before = quelplatform::allocatedBlocks();
  double* vector = nullptr;
  ASSERT_EQ(qmMathVecConstructNoInit(100, &vector), 1);
  for (int i = 0; i < 100; ++i) vector[i] = i;
  EXPECT_EQ(vector[99], 99);
  qmMathVecDestruct(&vector);
  EXPECT_EQ(vector, nullptr);
  ASSERT_EQ(qmMathVecConstructNoInit(0, &vector), 1);
  qmMathVecDestruct(&vector);
  qmMathVecDestruct(&vector);
  qmMathVecDestruct(nullptr);
  EXPECT_EQ(quelplatform::allocatedBlocks(), before);
}

TEST(qmMathVec, FailsWithNullWhenTheSizeOverflowsOrMemoryIsExhausted) {
  double local = 0;
  double* vector = &local;
  EXPECT_EQ(qmMathVecConstructNoInit(std::numeric_limits<std::size_t>::max() / 8 + 1, &vector), 0);
  EXPECT_EQ(vector, nullptr);
  EXPECT_EQ(qmMathVecConstructNoInit(1, nullptr), 0);
  EXPECT_EQ(failEachAllocation([](std::int64_t n) {
              double* made = nullptr;
              EXPECT_EQ(qmMathVecConstructNoInit(3, &made), n == 0 ? 0 : 1);
              EXPECT_EQ(made == nullptr, n == 0);
              qmMathVecDestruct(&made);
            }),
            1);
}

}  // namespace

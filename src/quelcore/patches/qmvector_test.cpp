#include "quelcore/patches/qmvector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "testing/FailingMemory.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::testRandom;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Vector = qmvector<std::int32_t>;

void fill(Vector& vector, std::int32_t count) {
  for (std::int32_t n = 0; n < count; ++n) ASSERT_TRUE(vector.push_back(n));
}

TEST(qmvector, IsEmptyAtFirstAndHoldsOneEmptyWordBeforeItsPointers) {
  const Vector vector;
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(vector.size(), 0U);
  EXPECT_EQ(vector.capacity(), 0U);
  EXPECT_EQ(sizeof(vector), 4 * sizeof(void*));
}

TEST(qmvector, GrowsToTheLargerOfTwiceItsCapacityAndTheSizeAskedFor) {
  Vector vector;
  ASSERT_TRUE(vector.resize(3));
  EXPECT_EQ(vector.capacity(), 3U);
  ASSERT_TRUE(vector.push_back(7));
  EXPECT_EQ(vector.capacity(), 6U);
  ASSERT_TRUE(vector.resize(20));
  EXPECT_EQ(vector.capacity(), 20U);
  ASSERT_TRUE(vector.resize(21));
  EXPECT_EQ(vector.capacity(), 40U);
  ASSERT_TRUE(vector.resize(2));
  EXPECT_EQ(vector.capacity(), 40U);
  ASSERT_TRUE(vector.reserve(41));
  EXPECT_EQ(vector.capacity(), 80U);
  ASSERT_TRUE(vector.reserve(161));
  EXPECT_EQ(vector.capacity(), 161U);
  ASSERT_TRUE(vector.reserve(5));
  EXPECT_EQ(vector.capacity(), 161U);
  EXPECT_EQ(vector.size(), 2U);
}

TEST(qmvector, GrowsAFullArrayByItsSizeWhenAnElementIsInserted) {
  Vector vector;
  ASSERT_TRUE(vector.insert(0, 1));
  EXPECT_EQ(vector.capacity(), 1U);
  ASSERT_TRUE(vector.reserve(3));
  fill(vector, 2);
  ASSERT_TRUE(vector.insert(1, 9));
  EXPECT_EQ(vector.capacity(), 6U);
  EXPECT_THAT(std::vector<std::int32_t>(vector.begin(), vector.end()), ElementsAre(1, 9, 0, 1));
}

TEST(qmvector, ZeroesWhatResizeAdds) {
  Vector vector;
  fill(vector, 5);
  ASSERT_TRUE(vector.resize(2));
  ASSERT_TRUE(vector.resize(5));
  EXPECT_THAT(std::vector<std::int32_t>(vector.begin(), vector.end()), ElementsAre(0, 1, 0, 0, 0));
}

TEST(qmvector, TakesElementsOfItsOwnWhenItGrows) {
  Vector vector;
  fill(vector, 4);
  while (vector.size() < vector.capacity()) ASSERT_TRUE(vector.push_back(4));
  ASSERT_TRUE(vector.push_back(vector[1]));
  EXPECT_EQ(vector[vector.size() - 1], 1);
  ASSERT_TRUE(vector.resize(vector.capacity()));
  ASSERT_TRUE(vector.insert(0, vector[2]));
  EXPECT_EQ(vector[0], 2);
}

TEST(qmvector, RefusesAPlaceBeyondItsEnd) {
  Vector vector;
  fill(vector, 2);
  EXPECT_FALSE(vector.insert(3, 1));
  EXPECT_EQ(vector.size(), 2U);
}

TEST(qmvector, HoldsWhatAPlainVectorHoldsAfterAnyOperations) {
  auto random = testRandom();
  Vector vector;
  std::vector<std::int32_t> model;
  for (int n = 0; n < 20000; ++n) {
    const auto value = static_cast<std::int32_t>(random());
    const std::size_t place = random() % (model.size() + 1);
    switch (random() % 5) {
      case 0:
        ASSERT_TRUE(vector.push_back(value));
        model.push_back(value);
        break;
      case 1:
        ASSERT_TRUE(vector.insert(place, value));
        model.insert(model.begin() + static_cast<std::ptrdiff_t>(place), value);
        break;
      case 2:
        ASSERT_TRUE(vector.resize(random() % 100));
        model.resize(vector.size());
        break;
      case 3: {
        Vector copy;
        ASSERT_TRUE(copy.assign(vector));
        vector = std::move(copy);
        break;
      }
      default:
        if (random() % 20 == 0) {
          vector.clear();
          model.clear();
        }
    }
    ASSERT_THAT(std::vector<std::int32_t>(vector.begin(), vector.end()), ElementsAreArray(model));
  }
}

TEST(qmvector, KeepsItsMemoryWhenItIsCleared) {
  Vector vector;
  for (std::int32_t n = 0; n < 10; ++n) ASSERT_TRUE(vector.push_back(n));
  const std::int32_t* const memory = vector.data();
  const std::size_t capacity = vector.capacity();
  vector.clear();
  EXPECT_TRUE(vector.empty());
  EXPECT_EQ(vector.capacity(), capacity);
  ASSERT_TRUE(vector.push_back(7));
  EXPECT_EQ(vector.data(), memory);
}

TEST(qmvector, StaysAsItIsWhereverMemoryRunsOut) {
  const auto failures = quel::testing::failEachAllocation([](std::int64_t) {
    Vector vector;
    Vector copy;
    const bool pushed = vector.push_back(1);
    EXPECT_EQ(vector.size(), pushed ? 1U : 0U);
    const bool inserted = vector.insert(0, 2);
    EXPECT_EQ(vector.size(), (pushed ? 1U : 0U) + (inserted ? 1U : 0U));
    const std::size_t before = vector.size();
    const bool resized = vector.resize(50);
    EXPECT_EQ(vector.size(), resized ? 50U : before);
    const bool assigned = copy.assign(vector);
    EXPECT_EQ(copy.size(), assigned ? vector.size() : 0U);
    copy.reserve(1000);
  });
  EXPECT_EQ(failures, 5);
}

TEST(qmvector, RefusesSizesThatNoMemoryHolds) {
  Vector vector;
  EXPECT_FALSE(vector.resize(std::numeric_limits<std::size_t>::max()));
  EXPECT_FALSE(vector.reserve(std::numeric_limits<std::size_t>::max() / 4));
  EXPECT_TRUE(vector.empty());
}

TEST(qmvector, MovesItsElementsWithoutCopyingThem) {
  Vector a;
  fill(a, 3);
  const std::int32_t* const elements = a.data();
  Vector b(std::move(a));
  EXPECT_EQ(b.data(), elements);
  EXPECT_TRUE(b.assign(b));
  EXPECT_EQ(b.size(), 3U);
}

TEST(qmPatchVibrationInfo, HoldsItsValuesBehindTwoWords) {
  const qmPatchVibrationInfo info;
  EXPECT_EQ(reinterpret_cast<const char*>(&info.values) - reinterpret_cast<const char*>(&info), 8);
  EXPECT_TRUE(info.values.empty());
}

}  // namespace

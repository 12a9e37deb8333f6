#include "quel/geometry/Partition.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

#include "quel/geometry/ImageIndex.h"
#include "quelcore/tensor/QmReconsTensor.h"
#include "testing/Numbers.h"
#include "testing/SampleHead.h"

namespace quel {
namespace {

using quel::testing::SampleHead;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::HasSubstr;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<Vec3> randomPoints(std::size_t count) {
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points(count);
  for (Vec3& p : points) p = {uniform(random, -9, 9), uniform(random, -3, 3), uniform(random, 0, 1)};
  return points;
}

bool isPermutation(std::vector<std::int32_t> order, std::size_t count) {
  std::sort(order.begin(), order.end());
  std::vector<std::int32_t> all(count);
  std::iota(all.begin(), all.end(), 0);
  return order == all;
}

TEST(Partition, HasExactBoxesThatTheirChildrenDivide) {
  for (const std::size_t count : {1U, 49U, 50U, 3000U}) {
    const std::vector<Vec3> points = randomPoints(count);
    const auto made = Partition::of(points);
    ASSERT_TRUE(made);
    EXPECT_TRUE(isPermutation(made->order, count));
    EXPECT_EQ(made->nodes[0].parent, -1);
    EXPECT_EQ(made->nodes[0].count, static_cast<std::int32_t>(count));
    for (std::size_t n = 0; n < made->nodes.size(); ++n) {
      const Partition::Node& node = made->nodes[n];
      Vec3 low = points[static_cast<std::size_t>(made->order[static_cast<std::size_t>(node.first)])];
      Vec3 high = low;
      for (std::int32_t i = node.first; i < node.first + node.count; ++i) {
        const Vec3& p = points[static_cast<std::size_t>(made->order[static_cast<std::size_t>(i)])];
        for (std::size_t axis = 0; axis < 3; ++axis) {
          low[axis] = std::min(low[axis], p[axis]);
          high[axis] = std::max(high[axis], p[axis]);
        }
      }
      EXPECT_EQ(node.minimum, low);
      EXPECT_EQ(node.maximum, high);
      EXPECT_EQ(node.left < 0, node.count < 50) << "of 50 points and more";
      if (node.left < 0) continue;
      const Partition::Node& left = made->nodes[static_cast<std::size_t>(node.left)];
      const Partition::Node& right = made->nodes[static_cast<std::size_t>(node.right)];
      EXPECT_EQ(node.left, static_cast<std::int32_t>(n) + 1);
      EXPECT_EQ(left.parent, static_cast<std::int32_t>(n));
      EXPECT_EQ(right.parent, static_cast<std::int32_t>(n));
      EXPECT_EQ(left.first, node.first);
      EXPECT_EQ(right.first, left.first + left.count);
      EXPECT_EQ(left.count + right.count, node.count);
    }
  }
}

TEST(Partition, OfPointsThatDoNotDifferIsOneLeaf) {
  const std::vector<Vec3> points(100, Vec3{1, 2, 3});
  const auto made = Partition::of(points);
  ASSERT_TRUE(made);
  EXPECT_EQ(made->nodes.size(), 1U);
}

TEST(Partition, RefusesNoPointsAndOnesThatAreNotFinite) {
  EXPECT_EQ(Partition::of({}).error().cause, "there are no points");
  const Vec3 points[] = {{0, 0, 0}, {0, kNaN, 0}};
  EXPECT_THAT(Partition::of(points).error().cause, HasSubstr("point 1"));
}

TEST(SpaceIndex, SortsTheFinitePointsAndKnowsWhereTheyCameFrom) {
  std::vector<Vec3> points = randomPoints(2000);
  points[17][2] = kNaN;
  points[18][0] = -std::numeric_limits<double>::infinity();
  const auto index = ImageIndex::bySpace(points);
  ASSERT_TRUE(index);
  EXPECT_EQ(index->leftOut, 2U);
  EXPECT_TRUE(index->pixels.empty());
  ASSERT_EQ(index->points.size(), 1998U);
  for (std::size_t n = 0; n < 1998; ++n) EXPECT_EQ(index->points[n], points[static_cast<std::size_t>(index->order[n])]);
  std::uint32_t next = 0;
  for (const qmPatchBinInfo& bin : index->bins) {
    EXPECT_EQ(bin.start, next);
    EXPECT_LT(bin.count, 500U);
    next += bin.count;
  }
  EXPECT_EQ(next, 1998U);
  EXPECT_LE(index->smallestBin(), index->largestBin());
  EXPECT_FALSE(ImageIndex::bySpace({}));
  EXPECT_FALSE(ImageIndex::bySpace(std::span(points).subspan(17, 2)));
}

TEST(ImageIndex, SortsWhatTheCameraSeesByCellsOf32Pixels) {
  const SampleHead sample;
  const Head head = Head::fromRecord(*sample.tensor());
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points;
  for (int n = 0; n < 500; ++n) points.push_back(sample.randomPoint(random));
  points.push_back({0, 900, 0});
  points.push_back({0, 0, 5000});
  points.push_back({kNaN, 0, 0});
  const auto index = ImageIndex::byImage(head, points, 1, Mode::Exact, 2);
  ASSERT_TRUE(index);
  EXPECT_EQ(index->leftOut, 3U);
  const auto seen = project(head, points, 1);
  for (const qmPatchBinInfo& bin : index->bins) {
    for (std::uint32_t n = bin.start; n < bin.start + bin.count; ++n) {
      EXPECT_EQ(index->points[n], points[static_cast<std::size_t>(index->order[n])]);
      EXPECT_EQ(index->pixels[n], seen->pixels[static_cast<std::size_t>(index->order[n])]);
      for (std::size_t axis = 0; axis < 2; ++axis) {
        EXPECT_EQ(std::floor(index->pixels[n][axis] / 32), std::floor(index->pixels[bin.start][axis] / 32));
      }
    }
  }
}

TEST(ImageIndex, TellsWhyThereIsNone) {
  const Head head = Head::fromRecord(*SampleHead().tensor());
  const Vec3 far[] = {{0, 900, 0}};
  EXPECT_THAT(ImageIndex::byImage(head, far, 1).error().cause,
              HasSubstr("none of the 1 points lies in the image of camera 1"));
  EXPECT_FALSE(ImageIndex::byImage(head, far, 3));
  QmReconsTensor record(head.record());
  record.imageWidth = 0;
  const Vec3 near[] = {{0, 0, 0}};
  EXPECT_THAT(ImageIndex::byImage(Head::fromRecord(record), near, 1).error().cause, HasSubstr("none of the 1"));
}

}  // namespace
}  // namespace quel

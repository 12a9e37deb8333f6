// The kernels of the projection give the bits of plain loops at every width.
#include <gtest/gtest.h>

#include <cstring>

#include "quelcore/tensor/kernels/copyPixelsAround.h"
#include "quelcore/tensor/kernels/depthsOfPoints.h"
#include "quelcore/tensor/kernels/pinholePixels.h"
#include "testing/Canary.h"
#include "testing/Widths.h"

namespace {

using namespace quelcore;
using quel::testing::awkwardNumber;
using quel::testing::kAwkwardCounts;
using quel::testing::sameNumber;
using quel::testing::testRandom;
using quel::testing::widthsOfThisMachine;
using quelkernels::nameOf;
using quelkernels::Width;

constexpr int kRounds = 200;

double rowTimes(const double row[4], double x, double y, double z) {
  const double first = row[0] * x + row[1] * y;
  const double second = first + row[2] * z;
  return second + row[3];
}

void fill(double* numbers, std::size_t count, std::mt19937_64& random) {
  for (std::size_t n = 0; n < count; ++n) numbers[n] = awkwardNumber(random);
}

PointBlock randomBlock(std::mt19937_64& random) {
  PointBlock block;
  fill(block.x, kBlockOfPoints, random);
  fill(block.y, kBlockOfPoints, random);
  fill(block.z, kBlockOfPoints, random);
  return block;
}

class EveryWidth : public ::testing::TestWithParam<Width> {};

TEST_P(EveryWidth, MovesPointsAsAPlainLoopDoes) {
  auto random = testRandom();
  std::vector<double> points(3 * kBlockOfPoints);
  for (int round = 0; round < kRounds; ++round) {
    double motion[3][4];
    fill(*motion, 12, random);
    fill(points.data(), points.size(), random);
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    // Points that end with the memory they lie in: nothing beyond them may be read.
    const std::vector<double> exact(points.begin(), points.begin() + 3 * count);
    PointBlock moved;
    kMovePoints.at(GetParam())(motion, reinterpret_cast<const double(*)[3]>(exact.data()), count, moved);
    for (std::int64_t n = 0; n < count; ++n) {
      const double* p = points.data() + 3 * n;
      ASSERT_TRUE(sameNumber(moved.x[n], rowTimes(motion[0], p[0], p[1], p[2])));
      ASSERT_TRUE(sameNumber(moved.y[n], rowTimes(motion[1], p[0], p[1], p[2])));
      ASSERT_TRUE(sameNumber(moved.z[n], rowTimes(motion[2], p[0], p[1], p[2])));
    }
  }
}

TEST_P(EveryWidth, RoundsDepthsAsAPlainLoopDoes) {
  auto random = testRandom();
  for (int round = 0; round < kRounds; ++round) {
    double row[4];
    fill(row, 4, random);
    const PointBlock points = randomBlock(random);
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    float depths[kBlockOfPoints];
    kDepthsOfPoints.at(GetParam())(row, points, count, depths);
    for (std::int64_t n = 0; n < count; ++n) {
      const auto expected = static_cast<float>(rowTimes(row, points.x[n], points.y[n], points.z[n]));
      ASSERT_TRUE(sameNumber(depths[n], expected)) << depths[n] << ' ' << expected;
    }
  }
}

TEST_P(EveryWidth, ProjectsAsAPlainLoopDoesAndLeavesThePrincipalPlaneAlone) {
  auto random = testRandom();
  std::int64_t onPlane = 0;
  for (int round = 0; round < kRounds; ++round) {
    double P[4][4];
    fill(*P, 16, random);
    if (round % 3 == 0) std::fill_n(P[2], 4, 0.0), P[2][2] = 1.0;
    const PointBlock points = randomBlock(random);
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    std::vector<double> pixels(2 * static_cast<std::size_t>(count) + 2, -777.0);
    std::int64_t expectedOnPlane = 0;
    std::vector<double> expected = pixels;
    for (std::int64_t n = 0; n < count; ++n) {
      const double w = rowTimes(P[2], points.x[n], points.y[n], points.z[n]);
      if (w == 0.0) {
        ++expectedOnPlane;
        continue;
      }
      expected[2 * n] = rowTimes(P[0], points.x[n], points.y[n], points.z[n]) / w;
      expected[2 * n + 1] = rowTimes(P[1], points.x[n], points.y[n], points.z[n]) / w;
    }
    ASSERT_EQ(kPinholePixels.at(GetParam())(P, points, count, reinterpret_cast<double(*)[2]>(pixels.data())),
              expectedOnPlane);
    for (std::size_t n = 0; n < pixels.size(); ++n) ASSERT_TRUE(sameNumber(pixels[n], expected[n])) << n;
    onPlane += expectedOnPlane;
  }
  EXPECT_GT(onPlane, 20);
}

TEST_P(EveryWidth, CopiesAroundTheCachesWhereverThePixelsLie) {
  auto random = testRandom();
  std::vector<double> from(2 * kBlockOfPoints);
  fill(from.data(), from.size(), random);
  for (const std::int64_t count : kAwkwardCounts) {
    for (std::size_t shift = 0; shift < 9; ++shift) {
      std::vector<double> to(2 * kBlockOfPoints + 16, -777.0);
      std::vector<double> expected = to;
      kCopyPixelsAround.at(GetParam())(reinterpret_cast<const double(*)[2]>(from.data()), count,
                                       reinterpret_cast<double(*)[2]>(to.data() + shift));
      std::memcpy(expected.data() + shift, from.data(), sizeof(double) * 2 * static_cast<std::size_t>(count));
      ASSERT_EQ(std::memcmp(to.data(), expected.data(), sizeof(double) * to.size()), 0) << count << ' ' << shift;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Widths, EveryWidth, ::testing::ValuesIn(widthsOfThisMachine()),
                         [](const auto& width) { return nameOf(width.param); });

}  // namespace

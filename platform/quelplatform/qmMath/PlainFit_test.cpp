#include "quelplatform/qmMath/PlainFit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "quelplatform/prim_geom/QmVec3.h"
#include "quelplatform/qmMath/FitDataSets_fixture.h"
#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/kernels/fitSums.h"
#include "testing/Numbers.h"
#include "testing/Widths.h"

namespace {

using quel::testing::awkwardNumber;
using quel::testing::FitDataSet;
using quel::testing::pointsOf;
using quel::testing::sameNumber;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::widthsOfThisMachine;
using quelkernels::Width;
using quelplatform::DoubleDouble;
using quelplatform::exactProduct;
using quelplatform::exactSum;
using quelplatform::FitAxis;
using quelplatform::FitLanes;
using quelplatform::FitSpread;
using quelplatform::FitSums;
using quelplatform::FitView;
using quelplatform::kAddFitBlocks;
using quelplatform::kFitBlock;
using quelplatform::plainSpread;

const double (*triples(const std::vector<QmVec3>& points))[3] {
  return reinterpret_cast<const double(*)[3]>(points.data());
}

bool isPlain(const std::vector<QmVec3>& points, FitAxis wanted) {
  FitSpread spread;
  return plainSpread(triples(points), static_cast<std::int64_t>(points.size()), wanted, spread);
}

// --- The sums --------------------------------------------------------------------------------------------------------

void addPlainly(double value, std::size_t lane, FitLanes& lanes) {
  const DoubleDouble exact = exactSum(lanes.sum[lane], value);
  lanes.sum[lane] = exact.hi;
  lanes.lost[lane] += exact.lo;
}

/// The plain form: one lane of one block after the other.
void addBlockPlainly(const QmVec3* points, const FitView& view, FitSums& sums) {
  for (std::size_t lane = 0; lane < 8; ++lane) {
    double product[6] = {};
    for (std::size_t i = lane; i < kFitBlock; i += 8) {
      double d[3];
      for (int k = 0; k < 3; ++k) {
        const double p = points[i][k] * view.scale;
        addPlainly(p, lane, sums.point[k]);
        d[k] = p - view.at[k];
      }
      double* to = product;
      for (int k = 0; k < 3; ++k) {
        for (int j = k; j < 3; ++j) *to++ += d[k] * d[j];
      }
    }
    for (int k = 0; k < 6; ++k) addPlainly(product[k], lane, sums.product[k]);
  }
}

class EveryWidth : public ::testing::TestWithParam<Width> {};

TEST_P(EveryWidth, AddsBlocksAsAPlainLoopDoes) {
  auto random = testRandom();
  for (int round = 0; round < 300; ++round) {
    const auto blocks = static_cast<std::size_t>(round % 4);
    const bool awkward = round % 3 == 0;
    FitView view = {{}, std::ldexp(1.0, round % 7 - 3)};
    for (double& c : view.at) c = uniform(random, -1000, 1000);
    // Points that end with the memory they lie in: nothing beyond them may be read.
    std::vector<QmVec3> points(blocks * kFitBlock);
    for (QmVec3& p : points) {
      for (int k = 0; k < 3; ++k) p[k] = awkward && random() % 50 == 0 ? awkwardNumber(random) : uniform(random, -9, 9);
    }
    FitSums sums{}, expected{};
    kAddFitBlocks.at(GetParam())(triples(points), static_cast<std::int64_t>(blocks), view, sums);
    for (std::size_t block = 0; block < blocks; ++block) {
      addBlockPlainly(points.data() + block * kFitBlock, view, expected);
    }
    const auto* mine = reinterpret_cast<const double*>(&sums);
    const auto* plain = reinterpret_cast<const double*>(&expected);
    for (std::size_t i = 0; i < sizeof(FitSums) / sizeof(double); ++i) ASSERT_TRUE(sameNumber(mine[i], plain[i])) << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Widths, EveryWidth, ::testing::ValuesIn(widthsOfThisMachine()),
                         [](const auto& width) { return nameOf(width.param); });

// --- What is made of them --------------------------------------------------------------------------------------------

DoubleDouble joinedPlainly(const FitLanes& lanes) {
  DoubleDouble lane[8];
  for (int i = 0; i < 8; ++i) lane[i] = exactSum(lanes.sum[i], lanes.lost[i]);
  return ((lane[0] + lane[4]) + (lane[2] + lane[6])) + ((lane[1] + lane[5]) + (lane[3] + lane[7]));
}

/// As the header of the fits says it, one step after the other.
FitSpread spreadPlainly(std::vector<QmVec3> points) {
  const auto n = static_cast<double>(points.size());
  FitView view = {{}, 1.0};
  double size = 0.0;
  for (int i = 0; i < 64; ++i) {
    const double turns = 0.6180339887498949 * i;
    const QmVec3& p = points[static_cast<std::size_t>((turns - std::floor(turns)) * n)];
    for (int k = 0; k < 3; ++k) view.at[k] += p[k], size = std::max(size, std::abs(p[k] - points[0][k]));
  }
  if (std::abs(std::ilogb(size)) > 400) view.scale = std::ldexp(1.0, -std::ilogb(size));
  for (double& c : view.at) c = c / 64 * view.scale;
  while (points.size() % kFitBlock != 0) {
    points.emplace_back(view.at[0] / view.scale, view.at[1] / view.scale, view.at[2] / view.scale);
  }
  FitSums sums{};
  for (std::size_t i = 0; i < points.size(); i += kFitBlock) addBlockPlainly(points.data() + i, view, sums);
  FitSpread spread{};
  double s[3], second[3][3] = {};
  for (int k = 0; k < 3; ++k) {
    const DoubleDouble all =
        joinedPlainly(sums.point[k]) - exactProduct(static_cast<double>(points.size()), view.at[k]);
    s[k] = all.hi;
    spread.centroid[k] = (DoubleDouble{view.at[k], 0.0} + all / DoubleDouble{n, 0.0}).hi / view.scale;
  }
  int number = 0;
  for (int k = 0; k < 3; ++k) {
    for (int j = k; j < 3; ++j) second[k][j] = joinedPlainly(sums.product[number++]).hi - s[k] * s[j] / n;
  }
  spread.axes = quelplatform::principalAxes(second);
  return spread;
}

TEST(plainSpread, HasTheBitsOfThePlainForm) {
  auto random = testRandom();
  int taken = 0;
  for (std::size_t count = 3; count < 700; ++count) {
    std::vector<QmVec3> points = pointsOf({count, 100.0, 70.0, 0.1, 1e3, 1.0}, random);
    for (QmVec3& p : points) p *= std::ldexp(1.0, count % 3 == 0 ? 0 : static_cast<int>(count) * 2 - 700);
    FitSpread spread;
    if (!plainSpread(triples(points), static_cast<std::int64_t>(count), FitAxis::Plane, spread)) continue;
    ++taken;
    const FitSpread expected = spreadPlainly(points);
    ASSERT_EQ(std::memcmp(&spread, &expected, sizeof spread), 0) << count;
  }
  EXPECT_GT(taken, 500);
}

// --- When it is taken ------------------------------------------------------------------------------------------------

// A plate of such sides, in a grid so that its moments are known; `gap` is that of the plane's axis.
std::vector<QmVec3> plate(double side) {
  std::vector<QmVec3> points;
  for (int x = -20; x <= 20; ++x) {
    for (int y = -20; y <= 20; ++y) points.emplace_back(5.0 * x, side * y, 0.001 * ((x * 7 + y * 3) % 5));
  }
  return points;
}

TEST(plainSpread, TakesAnAxisThatStandsOut) {
  EXPECT_TRUE(isPlain(plate(5.0), FitAxis::Plane));
  // (26 (1 + q) + 30) u of the larger eigenvalue may be the gap's part of 1e-13 - 8 u, for sides whose squares are as
  // q.
  EXPECT_TRUE(isPlain(plate(5.0 * std::sqrt(0.067)), FitAxis::Plane));
  EXPECT_FALSE(isPlain(plate(5.0 * std::sqrt(0.062)), FitAxis::Plane));
  EXPECT_FALSE(isPlain(plate(5.0), FitAxis::Line));
  EXPECT_FALSE(isPlain(plate(5.0 * std::sqrt(0.914)), FitAxis::Line));
  EXPECT_TRUE(isPlain(plate(5.0 * std::sqrt(0.907)), FitAxis::Line));
  EXPECT_TRUE(isPlain(plate(0.01), FitAxis::Line));
}

TEST(plainSpread, LeavesPointsFarAwayToTheCarefulWay) {
  for (const double offset : {1e3, 1e8, 1e12, 1e14}) {
    std::vector<QmVec3> points;
    for (int copy = 0; copy < 40; ++copy) {
      for (const QmVec3& p : plate(5.0)) points.push_back(p + QmVec3(offset, 0.0, 0.0));
    }
    EXPECT_EQ(isPlain(points, FitAxis::Plane), offset < 1e11) << offset;
  }
}

TEST(plainSpread, LeavesPointsToTheCarefulWayWhoseSampleLiesToOneSide) {
  for (const double apart : {0.0, 1e3}) {
    std::vector<QmVec3> points = plate(5.0);
    for (int i = 0; i < 64; ++i) {
      const double turns = 0.6180339887498949 * i;
      points[static_cast<std::size_t>((turns - std::floor(turns)) * static_cast<double>(points.size()))][0] += apart;
    }
    EXPECT_EQ(isPlain(points, FitAxis::Plane), apart == 0.0);
  }
}

TEST(plainSpread, LeavesWhatCannotBeFittedToTheCarefulWay) {
  EXPECT_FALSE(isPlain(std::vector<QmVec3>(100, QmVec3(1, 2, 3)), FitAxis::Line));
  for (const double wrong : {std::numeric_limits<double>::infinity(), std::nan(""), 1e308}) {
    std::vector<QmVec3> points = plate(5.0);
    points[500][1] = wrong;
    EXPECT_FALSE(isPlain(points, FitAxis::Plane)) << wrong;
  }
}

TEST(plainSpread, TakesEveryScaleWhosePowerOfTwoIsANormalNumber) {
  for (const int exponent : {-1060, -990, -600, 0, 600, 990, 1010}) {
    std::vector<QmVec3> points = plate(5.0);
    for (QmVec3& p : points) {
      for (int k = 0; k < 3; ++k) p[k] = std::ldexp(p[k], exponent);
    }
    EXPECT_EQ(isPlain(points, FitAxis::Plane), std::abs(exponent) < 1000) << exponent;
  }
}

TEST(plainSpread, LeavesAnAxisToTheCarefulWayThatScalingMayHaveTakenTo0) {
  for (const double height : {0.0, 0x1p-900, 0x1p-100, 1.0, 0x1p600}) {
    std::vector<QmVec3> points = plate(5.0);
    for (QmVec3& p : points) p = {p[0] * 0x1p600, p[1] * 0x1p600, height};
    EXPECT_EQ(isPlain(points, FitAxis::Plane), height >= 0x1p-100) << height;
    for (QmVec3& p : points) p = {p[0] * 0x1p-600, p[1] * 0x1p-600, height};
    EXPECT_EQ(isPlain(points, FitAxis::Plane), height <= 1.0) << height;
  }
}

}  // namespace

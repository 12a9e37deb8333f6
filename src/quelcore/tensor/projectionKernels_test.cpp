// The kernels of the projection give the bits of plain loops at every width.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

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

constexpr std::int64_t kMostPoints = 256;

using Points = std::vector<double>;

/// `count` points that end with the memory they lie in: nothing beyond them may be read.
Points randomPoints(std::mt19937_64& random, std::int64_t count) {
  Points points(3 * static_cast<std::size_t>(count));
  fill(points.data(), points.size(), random);
  return points;
}

const double (*asPoints(const Points& points))[3] { return reinterpret_cast<const double(*)[3]>(points.data()); }

struct Vector {
  double x, y, z;
};

Vector times(const double rows[][4], Vector p) {
  return {rowTimes(rows[0], p.x, p.y, p.z), rowTimes(rows[1], p.x, p.y, p.z), rowTimes(rows[2], p.x, p.y, p.z)};
}

Vector pointAt(const Points& points, std::int64_t n) {
  const double* p = points.data() + 3 * n;
  return {p[0], p[1], p[2]};
}

class EveryWidth : public ::testing::TestWithParam<Width> {};

TEST_P(EveryWidth, RoundsDepthsAsAPlainLoopDoes) {
  auto random = testRandom();
  for (int round = 0; round < kRounds; ++round) {
    double motion[3][4];
    double row[4];
    fill(reinterpret_cast<double*>(motion), 12, random);
    fill(row, 4, random);
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Points points = randomPoints(random, count);
    std::vector<float> depths(static_cast<std::size_t>(count) + 1, -777.0F);
    kDepthsOfPoints.at(GetParam())(motion, row, asPoints(points), count, depths.data());
    EXPECT_EQ(depths.back(), -777.0F);
    for (std::int64_t n = 0; n < count; ++n) {
      const Vector moved = times(motion, pointAt(points, n));
      const auto expected = static_cast<float>(rowTimes(row, moved.x, moved.y, moved.z));
      ASSERT_TRUE(sameNumber(depths[static_cast<std::size_t>(n)], expected)) << n;
    }
  }
}

/// Three images of `count` pixels at the start of a cache line, with one pixel beyond.
class Images {
 public:
  explicit Images(std::int64_t count) : count_(count) {
    for (int camera = 0; camera < 3; ++camera)
      std::fill_n(reinterpret_cast<double*>(at(camera)), 2 * (kMostPoints + 4), -777.0);
  }
  double (*at(int camera))[2] { return pixels_[camera]; }
  /// All coordinates of an image, those of the pixel beyond it too.
  std::span<const double> coordinates(int camera) const {
    return {reinterpret_cast<const double*>(pixels_[camera]), static_cast<std::size_t>(2 * count_ + 2)};
  }

 private:
  std::int64_t count_;
  alignas(64) double pixels_[3][kMostPoints + 4][2];
};

/// Where each camera's w is 0 nothing is written.
std::int64_t projectPlainly(const PinholeView& view, const Points& points, std::int64_t count, Images& images) {
  std::int64_t onPlane = 0;
  for (std::int64_t n = 0; n < count; ++n) {
    const Vector moved = times(view.motion, pointAt(points, n));
    for (int camera = 0; camera < 3; ++camera) {
      const Vector uvw = times(view.projections[camera], moved);
      if (uvw.z == 0.0) {
        ++onPlane;
        continue;
      }
      images.at(camera)[n][0] = uvw.x / uvw.z;
      images.at(camera)[n][1] = uvw.y / uvw.z;
    }
  }
  return onPlane;
}

TEST_P(EveryWidth, ProjectsAsAPlainLoopDoesAndLeavesThePrincipalPlaneAlone) {
  auto random = testRandom();
  std::int64_t onPlane = 0;
  for (int round = 0; round < 3 * kRounds; ++round) {
    double P[3][4][4];
    fill(reinterpret_cast<double*>(P), 48, random);
    PinholeView view = {{}, {P[0], P[1], P[2]}};
    fill(reinterpret_cast<double*>(view.motion), 12, random);
    if (round % 3 == 0) {  // coordinates as they are, and for one camera a plane that many lie on
      for (int i = 0; i < 12; ++i) view.motion[i / 4][i % 4] = i % 5 == 0 ? 1.0 : 0.0;
      for (int i = 0; i < 4; ++i) P[random() % 3][2][i] = i == 2 ? 1.0 : 0.0;
    }
    const std::int64_t count = kAwkwardCounts[static_cast<std::size_t>(round) % std::size(kAwkwardCounts)];
    const Points points = randomPoints(random, count);
    Images expected(count);
    Images actual(count);
    const std::int64_t expectedOnPlane = projectPlainly(view, points, count, expected);
    ASSERT_EQ(kPinholePixels.at(GetParam())(view, asPoints(points), count,
                                            {{actual.at(0), actual.at(1), actual.at(2)}, round % 2 == 0}),
              expectedOnPlane);
    for (int camera = 0; camera < 3; ++camera) {
      EXPECT_TRUE(std::ranges::equal(actual.coordinates(camera), expected.coordinates(camera), sameNumber<double>));
    }
    onPlane += expectedOnPlane;
  }
  EXPECT_GT(onPlane, 20);
}

TEST_P(EveryWidth, KeepsTheSignsOfZeros) {
  auto random = testRandom();
  const auto smallWhole = [&] {
    constexpr double kNumbers[] = {0.0, -0.0, 0.0, -0.0, 1.0, -1.0};
    return kNumbers[random() % std::size(kNumbers)];
  };
  std::int64_t negative = 0;
  for (int round = 0; round < 10 * kRounds; ++round) {
    double P[3][4][4];
    PinholeView view = {{}, {P[0], P[1], P[2]}};
    for (double& entry : std::span(reinterpret_cast<double*>(P), 48)) entry = smallWhole();
    for (double& entry : std::span(reinterpret_cast<double*>(view.motion), 12)) entry = smallWhole();
    constexpr std::int64_t kCount = 17;
    Points points(3 * kCount);
    for (double& coordinate : points) coordinate = smallWhole();
    Images expected(kCount);
    Images actual(kCount);
    projectPlainly(view, points, kCount, expected);
    kPinholePixels.at(GetParam())(view, asPoints(points), kCount, {{actual.at(0), actual.at(1), actual.at(2)}, false});
    for (int camera = 0; camera < 3; ++camera) {
      EXPECT_TRUE(std::ranges::equal(actual.coordinates(camera), expected.coordinates(camera), sameNumber<double>));
    }
    float depths[kCount];
    kDepthsOfPoints.at(GetParam())(view.motion, P[0][2], asPoints(points), kCount, depths);
    for (std::int64_t n = 0; n < kCount; ++n) {
      const Vector moved = times(view.motion, pointAt(points, n));
      const auto depth = static_cast<float>(rowTimes(P[0][2], moved.x, moved.y, moved.z));
      ASSERT_TRUE(sameNumber(depths[n], depth)) << n;
      negative += depth == 0.0F && std::signbit(depth) ? 1 : 0;
    }
  }
  EXPECT_GT(negative, 100);
}

TEST_P(EveryWidth, GivesTheLastCameraToACallerWithOneArrayForAll) {
  auto random = testRandom();
  double P[3][4][4];
  for (double& entry : std::span(reinterpret_cast<double*>(P), 48)) entry = quel::testing::uniform(random, -1.0, 1.0);
  const PinholeView view = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}}, {P[0], P[1], P[2]}};
  Points points(3 * 100);
  for (double& coordinate : points) coordinate = quel::testing::uniform(random, 1.0, 2.0);
  Images one(100);
  Images three(100);
  kPinholePixels.at(GetParam())(view, asPoints(points), 100, {{one.at(0), one.at(0), one.at(0)}, false});
  kPinholePixels.at(GetParam())(view, asPoints(points), 100, {{three.at(0), three.at(1), three.at(2)}, false});
  EXPECT_EQ(std::memcmp(one.at(0), three.at(2), 100 * sizeof(double[2])), 0);
}

TEST_P(EveryWidth, CopiesAroundTheCachesWhereverThePixelsLie) {
  auto random = testRandom();
  std::vector<double> from(2 * kMostPoints);
  fill(from.data(), from.size(), random);
  for (const std::int64_t count : kAwkwardCounts) {
    for (std::size_t shift = 0; shift < 9; ++shift) {
      std::vector<double> to(2 * kMostPoints + 16, -777.0);
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

#include "quelplatform/qmMath/qmMathFit.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "quelplatform/qmMath/FitDataSets_fixture.h"
#include "quelplatform/qmMath/PrincipalAxes.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::Canary;
using quel::testing::Near;
using quel::testing::pointsOf;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

const double (*triples(const std::vector<QmVec3>& points))[3] {
  return reinterpret_cast<const double(*)[3]>(points.data());
}

struct Fit {
  std::int32_t result;
  std::array<double, 3> direction;
  std::array<double, 3> point;
};

Fit line(const std::vector<QmVec3>& points) {
  Fit fit{};
  fit.result = qmMathFit3DLine(triples(points), static_cast<std::int64_t>(points.size()), fit.direction.data(),
                               fit.point.data());
  return fit;
}

Fit plane(const std::vector<QmVec3>& points) {
  Fit fit{};
  fit.result = qmMathFit3DPlane(triples(points), static_cast<std::int64_t>(points.size()), fit.direction.data(),
                                fit.point.data());
  return fit;
}

void expectRefused(decltype(qmMathFit3DLine) fit, const std::vector<QmVec3>& points) {
  Canary<3> direction, point;
  EXPECT_EQ(fit(triples(points), static_cast<std::int64_t>(points.size()), direction, point), 0);
  EXPECT_TRUE(direction.untouched() && point.untouched());
}

TEST(qmMathFit3DLine, RunsThroughTwoPoints) {
  const Fit fit = line({{1, 2, 3}, {1, 2, 7}});
  EXPECT_EQ(fit.result, 1);
  EXPECT_THAT(fit.direction, ElementsAre(0, 0, 1));
  EXPECT_THAT(fit.point, ElementsAre(1, 2, 5));
}

TEST(qmMathFit3DLine, MinimisesTheSquaredDistances) {
  // Four corners of a 6 x 2 rectangle: the long middle line.
  const Fit fit = line({{0, 0, 5}, {6, 0, 5}, {0, 2, 5}, {6, 2, 5}});
  EXPECT_THAT(fit.direction, ElementsAre(1, 0, 0));
  EXPECT_THAT(fit.point, ElementsAre(3, 1, 5));
}

// Promise 4.
TEST(qmMathFit3DLine, NeedsTwoDistinctPoints) {
  expectRefused(qmMathFit3DLine, {});
  expectRefused(qmMathFit3DLine, {{1, 2, 3}});
  expectRefused(qmMathFit3DLine, std::vector<QmVec3>(1000, QmVec3(0.1, 0.2, 0.3)));
  std::vector<QmVec3> one(1000, QmVec3(0.1, 0.2, 1e8));
  one[777][2] = std::nextafter(1e8, 2e8);
  const Fit fit = line(one);
  EXPECT_EQ(fit.result, 1);
  EXPECT_THAT(fit.direction, ElementsAre(0, 0, 1));
}

TEST(qmMathFit3DPlane, LiesInItsPoints) {
  const Fit fit = plane({{0, 0, 4}, {2, 0, 4}, {0, 2, 4}, {2, 2, 4}});
  EXPECT_EQ(fit.result, 1);
  EXPECT_THAT(fit.direction, ElementsAre(0, 0, 1));
  EXPECT_THAT(fit.point, ElementsAre(1, 1, 4));
}

// Promise 4.
TEST(qmMathFit3DPlane, NeedsThreePointsOffALine) {
  expectRefused(qmMathFit3DPlane, {});
  expectRefused(qmMathFit3DPlane, {{1, 2, 3}, {4, 5, 6}});
  expectRefused(qmMathFit3DPlane, std::vector<QmVec3>(5, QmVec3(1, 2, 3)));
  std::vector<QmVec3> aligned;
  for (int i = 0; i < 100; ++i) aligned.push_back(QmVec3(0.1, 0.7, -0.3) * i);
  expectRefused(qmMathFit3DPlane, aligned);
  EXPECT_EQ(line(aligned).result, 1);
}

// Promise 4.
TEST(qmMathFit, RefusesNullAndNegativeCountsWithoutReading) {
  const std::vector<QmVec3> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  for (auto* fit : {qmMathFit3DLine, qmMathFit3DPlane}) {
    Canary<3> direction, point;
    EXPECT_EQ(fit(nullptr, 0, direction, point), 0);
    EXPECT_EQ(fit(nullptr, 3, direction, point), 0);
    EXPECT_EQ(fit(triples(points), -3, direction, point), 0);
    EXPECT_EQ(fit(triples(points), 3, nullptr, point), 0);
    EXPECT_EQ(fit(triples(points), 3, direction, nullptr), 0);
    EXPECT_TRUE(direction.untouched() && point.untouched());
  }
}

// Promise 4.
TEST(qmMathFit, RefusesCoordinatesThatAreNotFinite) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (std::size_t at = 0; at < 20; ++at) {
      std::mt19937_64 random(at);
      std::vector<QmVec3> points = pointsOf({20, 10, 10, 0.1}, random);
      points[at][static_cast<int>(at % 3)] = bad;
      expectRefused(qmMathFit3DLine, points);
      expectRefused(qmMathFit3DPlane, points);
    }
  }
}

// Promise 4.
TEST(qmMathFit, RefusesASpreadBeyondADouble) {
  expectRefused(qmMathFit3DLine, {{1.7e308, 0, 0}, {-1.7e308, 0, 0}, {0, 1, 0}});
  expectRefused(qmMathFit3DPlane, {{1.7e308, 0, 0}, {-1.7e308, 0, 0}, {0, 1, 0}});
}

TEST(qmMathFit, GivesTheSameForAnyScaleByAPowerOfTwo) {
  auto random = testRandom();
  const std::vector<QmVec3> points = pointsOf({50, 10, 4, 0.1}, random);
  for (const int exponent : {-900, -300, 300, 900}) {
    std::vector<QmVec3> scaled = points;
    for (QmVec3& p : scaled) p *= std::ldexp(1.0, exponent);
    EXPECT_EQ(line(scaled).direction, line(points).direction) << exponent;
    EXPECT_EQ(plane(scaled).direction, plane(points).direction) << exponent;
    EXPECT_EQ(plane(scaled).point[0], std::ldexp(plane(points).point[0], exponent)) << exponent;
  }
}

// Promise 1.
TEST(qmMathFit, KeepsTheCentroidOfCoordinatesFarSmallerThanTheOthers) {
  for (const auto& [size, small] : {std::pair{0x1p7, 3 * 0x1p-1074}, std::pair{0x1p450, 3 * 0x1p-600},
                                    std::pair{0x1p600, 3 * 0x1p-500}, std::pair{0x1p990, 3 * 0x1p-33}}) {
    std::vector<QmVec3> points;
    for (int i = 0; i < 200; ++i) points.emplace_back(size * (i % 20 - 3), size * (i / 20 - 3), small);
    EXPECT_EQ(plane(points).point[2], small) << size;
    EXPECT_THAT(plane(points).direction, ElementsAre(0, 0, 1)) << size;
  }
}

// Promise 3.
TEST(qmMathFit, TakesTheSignThatMakesTheLargestComponentPositive) {
  auto random = testRandom();
  for (int round = 0; round < 300; ++round) {
    const std::vector<QmVec3> points = pointsOf({12, 10, 4, 0.1, 0.0, 1.0}, random);
    for (const Fit& fit : {line(points), plane(points)}) {
      const auto largest = std::max_element(fit.direction.begin(), fit.direction.end(),
                                            [](double a, double b) { return std::abs(a) < std::abs(b); });
      EXPECT_GT(*largest, 0.0);
      EXPECT_THAT(std::hypot(fit.direction[0], fit.direction[1], fit.direction[2]), Near(1.0, 3e-16));
    }
  }
}

// Promise 3.
TEST(qmMathFit, TakesTheFirstOfEqualComponentsForTheSign) {
  const Fit diagonal = line({{1, -1, 0}, {-1, 1, 0}});
  EXPECT_GT(diagonal.direction[0], 0.0);
  EXPECT_EQ(diagonal.direction[0], -diagonal.direction[1]);
  EXPECT_THAT(diagonal.direction[2], SameBits(0.0));
}

TEST(qmMathFit, ReadsNothingBehindTheLastPointWhateverTheCount) {
  auto random = testRandom();
  for (std::size_t count = 3; count < 40; ++count) {
    std::vector<QmVec3> points = pointsOf({count, 10, 4, 0.5}, random);
    const Fit whole = plane(points);
    points.emplace_back(kNaN, kNaN, kNaN);  // Behind the last one: not read.
    double normal[3], center[3];
    ASSERT_EQ(qmMathFit3DPlane(triples(points), static_cast<std::int64_t>(count), normal, center), 1);
    EXPECT_THAT(normal, ::testing::ElementsAreArray(whole.direction));
    EXPECT_THAT(center, ::testing::ElementsAreArray(whole.point));
  }
}

// No line or plane nearby is better.
TEST(qmMathFit, LeavesNoBetterNeighbour) {
  auto random = testRandom();
  const auto squares = [](const std::vector<QmVec3>& points, const QmVec3& at, const QmVec3& axis, bool across) {
    double sum = 0.0;
    for (const QmVec3& p : points) {
      const double along = dot(p - at, axis);
      sum += across ? dot(p - at, p - at) - along * along : along * along;
    }
    return sum;
  };
  for (int round = 0; round < 50; ++round) {
    const std::vector<QmVec3> points = pointsOf({40, 10, 4, 0.5}, random);
    for (const bool isLine : {true, false}) {
      const Fit fit = isLine ? line(points) : plane(points);
      const QmVec3 axis(fit.direction[0], fit.direction[1], fit.direction[2]);
      const QmVec3 at(fit.point[0], fit.point[1], fit.point[2]);
      const double best = squares(points, at, axis, isLine);
      for (int other = 0; other < 20; ++other) {
        const QmVec3 turned = unit(axis + 0.01 * quel::testing::randomDirection(random));
        const QmVec3 moved = at + 0.01 * quel::testing::randomDirection(random);
        EXPECT_GE(squares(points, at, turned, isLine), best * (1.0 - 1e-12));
        EXPECT_GE(squares(points, moved, axis, isLine), best * (1.0 - 1e-12));
      }
    }
  }
}

TEST(PrincipalAxes, GivesTheEigenvectorsOfRandomMatricesInDescendingOrder) {
  auto random = testRandom();
  for (int round = 0; round < 2000; ++round) {
    double m[3][3];
    for (int i = 0; i < 3; ++i) {
      for (int j = i; j < 3; ++j) m[i][j] = m[j][i] = uniform(random, -1.0, 1.0);
    }
    const quelplatform::PrincipalAxes axes = quelplatform::principalAxes(m);
    EXPECT_TRUE(axes.value[0] >= axes.value[1] && axes.value[1] >= axes.value[2]);
    for (int k = 0; k < 3; ++k) {
      for (int i = 0; i < 3; ++i) {
        const double image = m[i][0] * axes.axis[k][0] + m[i][1] * axes.axis[k][1] + m[i][2] * axes.axis[k][2];
        EXPECT_THAT(image, Near(axes.value[k] * axes.axis[k][i], 4e-15));
      }
    }
  }
}

TEST(PrincipalAxes, KeepsADiagonalMatrixAsItIs) {
  const double m[3][3] = {{1, 0, 0}, {0, 3, 0}, {0, 0, 2}};
  const quelplatform::PrincipalAxes axes = quelplatform::principalAxes(m);
  EXPECT_THAT(axes.value, ElementsAre(3, 2, 1));
  EXPECT_THAT(axes.axis[0], ElementsAre(0, 1, 0));
  EXPECT_THAT(axes.axis[2], ElementsAre(1, 0, 0));
}

TEST(PrincipalAxes, ComesToAnEndForZeroAndForHugeEntries) {
  const double zero[3][3] = {};
  EXPECT_THAT(quelplatform::principalAxes(zero).value, ElementsAre(0, 0, 0));
  const double huge[3][3] = {{1e300, 1e300, 1e300}, {1e300, 1e300, 1e300}, {1e300, 1e300, 1e300}};
  EXPECT_THAT(quelplatform::principalAxes(huge).value[0], Near(3e300, 1e286));
}

// Promise 1: 8 roundings over the gap, and never less than 1e-13.
TEST(fitDirectionError, GrowsAsTheNextEigenvalueComesNear) {
  EXPECT_EQ(quelplatform::fitDirectionError(1.0), 1e-13);
  EXPECT_EQ(quelplatform::fitDirectionError(0x1p-20), 0x1p-29);
  EXPECT_EQ(quelplatform::fitDirectionError(0x1p-40), 0x1p-9);
}

}  // namespace

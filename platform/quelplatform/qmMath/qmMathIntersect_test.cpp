#include "quelplatform/qmMath/qmMathIntersect.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "quelplatform/prim_geom/QmVec3.h"
#include "quelplatform/qmMath/Wide_fixture.h"
#include "quelplatform/qmMath/qmMath.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::Canary;
using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::Wide;
using ::testing::ElementsAre;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

QmVec3 anyVector(std::mt19937_64& random, double size) {
  const double x = uniform(random, -size, size);
  const double y = uniform(random, -size, size);
  return {x, y, uniform(random, -size, size)};
}

struct WideVector {
  Wide v[3];
};

WideVector wideOf(const QmVec3& a) { return {{Wide(a[0]), Wide(a[1]), Wide(a[2])}}; }
WideVector operator-(const WideVector& a, const WideVector& b) {
  return {{a.v[0] - b.v[0], a.v[1] - b.v[1], a.v[2] - b.v[2]}};
}
Wide dot(const WideVector& a, const WideVector& b) { return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2]; }
Wide root(const Wide& value) { return Wide(sqrt(value)); }

/// Distance of p from a plane.
double off(const QmVec3& p, const QmVec3& at, const QmVec3& normal) {
  const WideVector n = wideOf(normal);
  return std::abs(Wide(dot(wideOf(p) - wideOf(at), n) / root(dot(n, n))).get_d());
}

// --- Unit vectors ----------------------------------------------------------------------------------------------------

TEST(qmMathUnitVec3, HasTheBitsOfThePlainQuotient) {
  auto random = testRandom();
  for (int round = 0; round < 10000; ++round) {
    const QmVec3 a = anyVector(random, 1e3);
    QmVec3 out;
    ASSERT_EQ(qmMathUnitVec3(a.v, out.v), 1);
    ASSERT_EQ(std::memcmp(&out, std::data({unit(a)}), sizeof(out)), 0);
  }
}

TEST(qmMathUnitVec3, WorksWhereSquaresOverOrUnderflow) {
  for (const double size : {1e-320, 1e-200, 1e200, 1.7e308}) {
    const double in[3] = {0.0, -size, 0.0};
    double out[3];
    EXPECT_EQ(qmMathUnitVec3(in, out), 1);
    EXPECT_THAT(out, ElementsAre(0, -1, 0));
  }
}

TEST(qmMathUnitVec3, LeavesZeroAndWhatIsNotFiniteAndSaysSo) {
  double zero[3] = {0, 0, 0};
  EXPECT_EQ(qmMathUnitVec3(zero, zero), 0);
  EXPECT_THAT(zero, ElementsAre(0, 0, 0));
  double infinite[3] = {1, kInfinity, 2};
  EXPECT_EQ(qmMathUnitVec3(infinite, infinite), 0);
  EXPECT_THAT(infinite, ElementsAre(1, kInfinity, 2));
}

// --- Two planes ------------------------------------------------------------------------------------------------------

TEST(qmMath2PlanesIntersect, GivesTheCommonLineNearestToTheMiddleOfThePoints) {
  const double p1[3] = {5, 6, 3}, n1[3] = {0, 0, 2}, p2[3] = {1, 8, 5}, n2[3] = {4, 0, 0};
  double point[3], direction[3];
  ASSERT_EQ(qmMath2PlanesIntersect(p1, n1, p2, n2, point, direction), 1);
  EXPECT_THAT(point, ElementsAre(1, 7, 3));
  EXPECT_THAT(direction, ElementsAre(0, 1, 0));  // n1 x n2.
}

// Promises 2 and 3.
TEST(qmMath2PlanesIntersect, RefusesExactlyParallelPlanesOnly) {
  const double p1[3] = {0, 0, 0}, p2[3] = {0, 0, 1}, n1[3] = {0.1, 0.2, 0.3};
  for (const double factor : {1.0, -1.0, 0.5, 4.0}) {
    const double n2[3] = {factor * n1[0], factor * n1[1], factor * n1[2]};
    Canary<3> point, direction;
    EXPECT_EQ(qmMath2PlanesIntersect(p1, n1, p2, n2, point, direction), 0) << factor;
    EXPECT_TRUE(point.untouched() && direction.untouched());
  }
  const double nearly[3] = {0.1, 0.2, std::nextafter(0.3, 1.0)};
  double point[3], direction[3];
  ASSERT_EQ(qmMath2PlanesIntersect(p1, n1, p2, nearly, point, direction), 1);
  EXPECT_THAT(std::abs(direction[0] * 0.1 + direction[1] * 0.2 + direction[2] * 0.3), Near(0.0, 1e-16));
}

// Promise 3.
TEST(qmMath2PlanesIntersect, RefusesNormalsOfLengthZeroAndWhatIsNotFinite) {
  const double p[3] = {1, 2, 3}, zero[3] = {0, 0, 0}, n[3] = {1, 0, 0}, m[3] = {0, 1, 0}, bad[3] = {kNaN, 0, 0};
  Canary<3> point, direction;
  EXPECT_EQ(qmMath2PlanesIntersect(p, zero, p, n, point, direction), 0);
  EXPECT_EQ(qmMath2PlanesIntersect(p, bad, p, n, point, direction), 0);
  EXPECT_EQ(qmMath2PlanesIntersect(bad, n, p, m, point, direction), 0);
  EXPECT_EQ(qmMath2PlanesIntersect(nullptr, n, p, m, point, direction), 0);
  EXPECT_EQ(qmMath2PlanesIntersect(p, n, p, m, point, nullptr), 0);
  EXPECT_TRUE(point.untouched() && direction.untouched());
}

// Promise 1.
TEST(qmMath2PlanesIntersect, LiesInBothPlanesToTheLastDigitEvenWhenTheyAreNearlyParallel) {
  auto random = testRandom();
  for (int round = 0; round < 3000; ++round) {
    const QmVec3 p1 = anyVector(random, 100), p2 = anyVector(random, 100), n1 = anyVector(random, 1);
    const QmVec3 n2 = n1 + std::pow(10.0, uniform(random, -7, 0)) * anyVector(random, 1);
    QmVec3 point, direction;
    ASSERT_EQ(qmMath2PlanesIntersect(p1.v, n1.v, p2.v, n2.v, point.v, direction.v), 1);
    const double size = 100.0 + length(point);
    EXPECT_LE(off(point, p1, n1), 2e-16 * size);
    EXPECT_LE(off(point, p2, n2), 2e-16 * size);
    EXPECT_LE(off(direction, QmVec3(), n1), 4e-16);
    EXPECT_LE(off(direction, QmVec3(), n2), 4e-16);
  }
}

// --- Three planes ----------------------------------------------------------------------------------------------------

TEST(qmMath3DPlanePointNormalToCoeff, GivesTheNormalAndMinusTheDistance) {
  const double point[3] = {1, 2, 3}, normal[3] = {4, 5, 6};
  double c[4];
  qmMath3DPlanePointNormalToCoeff(point, normal, c);
  EXPECT_THAT(c, ElementsAre(4, 5, 6, -32));
  Canary<4> untouched;
  qmMath3DPlanePointNormalToCoeff(nullptr, normal, untouched);
  qmMath3DPlanePointNormalToCoeff(point, nullptr, untouched);
  qmMath3DPlanePointNormalToCoeff(point, normal, nullptr);
  EXPECT_TRUE(untouched.untouched());
}

// Promise 1.
TEST(qmMath3DPlanePointNormalToCoeff, RoundsTheDistanceOnce) {
  const double point[3] = {1e8, 1.0, -1e8}, normal[3] = {1e8, 0.5, 1e8};  // Products cancel but for 0.5.
  double c[4];
  qmMath3DPlanePointNormalToCoeff(point, normal, c);
  EXPECT_EQ(c[3], -0.5);
}

TEST(qmMath3PlanesIntersect, GivesTheCommonPoint) {
  const double a[4] = {2, 0, 0, -6}, b[4] = {0, 1, 0, 4}, c[4] = {1, 1, 1, 0};
  double point[3];
  ASSERT_EQ(qmMath3PlanesIntersect(a, b, c, point), 1);
  EXPECT_THAT(point, ElementsAre(3, -4, 1));
}

// Promises 2 and 3.
TEST(qmMath3PlanesIntersect, RefusesNormalsInAPlane) {
  const double a[4] = {0.1, 0.7, 0.3, 1}, b[4] = {0.5, -0.25, 2, 2};
  const double c[4] = {0.1 * 4, 0.7 * 4, 0.3 * 4, 3}, zero[4] = {0, 0, 0, 1}, bad[4] = {0, 0, 1, kNaN};
  const double sum[4] = {0, 3, 0, 1}, x[4] = {1, 1, 0, 0}, y[4] = {1, -2, 0, 0};
  Canary<3> point;
  EXPECT_EQ(qmMath3PlanesIntersect(a, b, c, point), 0);
  EXPECT_EQ(qmMath3PlanesIntersect(a, b, zero, point), 0);
  EXPECT_EQ(qmMath3PlanesIntersect(sum, x, y, point), 0);
  EXPECT_EQ(qmMath3PlanesIntersect(x, y, bad, point), 0);
  EXPECT_EQ(qmMath3PlanesIntersect(x, y, nullptr, point), 0);
  EXPECT_TRUE(point.untouched());
}

// Promise 1.
TEST(qmMath3PlanesIntersect, IsRightToTheRoundingOfTheCoefficients) {
  auto random = testRandom();
  for (int round = 0; round < 3000; ++round) {
    const double far = std::pow(10.0, uniform(random, 0, 8));
    double c[3][4];
    for (auto& plane : c) {
      qmMath3DPlanePointNormalToCoeff(anyVector(random, far).v, anyVector(random, 1).v, plane);
    }
    QmVec3 point;
    ASSERT_EQ(qmMath3PlanesIntersect(c[0], c[1], c[2], point.v), 1);
    for (const auto& plane : c) {
      const QmVec3 n(plane[0], plane[1], plane[2]);
      const Wide rest = dot(wideOf(point), wideOf(n)) + Wide(plane[3]);
      EXPECT_LE(std::abs(rest.get_d()), 2.3e-16 * length(n) * length(point));
    }
  }
}

WideVector cross(const WideVector& a, const WideVector& b) {
  WideVector result;
  for (int i = 0; i < 3; ++i) {
    const int j = (i + 1) % 3, k = (i + 2) % 3;
    result.v[i] = a.v[j] * b.v[k] - a.v[k] * b.v[j];
  }
  return result;
}

/// How far `point` misses the point common to three planes, beside its rounding, in units of (D + |point|) / s.
double missOfThree(const double (&c)[3][4], const QmVec3& point) {
  WideVector n[3];
  for (int k = 0; k < 3; ++k) n[k] = wideOf({c[k][0], c[k][1], c[k][2]});
  const Wide determinant = dot(n[0], cross(n[1], n[2]));
  Wide volume = abs(determinant), distance = 0;
  for (int k = 0; k < 3; ++k) {
    const Wide length = root(dot(n[k], n[k]));
    volume = volume / length;
    distance = std::max(distance, Wide(abs(Wide(c[k][3])) / length));
  }
  double most = 0.0;
  for (int i = 0; i < 3; ++i) {
    Wide exact;
    for (int k = 0; k < 3; ++k) exact = exact - c[k][3] * cross(n[(k + 1) % 3], n[(k + 2) % 3]).v[i] / determinant;
    const double miss = Wide(abs(Wide(exact - point[i]))).get_d() - 0x1p-53 * std::abs(point[i]);
    most = std::max(most, miss * volume.get_d() / (distance.get_d() + length(point)));
  }
  return most;
}

// Its digits are as many as its header says.
TEST(qmMath3PlanesIntersect, LosesDigitsAsTheNormalsComeToLieInAPlaneAndNoFaster) {
  auto random = testRandom();
  double most = 0.0;
  for (int round = 0; round < 20000; ++round) {
    const double near = round % 2 == 0 ? 1.0 : std::exp2(uniform(random, -50, 0)),
                 off = std::exp2(uniform(random, -50, 0));
    const QmVec3 first = anyVector(random, 1), second = first + near * anyVector(random, 1);
    const QmVec3 third = uniform(random, -1, 1) * first + uniform(random, -1, 1) * second + off * anyVector(random, 1);
    double c[3][4];
    std::copy_n(first.v, 3, c[0]);
    std::copy_n(second.v, 3, c[1]);
    std::copy_n(third.v, 3, c[2]);
    for (auto& plane : c) plane[3] = uniform(random, -1, 1);
    QmVec3 point;
    if (qmMath3PlanesIntersect(c[0], c[1], c[2], point.v) == 1) most = std::max(most, missOfThree(c, point));
  }
  EXPECT_LE(most, quelplatform::kThreePlanesError);
  EXPECT_GT(most, quelplatform::kThreePlanesError / 1024);
}

TEST(qmMath3PlanesIntersect, TakesCoefficientsOfAnySize) {
  const double a[4] = {2e-200, 0, 0, -6e-200}, b[4] = {0, 1e250, 0, 4e250}, c[4] = {1, 1, 1, 0};
  double point[3];
  ASSERT_EQ(qmMath3PlanesIntersect(a, b, c, point), 1);
  EXPECT_THAT(point, ElementsAre(Near(3.0, 1e-15), Near(-4.0, 1e-15), Near(1.0, 1e-15)));
}

// --- Lines -----------------------------------------------------------------------------------------------------------

TEST(qmMathIntersect3DLines, GivesThePointsOfClosestApproach) {
  const double p1[3] = {7, 0, 0}, d1[3] = {3, 0, 0}, p2[3] = {0, -5, 2}, d2[3] = {0, 0.5, 0};
  double a[3], b[3];
  ASSERT_EQ(qmMathIntersect3DLines(p1, d1, p2, d2, a, b), 1);
  EXPECT_THAT(a, ElementsAre(0, 0, 0));
  EXPECT_THAT(b, ElementsAre(0, 0, 2));
}

// Promises 2 and 3.
TEST(qmMathIntersect3DLines, RefusesParallelLinesAndDirectionsOfLengthZero) {
  const double p[3] = {0, 0, 0}, q[3] = {0, 1, 0}, d[3] = {0.1, 0.2, 0.3}, e[3] = {-0.2, -0.4, -0.6};
  const double zero[3] = {0, 0, 0}, other[3] = {1, 0, 0}, bad[3] = {kInfinity, 0, 0};
  Canary<3> a, b;
  EXPECT_EQ(qmMathIntersect3DLines(p, d, q, e, a, b), 0);
  EXPECT_EQ(qmMathIntersect3DLines(p, zero, q, e, a, b), 0);
  EXPECT_EQ(qmMathIntersect3DLines(bad, d, q, other, a, b), 0);
  EXPECT_EQ(qmMathIntersect3DLines(p, nullptr, q, e, a, b), 0);
  EXPECT_EQ(qmMathIntersect3DLines(p, d, q, other, a, nullptr), 0);
  EXPECT_TRUE(a.untouched() && b.untouched());
}

// Promise 1.
TEST(qmMathIntersect3DLines, ConnectsTheLinesAtRightAngles) {
  auto random = testRandom();
  for (int round = 0; round < 3000; ++round) {
    const QmVec3 p1 = anyVector(random, 100), p2 = anyVector(random, 100), d1 = unit(anyVector(random, 1));
    const QmVec3 d2 = unit(d1 + std::pow(10.0, uniform(random, -4, 0)) * anyVector(random, 1));
    QmVec3 a, b;
    ASSERT_EQ(qmMathIntersect3DLines(p1.v, d1.v, p2.v, d2.v, a.v, b.v), 1);
    const double size = length(a) + length(b) + 100.0;
    EXPECT_LE(length(cross(a - p1, d1)), 1e-15 * size);
    EXPECT_LE(length(cross(b - p2, d2)), 1e-15 * size);
    EXPECT_LE(std::abs(dot(b - a, d1)), 4e-16 * size);
    EXPECT_LE(std::abs(dot(b - a, d2)), 4e-16 * size);
  }
}

// --- A plane and a line ----------------------------------------------------------------------------------------------

TEST(qmMathPlaneIntersectLine, GivesTheCommonPoint) {
  const double p[3] = {9, 9, 4}, n[3] = {0, 0, -3}, q[3] = {1, 2, 0}, d[3] = {1, 0, 2};
  double point[3];
  ASSERT_EQ(qmMathPlaneIntersectLine(p, n, q, d, point), 1);
  EXPECT_THAT(point, ElementsAre(3, 2, 4));
}

// Promises 2 and 3.
TEST(qmMathPlaneIntersectLine, RefusesALineParallelToThePlaneOrInIt) {
  const double p[3] = {0, 0, 4}, n[3] = {0.1, -0.1, 0.3}, q[3] = {1, 2, 0}, d[3] = {7, 7, 0}, zero[3] = {0, 0, 0};
  const double other[3] = {0, 0, 1}, bad[3] = {0, kNaN, 0};
  Canary<3> point;
  EXPECT_EQ(qmMathPlaneIntersectLine(p, n, q, d, point), 0);
  EXPECT_EQ(qmMathPlaneIntersectLine(p, n, p, d, point), 0);
  EXPECT_EQ(qmMathPlaneIntersectLine(p, zero, q, d, point), 0);
  EXPECT_EQ(qmMathPlaneIntersectLine(p, n, q, zero, point), 0);
  EXPECT_EQ(qmMathPlaneIntersectLine(bad, n, q, other, point), 0);
  EXPECT_EQ(qmMathPlaneIntersectLine(p, n, q, nullptr, point), 0);
  EXPECT_TRUE(point.untouched());
}

// Promise 1.
TEST(qmMathPlaneIntersectLine, LiesInThePlaneAndOnTheLine) {
  auto random = testRandom();
  for (int round = 0; round < 3000; ++round) {
    const QmVec3 p = anyVector(random, 100), n = anyVector(random, 1), q = anyVector(random, 100);
    const QmVec3 d = unit(anyVector(random, 1));
    QmVec3 point;
    ASSERT_EQ(qmMathPlaneIntersectLine(p.v, n.v, q.v, d.v, point.v), 1);
    const double size = 100.0 + length(point);
    EXPECT_LE(off(point, p, n), 2e-16 * size);
    EXPECT_LE(length(cross(point - q, d)), 1e-15 * size);
  }
}

}  // namespace

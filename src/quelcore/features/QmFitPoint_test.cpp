#include "quelcore/features/QmFitPoint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "quelcore/features/features_fixture.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::fieldAt;
using quel::testing::Near;
using quel::testing::planeAt;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writesNowhere;
using ::testing::IsEmpty;

QmVec3 pointOf(const QmFitPoint& point) {
  QmVec3 p;
  EXPECT_TRUE(point.GetPoint(p));
  return p;
}

QmVec3 directionOf(const QmFitPoint& point) {
  QmVec3 d;
  EXPECT_TRUE(point.GetDirection(d));
  return d;
}

TEST(QmFitPoint, IsTheValidOriginLookingUpWhenNew) {
  const QmFitPoint point;
  EXPECT_TRUE(point.IsValid());
  EXPECT_EQ(pointOf(point), QmVec3(0, 0, 0));
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, 1));
  EXPECT_EQ(point.GetDistance(), 0.0);
}

TEST(QmFitPoint, HoldsItsFieldsInTheDeclaredOrder) {
  QmFitPoint point;
  ASSERT_TRUE(point.CalculatePointByLineInteserction({0, 5, 0}, {0, 1, 0}, {5, 0, 2}, {1, 0, 0}));
  EXPECT_TRUE(fieldAt<bool>(point, 8));
  EXPECT_EQ(fieldAt<QmVec3>(point, 16), QmVec3(0, 0, 1));
  EXPECT_EQ(fieldAt<QmVec3>(point, 40), QmVec3(0, 0, -1));
  EXPECT_EQ(fieldAt<double>(point, 64), 2.0);
  EXPECT_EQ(sizeof(point), 72U);
}

// --- Planes ----------------------------------------------------------------------------------------------------------

TEST(QmFitPoint, IsCommonToThreePlanesAndKeepsItsDirection) {
  QmFitPoint point;
  EXPECT_TRUE(point.CalculatePointBy3PlanesIntersection(planeAt({1, 9, 9}, {2, 0, 0}), planeAt({9, 2, 9}, {0, -1, 0}),
                                                        planeAt({9, 9, 3}, {0, 0, 5})));
  EXPECT_EQ(pointOf(point), QmVec3(1, 2, 3));
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, 1));
}

TEST(QmFitPoint, FailsForPlanesWithoutACommonPoint) {
  QmFitPoint point;
  const QmPlane x = planeAt({1, 9, 9}, {1, 0, 0}), y = planeAt({9, 2, 9}, {0, 1, 0});
  EXPECT_FALSE(point.CalculatePointBy3PlanesIntersection(x, y, planeAt({5, 0, 0}, {1, 1, 0})));
  EXPECT_FALSE(point.IsValid());
  EXPECT_EQ(pointOf(point), QmVec3());
  EXPECT_TRUE(point.CalculatePointBy3PlanesIntersection(x, y, planeAt({0, 0, 0}, {0, 0, 1})));
  EXPECT_TRUE(point.IsValid());
}

TEST(QmFitPoint, MeetsAPlaneAlongALine) {
  QmFitPoint point;
  EXPECT_TRUE(point.CalculatePointByLinePlaneIntersection(planeAt({0, 0, 4}, {0, 0, 1}), {1, 2, 0}, {0, 0, -3}));
  EXPECT_EQ(pointOf(point), QmVec3(1, 2, 4));
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, -1));
}

TEST(QmFitPoint, TakesTheDirectionOfALineThatMissesThePlane) {
  QmFitPoint point;
  EXPECT_FALSE(point.CalculatePointByLinePlaneIntersection(planeAt({0, 0, 4}, {0, 0, 1}), {1, 2, 0}, {5, 0, 0}));
  EXPECT_FALSE(point.IsValid());
  EXPECT_EQ(directionOf(point), QmVec3(1, 0, 0));
  EXPECT_EQ(pointOf(point), QmVec3());
}

TEST(QmFitPoint, ProjectsOntoAPlaneByItsNormalAsItStands) {
  QmFitPoint point;
  QmPlane plane = planeAt({0, 0, 4}, {0, 0, 1});
  QmVec3 q(1, 2, 9);
  EXPECT_TRUE(point.CalculatePointByProjectionOnPlane(plane, q));
  EXPECT_EQ(pointOf(point), QmVec3(1, 2, 4));
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, 1));
  plane = planeAt({0, 0, 4}, {0, 0, -2});
  EXPECT_TRUE(point.CalculatePointByProjectionOnPlane(plane, q));
  EXPECT_EQ(pointOf(point), QmVec3(1, 2, -11));  // 9 - (5 * -2) * -2.
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, -2));
}

// --- Lines -----------------------------------------------------------------------------------------------------------

TEST(QmFitPoint, LiesMidwayBetweenSkewLines) {
  QmFitPoint point;
  EXPECT_TRUE(point.CalculatePointByLineInteserction({7, 0, 0}, {3, 0, 0}, {0, -5, 2}, {0, 0.5, 0}));
  EXPECT_EQ(pointOf(point), QmVec3(0, 0, 1));
  EXPECT_EQ(point.GetDistance(), 2.0);
  EXPECT_EQ(directionOf(point), QmVec3(0, 0, 1));
}

TEST(QmFitPoint, LiesWhereLinesIntersect) {
  QmFitPoint point;
  EXPECT_TRUE(point.CalculatePointByLineInteserction({1, 2, 0}, {0, 0, 1}, {0, 2, 3}, {1, 0, 0}));
  EXPECT_EQ(pointOf(point), QmVec3(1, 2, 3));
  EXPECT_EQ(point.GetDistance(), 0.0);
}

TEST(QmFitPoint, HasNoDistanceOnLinesThatIntersectToRounding) {
  auto random = testRandom();
  const auto any = [&] { return QmVec3(uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -9, 9)); };
  for (int round = 0; round < 500; ++round) {
    const QmVec3 common = any(), d1 = any(), d2 = any();
    QmFitPoint point;
    ASSERT_TRUE(point.CalculatePointByLineInteserction(common + 2.0 * d1, d1, common - 3.0 * d2, d2));
    EXPECT_THAT(point.GetDistance(), Near(0.0, 3e-13));
    EXPECT_THAT(dot(directionOf(point), d1), Near(0.0, 1e-13));
  }
}

TEST(QmFitPoint, IsZeroForParallelLines) {
  QmFitPoint point;
  ASSERT_TRUE(point.CalculatePointByLineInteserction({7, 0, 0}, {3, 0, 0}, {0, -5, 2}, {0, 0.5, 0}));
  EXPECT_FALSE(point.CalculatePointByLineInteserction({7, 0, 0}, {3, 0, 0}, {0, -5, 2}, {-1, 0, 0}));
  EXPECT_FALSE(point.IsValid());
  EXPECT_EQ(pointOf(point), QmVec3());
  EXPECT_EQ(directionOf(point), QmVec3());
  EXPECT_EQ(point.GetDistance(), 0.0);
}

TEST(QmFitPoint, ProjectsOntoALineByTheDirectionAsItIsGiven) {
  QmFitPoint point;
  QmVec3 p0, d(2, 0, 0), q(1, 1, 0);
  EXPECT_TRUE(point.CalculatePointByProjectionOnLine(p0, d, q));
  EXPECT_EQ(pointOf(point), QmVec3(4, 0, 0));
  EXPECT_EQ(directionOf(point), QmVec3(1, 0, 0));
  QmVec3 start(0, 5, 1), along(0, 0, -1), other(3, 3, 3);
  EXPECT_TRUE(point.CalculatePointByProjectionOnLine(start, along, other));
  EXPECT_EQ(pointOf(point), QmVec3(0, 5, 3));
  QmVec3 zero;
  EXPECT_TRUE(point.CalculatePointByProjectionOnLine(start, zero, other));
  EXPECT_EQ(pointOf(point), start);
  EXPECT_EQ(directionOf(point), QmVec3());
}

// --- Cylinder and symmetry -------------------------------------------------------------------------------------------

TEST(QmFitPoint, IsTheLowEndOfACylinder) {
  QmFitPoint point;
  QmCylinder cylinder({0, 2, 0}, {1, 2, 3}, 4.0, 9.0);
  EXPECT_TRUE(point.CalculatePointByCylinder(cylinder));
  EXPECT_EQ(pointOf(point), QmVec3(1, -6, 3));
  EXPECT_EQ(directionOf(point), QmVec3(0, 2, 0));  // As it stands.
}

bool bySymmetry(QmFitPoint& point, std::vector<QmVec3> points, std::vector<QmVec3> directions) {
  return point.CalculatePointBySymmetry(points, directions);
}

TEST(QmFitPoint, IsTheCentroidWithTheMeanDirection) {
  QmFitPoint point;
  EXPECT_TRUE(bySymmetry(point, {{1, 0, 0}, {3, 0, 0}, {2, 3, 3}}, {{0, 1, 0}, {0, 3, 0}}));
  EXPECT_EQ(pointOf(point), QmVec3(2, 1, 1));
  EXPECT_EQ(directionOf(point), QmVec3(0, 1, 0));
}

TEST(QmFitPoint, StaysValidAndAsItWasWithTooFewPoints) {
  QmFitPoint point;
  QmVec3 start(0, 5, 1), along(1, 0, 0), other(3, 3, 3);
  ASSERT_TRUE(point.CalculatePointByProjectionOnLine(start, along, other));
  ASSERT_FALSE(point.CalculatePointByLinePlaneIntersection(planeAt({0, 0, 4}, {0, 0, 1}), {1, 2, 0}, {1, 0, 0}));
  ASSERT_FALSE(point.IsValid());
  EXPECT_FALSE(bySymmetry(point, {{1, 1, 1}}, {{0, 1, 0}, {0, 1, 0}}));
  EXPECT_TRUE(point.IsValid());
  EXPECT_FALSE(bySymmetry(point, {{1, 1, 1}, {2, 2, 2}}, {{0, 1, 0}}));
  EXPECT_FALSE(bySymmetry(point, {}, {}));
  EXPECT_TRUE(point.IsValid());
  EXPECT_EQ(pointOf(point), QmVec3(3, 5, 1));
  EXPECT_EQ(directionOf(point), QmVec3(1, 0, 0));
}

TEST(QmFitPoint, HasNoDirectionWhereDirectionsCancel) {
  QmFitPoint point;
  EXPECT_TRUE(bySymmetry(point, {{1, 0, 0}, {3, 0, 0}}, {{0, 1, 0}, {0, -1, 0}}));
  EXPECT_EQ(directionOf(point), QmVec3());
}

TEST(QmFitPoint, SumsInTheOrderOfTheInputAndDividesOnce) {
  auto random = testRandom();
  std::vector<QmVec3> points(17), directions(5);
  for (auto* list : {&points, &directions}) {
    for (QmVec3& p : *list) p = {uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -9, 9)};
  }
  QmFitPoint point;
  ASSERT_TRUE(bySymmetry(point, points, directions));
  double sum[3] = {}, along[3] = {};
  for (int i = 0; i < 3; ++i) {
    for (const QmVec3& p : points) sum[i] += p[i];
    for (const QmVec3& d : directions) along[i] += d[i];
    EXPECT_EQ(pointOf(point)[i], sum[i] / 17.0);
  }
  EXPECT_EQ(directionOf(point), unit(QmVec3(along[0] / 17.0, along[1] / 17.0, along[2] / 17.0)));
}

TEST(QmFitPoint, IsValidAgainByWhatCannotFail) {
  QmPlane plane = planeAt({0, 0, 4}, {0, 0, 1});
  QmCylinder cylinder({0, 2, 0}, {1, 2, 3}, 4.0, 9.0);
  QmVec3 start(0, 5, 1), along(1, 0, 0), other(3, 3, 3);
  const auto afterFailure = [&](auto calculate) {
    QmFitPoint point;
    ASSERT_FALSE(point.CalculatePointByLinePlaneIntersection(plane, start, along));
    ASSERT_FALSE(point.IsValid());
    EXPECT_TRUE(calculate(point));
    EXPECT_TRUE(point.IsValid());
  };
  afterFailure([&](QmFitPoint& point) { return point.CalculatePointByCylinder(cylinder); });
  afterFailure([&](QmFitPoint& point) { return point.CalculatePointByProjectionOnLine(start, along, other); });
  afterFailure([&](QmFitPoint& point) { return point.CalculatePointByProjectionOnPlane(plane, other); });
  afterFailure([&](QmFitPoint& point) { return bySymmetry(point, {start, other}, {along, along}); });
}

TEST(QmFitPoint, KeepsTheDistanceOfTheLinesInEveryOtherCalculation) {
  QmFitPoint point;
  ASSERT_TRUE(point.CalculatePointByLineInteserction({7, 0, 0}, {3, 0, 0}, {0, -5, 2}, {0, 0.5, 0}));
  QmPlane plane = planeAt({0, 0, 4}, {0, 0, 1});
  QmCylinder cylinder({0, 2, 0}, {1, 2, 3}, 4.0, 9.0);
  QmVec3 start(0, 5, 1), along(0, 0, 1), other(3, 3, 3);
  const QmPlane x = planeAt({1, 0, 0}, {1, 0, 0}), y = planeAt({0, 1, 0}, {0, 1, 0});
  EXPECT_TRUE(point.CalculatePointBy3PlanesIntersection(x, y, plane));
  EXPECT_TRUE(point.CalculatePointByCylinder(cylinder));
  EXPECT_TRUE(point.CalculatePointByLinePlaneIntersection(plane, start, along));
  EXPECT_TRUE(point.CalculatePointByProjectionOnLine(start, along, other));
  EXPECT_TRUE(point.CalculatePointByProjectionOnPlane(plane, other));
  EXPECT_TRUE(bySymmetry(point, {start, other}, {along, along}));
  EXPECT_EQ(point.GetDistance(), 2.0);
}

// --- The object ------------------------------------------------------------------------------------------------------

TEST(QmFitPoint, GivesNothingToANullOutput) {
  const QmFitPoint point;
  EXPECT_FALSE(writesNowhere(point, &QmFitPoint::GetPoint));
  EXPECT_FALSE(writesNowhere(point, &QmFitPoint::GetDirection));
}

TEST(QmFitPoint, IsCopiedWithAllItsFields) {
  QmFitPoint point;
  ASSERT_TRUE(point.CalculatePointByLineInteserction({7, 0, 0}, {3, 0, 0}, {0, -5, 2}, {0, 0.5, 0}));
  const QmFitPoint copy(point);
  QmFitPoint assigned;
  assigned = point;
  for (const QmFitPoint& other : {copy, assigned}) {
    EXPECT_EQ(pointOf(other), QmVec3(0, 0, 1));
    EXPECT_EQ(other.GetDistance(), 2.0);
    EXPECT_TRUE(other.IsValid());
  }
}

TEST(QmFitPoint, LogsNothing) {
  const quel::testing::RecordingLog log;
  QmFitPoint point;
  point.CalculatePointByLineInteserction({}, {}, {}, {});
  point.CalculatePointBy3PlanesIntersection({}, {}, {});
  bySymmetry(point, {}, {});
  EXPECT_THAT(log.records(), IsEmpty());
}

// --- Directions of any length ----------------------------------------------------------------------------------------

constexpr double kShort = 0x1p-540;  // its square underflows to 0
constexpr double kLong = 0x1p+540;   // its square overflows

TEST(QmFitPoint, MakesDirectionsUnitHoweverShortOrLong) {
  const QmVec3 d(3.0, -4.0, 12.0);
  const QmVec3 expected = d / 13.0;
  for (const double length : {kShort, 0x1p-1060, 0x1p-500, 1.0, 0x1p+500, kLong, 0x1p+1019}) {
    QmFitPoint point;
    QmVec3 along = length * d;
    point.CalculatePointByLinePlaneIntersection(planeAt({0, 0, 0}, {0, 0, 1}), {0, 0, 5}, along);
    EXPECT_EQ(directionOf(point), expected) << length;
    QmVec3 zero;
    point.CalculatePointByProjectionOnLine(zero, along, zero);
    EXPECT_EQ(directionOf(point), expected) << length;
    std::vector<QmVec3> points(2);
    std::vector<QmVec3> directions = {along, along};
    if (length < 0x1p+1019) {  // two of the longest have no sum
      ASSERT_TRUE(point.CalculatePointBySymmetry(points, directions));
      EXPECT_EQ(directionOf(point), expected) << length;
    }
  }
}

TEST(QmFitPoint, MakesDirectionsUnitWhicheverTheirLongestComponent) {
  constexpr double kSmall = 0x1p-530;  // scaled by it, the others overflow
  for (int axis = 0; axis < 3; ++axis) {
    for (const double length : {0x1p-540, 0x1p+800}) {
      QmVec3 along(kSmall * length, kSmall * length, kSmall * length);
      along[axis] = -length;
      QmVec3 expected(kSmall, kSmall, kSmall);
      expected[axis] = -1.0;
      QmFitPoint point;
      QmVec3 zero;
      point.CalculatePointByProjectionOnLine(zero, along, zero);
      EXPECT_EQ(directionOf(point), expected) << axis << ' ' << length;
    }
  }
}

TEST(QmFitPoint, FindsTheDirectionAcrossLinesHoweverShortOrLongTheirs) {
  for (const double first : {kShort, 1.0, kLong}) {
    for (const double second : {kShort, 1.0, kLong}) {
      QmFitPoint point;
      EXPECT_TRUE(point.CalculatePointByLineInteserction({0, 0, 0}, first * QmVec3(3, 4, 0), {0, 0, 2},
                                                         second * QmVec3(-4, 3, 0)));
      EXPECT_EQ(directionOf(point), QmVec3(0, 0, 1)) << first << ' ' << second;
      EXPECT_EQ(point.GetDistance(), 2.0);
    }
  }
}

TEST(QmFitPoint, GivesTheZeroDirectionForParallelLinesHoweverLong) {
  for (const double length : {1e-200, 1e-161, 1.0, 1e160, 1e200, 1e300}) {
    QmFitPoint point;
    const QmVec3 d = length * QmVec3(1, 2, 3);
    EXPECT_FALSE(point.CalculatePointByLineInteserction({0, 0, 0}, d, {5, 0, 0}, 2.0 * d)) << length;
    EXPECT_EQ(directionOf(point), QmVec3(0, 0, 0)) << length;
  }
}

TEST(QmFitPoint, KeepsTheBitsOfThePlainQuotientWhereNothingOverOrUnderflows) {
  auto random = testRandom();
  for (int n = 0; n < 100000; ++n) {
    const double size = std::exp2(uniform(random, -500.0, 500.0));
    QmVec3 d = size * QmVec3(uniform(random, -1.0, 1.0), uniform(random, -1.0, 1.0), uniform(random, -1.0, 1.0));
    const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    QmFitPoint point;
    QmVec3 zero;
    point.CalculatePointByProjectionOnLine(zero, d, zero);
    ASSERT_EQ(directionOf(point), QmVec3(d[0] / length, d[1] / length, d[2] / length));
  }
}

}  // namespace

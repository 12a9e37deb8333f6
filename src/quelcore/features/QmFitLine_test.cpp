#include "quelcore/features/QmFitLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <map>

#include "quelcore/features/features_fixture.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::fieldAt;
using quel::testing::planeAt;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writesNowhere;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Points = std::vector<QmVec3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Points linePoints(const QmFitLine& line) {
  Points points = {{7, 7, 7}};
  const bool any = line.GetLinePoints(points);
  EXPECT_EQ(any, !points.empty());
  return points;
}

QmVec3 pointOf(const QmFitLine& line) {
  QmVec3 point;
  EXPECT_TRUE(line.GetPoint(point));
  return point;
}

QmVec3 directionOf(const QmFitLine& line) {
  QmVec3 direction;
  EXPECT_TRUE(line.GetDirection(direction));
  return direction;
}

bool byPoints(QmFitLine& line, Points points) { return line.CalculateLineByPoints(points); }

bool byPlanes(QmFitLine& line, QmPlane first, QmPlane second, Points points) {
  return line.CalculateLineByIntersection(first, second, points);
}

QmPlane xyPlane() { return planeAt({5, 5, 3}, {0, 0, 1}); }
QmPlane xzPlane() { return planeAt({5, 2, 5}, {0, 1, 0}); }

TEST(QmFitLine, IsValidAndEmptyWhenNew) {
  const QmFitLine line;
  EXPECT_TRUE(line.IsValid());
  EXPECT_EQ(line.GetLength(), 0.0);
  EXPECT_THAT(linePoints(line), IsEmpty());
  EXPECT_EQ(pointOf(line), QmVec3());
  EXPECT_EQ(directionOf(line), QmVec3());
}

TEST(QmFitLine, HoldsItsFieldsInTheDeclaredOrder) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  EXPECT_TRUE(fieldAt<bool>(line, 8));
  EXPECT_EQ(fieldAt<QmVec3>(line, 16), QmVec3(1, 2, 4));
  EXPECT_EQ(fieldAt<QmVec3>(line, 40), QmVec3(0, 0, 1));
  EXPECT_EQ(fieldAt<double>(line, 64 + sizeof(Points)), 0.0);
  EXPECT_EQ(sizeof(line), 72 + sizeof(Points));
}

// --- By points -------------------------------------------------------------------------------------------------------

TEST(QmFitLine, IsBoundedByTheFeetOfItsPointsInRisingOrder) {
  QmFitLine line;
  EXPECT_TRUE(byPoints(line, {{4, 1, 0}, {-2, -1, 0}, {-2, 1, 0}, {4, -1, 0}, {1, 0, 0}}));
  EXPECT_EQ(pointOf(line), QmVec3(1, 0, 0));
  EXPECT_EQ(directionOf(line), QmVec3(1, 0, 0));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(-2, 0, 0), QmVec3(4, 0, 0)));
  EXPECT_EQ(line.GetLength(), 0.0);
}

// The extent as a map ordered by the parameter, in which the first of equals stays.
Points extentByMap(const QmFitLine& line, const Points& points) {
  const QmVec3 point = pointOf(line);
  const QmVec3 direction = directionOf(line);
  std::map<double, QmVec3> feet;
  for (const QmVec3& p : points) {
    const double t = dot(p - point, direction);
    feet.insert({t, point + t * direction});
  }
  return {feet.begin()->second, feet.rbegin()->second};
}

TEST(QmFitLine, HasTheBitsOfAMapOfFeet) {
  auto random = testRandom();
  for (int round = 0; round < 300; ++round) {
    Points points(static_cast<std::size_t>(uniform(random, 2, 30)));
    for (QmVec3& p : points) {
      for (double& c : p.v) c = round % 2 == 0 ? uniform(random, -9, 9) : std::floor(uniform(random, -2, 3));
    }
    points.back() = points.front() + QmVec3(1, 0, 0);
    QmFitLine line;
    ASSERT_TRUE(line.CalculateLineByPoints(points));
    EXPECT_EQ(linePoints(line), extentByMap(line, points));
  }
}

TEST(QmFitLine, FailsForNoPointsWithoutAFit) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  EXPECT_FALSE(byPoints(line, {}));
  EXPECT_FALSE(line.IsValid());
  EXPECT_THAT(linePoints(line), IsEmpty());
  EXPECT_EQ(pointOf(line), QmVec3(1, 2, 4));  // As the former fit left them.
  EXPECT_EQ(directionOf(line), QmVec3(0, 0, 1));
}

TEST(QmFitLine, FailsWhereNoLineCanBeFitted) {
  QmFitLine line;
  EXPECT_FALSE(byPoints(line, {{1, 2, 3}}));
  EXPECT_FALSE(byPoints(line, {{1, 2, 3}, {1, 2, 3}}));
  EXPECT_FALSE(byPoints(line, {{1, 2, 3}, {kNaN, 2, 3}}));
  EXPECT_FALSE(line.IsValid());
  EXPECT_THAT(linePoints(line), IsEmpty());
  EXPECT_TRUE(byPoints(line, {{1, 2, 3}, {2, 2, 3}}));
  EXPECT_TRUE(line.IsValid());
}

// --- By two planes ---------------------------------------------------------------------------------------------------

TEST(QmFitLine, IsTheCommonLineOfTwoPlanesBoundedByPoints) {
  QmFitLine line;
  EXPECT_TRUE(byPlanes(line, xzPlane(), xyPlane(), {{4, 100, 100}, {1, 0, -50}, {2, 0, 0}}));
  EXPECT_EQ(directionOf(line), QmVec3(1, 0, 0));
  EXPECT_EQ(pointOf(line), QmVec3(5, 2, 3));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(1, 2, 3), QmVec3(4, 2, 3)));
  EXPECT_EQ(line.GetLength(), 0.0);
}

TEST(QmFitLine, FailsForPlanesWithFewerThanTwoPointsWithoutIntersectingThem) {
  QmFitLine line;
  EXPECT_FALSE(byPlanes(line, xzPlane(), xyPlane(), {{4, 100, 100}}));
  EXPECT_FALSE(line.IsValid());
  EXPECT_EQ(directionOf(line), QmVec3());
  EXPECT_FALSE(byPlanes(line, xzPlane(), xyPlane(), {}));
}

TEST(QmFitLine, FailsForParallelPlanesWithoutLinePoints) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  EXPECT_FALSE(byPlanes(line, xyPlane(), planeAt({0, 0, 0}, {0, 0, -2}), {{4, 100, 100}, {1, 0, 0}}));
  EXPECT_FALSE(line.IsValid());
  EXPECT_THAT(linePoints(line), IsEmpty());
}

TEST(QmFitLine, GivesTwoEqualPointsWhereAllFeetCoincide) {
  QmFitLine line;
  EXPECT_TRUE(byPlanes(line, xzPlane(), xyPlane(), {{4, 100, 100}, {4, -3, 8}}));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(4, 2, 3), QmVec3(4, 2, 3)));
}

TEST(QmFitLine, IsNotBoundedByPointsThatAreNotFinite) {
  QmFitLine line;
  EXPECT_TRUE(byPlanes(line, xzPlane(), xyPlane(), {{kNaN, 0, 0}, {4, 0, 0}, {1, 0, 0}}));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(1, 2, 3), QmVec3(4, 2, 3)));
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  EXPECT_TRUE(byPlanes(line, xzPlane(), xyPlane(), {{kInfinity, 0, 0}, {4, 0, 0}, {1, 0, 0}, {-kInfinity, 0, 0}}));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(1, 2, 3), QmVec3(4, 2, 3)));
  for (const double t : {kNaN, kInfinity, -kInfinity}) {
    EXPECT_TRUE(byPlanes(line, xzPlane(), xyPlane(), {{t, 0, 0}, {t, 0, 0}}));
    EXPECT_THAT(linePoints(line), IsEmpty());
  }
}

// --- By projection ---------------------------------------------------------------------------------------------------

TEST(QmFitLine, ReplacesItsPointsByProjectionsAndKeepsTheLine) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  QmPlane plane = xyPlane();
  Points points = {{9, 9, 9}, {1, 1, 1}, {1, 1, 2}};
  EXPECT_TRUE(line.CalculateLineByProjection(plane, points));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(9, 9, 3), QmVec3(1, 1, 3), QmVec3(1, 1, 3)));
  EXPECT_EQ(directionOf(line), QmVec3(0, 0, 1));
  EXPECT_EQ(pointOf(line), QmVec3(1, 2, 4));
  EXPECT_EQ(line.GetLength(), 0.0);
  points.clear();
  EXPECT_FALSE(line.CalculateLineByProjection(plane, points));
  EXPECT_FALSE(line.IsValid());
  EXPECT_THAT(linePoints(line), IsEmpty());
}

TEST(QmFitLine, ProjectsByTheNormalAsItStands) {
  QmFitLine line;
  QmPlane plane = planeAt({0, 0, 0}, {0, 0, 2});
  Points points = {{0, 0, 1}};
  ASSERT_TRUE(line.CalculateLineByProjection(plane, points));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(0, 0, -3)));  // 1 - (1 * 2) * 2.
}

// --- By cylinder -----------------------------------------------------------------------------------------------------

TEST(QmFitLine, AppendsTheEndsOfACylinder) {
  QmFitLine line;
  QmCylinder cylinder({0, 1, 0}, {1, 2, 3}, 4.0, 9.0);
  EXPECT_TRUE(line.CalculateLineByCylinder(cylinder));
  EXPECT_THAT(linePoints(line), ElementsAre(QmVec3(1, -2, 3), QmVec3(1, 6, 3)));
  EXPECT_EQ(pointOf(line), QmVec3(1, 2, 3));
  EXPECT_EQ(directionOf(line), QmVec3(0, 1, 0));
  EXPECT_TRUE(line.CalculateLineByCylinder(cylinder));
  EXPECT_THAT(linePoints(line), SizeIs(4));
  EXPECT_EQ(line.GetLength(), 0.0);
  EXPECT_FALSE(byPoints(line, {}));
  EXPECT_TRUE(line.CalculateLineByCylinder(cylinder));
  EXPECT_TRUE(line.IsValid());
}

// --- The object ------------------------------------------------------------------------------------------------------

TEST(QmFitLine, GivesNothingToANullOutput) {
  const QmFitLine line;
  EXPECT_FALSE(writesNowhere(line, &QmFitLine::GetPoint));
  EXPECT_FALSE(writesNowhere(line, &QmFitLine::GetDirection));
}

TEST(QmFitLine, IsCopiedByValue) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  const QmFitLine copy = line;
  QmFitLine assigned;
  assigned = line;
  EXPECT_FALSE(byPoints(line, {}));
  for (const QmFitLine& other : {copy, assigned}) {
    EXPECT_TRUE(other.IsValid());
    EXPECT_EQ(pointOf(other), QmVec3(1, 2, 4));
    EXPECT_EQ(directionOf(other), QmVec3(0, 0, 1));
    EXPECT_THAT(linePoints(other), SizeIs(2));
  }
}

TEST(QmFitLine, LogsNothing) {
  const quel::testing::RecordingLog log;
  QmFitLine line;
  byPoints(line, {});
  byPoints(line, {{1, 2, 3}, {1, 2, 3}});
  byPlanes(line, xyPlane(), xyPlane(), {{0, 0, 0}, {1, 1, 1}});
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QmFitLine, FailsWithoutPointsWhenMemoryIsExhausted) {
  Points points = {{1, 2, 3}, {1, 2, 5}, {1, 2, 6}};
  QmPlane first = xzPlane(), second = xyPlane();
  QmCylinder cylinder({0, 1, 0}, {1, 2, 3}, 4.0, 9.0);
  const auto each = [](auto calculate) {
    QmFitLine line;
    return quel::testing::failEachNew([&] { return calculate(line = QmFitLine()); },
                                      [&](bool result, bool failed) {
                                        EXPECT_EQ(result, !failed);
                                        EXPECT_EQ(line.IsValid(), !failed);
                                        EXPECT_EQ(linePoints(line).empty(), failed);
                                      });
  };
  EXPECT_EQ(each([&](QmFitLine& line) { return line.CalculateLineByPoints(points); }), 1);
  EXPECT_EQ(each([&](QmFitLine& line) { return line.CalculateLineByIntersection(first, second, points); }), 1);
  EXPECT_EQ(each([&](QmFitLine& line) { return line.CalculateLineByProjection(first, points); }), 1);
  EXPECT_EQ(each([&](QmFitLine& line) { return line.CalculateLineByCylinder(cylinder); }), 1);
}

TEST(QmFitLine, HandsOutNoPointsWhenMemoryIsExhausted) {
  QmFitLine line;
  ASSERT_TRUE(byPoints(line, {{1, 2, 3}, {1, 2, 5}}));
  Points out;
  EXPECT_EQ(quel::testing::failEachNew([&] { return line.GetLinePoints(out = Points()); },
                                       [&](bool result, bool failed) {
                                         EXPECT_EQ(result, !failed);
                                         EXPECT_EQ(out.empty(), failed);
                                       }),
            1);
}

}  // namespace

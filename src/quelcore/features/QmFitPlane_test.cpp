#include "quelcore/features/QmFitPlane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>

#include "quelcore/features/features_fixture.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/RecordingLog.h"

namespace {

using quel::testing::fieldAt;
using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::writesNowhere;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Points = std::vector<QmVec3>;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

QmVec3 centerOf(const QmFitPlane& plane) {
  QmVec3 center;
  EXPECT_TRUE(plane.GetCenter(center));
  return center;
}

QmVec3 normalOf(const QmFitPlane& plane) {
  QmVec3 normal;
  EXPECT_TRUE(plane.GetNormal(normal));
  return normal;
}

/// What a plane is made of, in the declared order; the test of the layout holds it to that.
struct Layout {
  const void* virtuals;
  bool valid;
  QmVec3 center;
  QmVec3 normal;
  Points* points;
  double mean;
  double maxPositive;
  double maxNegative;
  double stdAbs;

  static Layout of(const void* plane) {
    Layout layout;
    std::memcpy(static_cast<void*>(&layout), plane, sizeof(layout));
    return layout;
  }
};
static_assert(sizeof(Layout) == sizeof(QmFitPlane));

// No getter gives the mean; it travels with the object behind the points.
double meanOf(const QmFitPlane& plane) { return Layout::of(&plane).mean; }

Points square() { return {{0, 0, 4}, {2, 0, 4}, {2, 2, 4}, {0, 2, 4}}; }

// Above and below the plane z = 0 by `height`.
Points wavy(double height) { return {{-3, -3, height}, {3, -3, -height}, {3, 3, height}, {-3, 3, -height}}; }

TEST(QmFitPlane, FitsAtConstruction) {
  Points points = square();
  const QmFitPlane plane(&points);
  EXPECT_TRUE(plane.IsValid());
  EXPECT_EQ(centerOf(plane), QmVec3(1, 1, 4));
  EXPECT_EQ(normalOf(plane), QmVec3(0, 0, 1));
  EXPECT_EQ(plane.GetStdAbsDist(), 0.0);
  EXPECT_EQ(plane.GetMaxPositiveDist(), 0.0);
  EXPECT_EQ(plane.GetMaxNegativeDist(), 0.0);
}

TEST(QmFitPlane, HoldsItsFieldsInTheDeclaredOrder) {
  Points points = wavy(1);
  const QmFitPlane plane(&points);
  EXPECT_TRUE(fieldAt<bool>(plane, 8));
  EXPECT_EQ(fieldAt<QmVec3>(plane, 16), QmVec3(0, 0, 0));
  EXPECT_EQ(fieldAt<QmVec3>(plane, 40), QmVec3(0, 0, 1));
  EXPECT_EQ(fieldAt<Points*>(plane, 64), &points);
  EXPECT_EQ(fieldAt<double>(plane, 72), 0.0);
  EXPECT_EQ(fieldAt<double>(plane, 80), 1.0);
  EXPECT_EQ(fieldAt<double>(plane, 88), -1.0);
  EXPECT_EQ(fieldAt<double>(plane, 96), 0.0);
  EXPECT_EQ(sizeof(plane), 104U);
}

// --- Distances -------------------------------------------------------------------------------------------------------

TEST(QmFitPlane, MeasuresDistancesOnBothSides) {
  Points points = wavy(1);
  const QmFitPlane plane(&points);
  EXPECT_EQ(plane.GetMaxPositiveDist(), 1.0);
  EXPECT_EQ(plane.GetMaxNegativeDist(), -1.0);
  EXPECT_EQ(plane.GetStdAbsDist(), 0.0);  // All absolute distances are the same.
  EXPECT_EQ(meanOf(plane), 0.0);
}

TEST(QmFitPlane, GivesTheStandardDeviationOfAbsoluteDistances) {
  // |d| = 0, 0, 0, 0, 1, 1, 1, 1: mean 1/2, deviation 1/2.
  Points points = wavy(1);
  for (const QmVec3& p : {QmVec3(9, 0, 0), QmVec3(-9, 0, 0), QmVec3(0, 9, 0), QmVec3(0, -9, 0)}) points.push_back(p);
  const QmFitPlane plane(&points);
  EXPECT_THAT(plane.GetStdAbsDist(), Near(0.5, 1e-15));
}

TEST(QmFitPlane, SumsDistancesInTheOrderOfThePoints) {
  auto random = testRandom();
  for (int round = 0; round < 200; ++round) {
    Points points(static_cast<std::size_t>(uniform(random, 3, 60)));
    for (QmVec3& p : points) p = {uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -1, 1)};
    const QmFitPlane plane(&points);
    const QmVec3 up = unit(normalOf(plane));
    std::vector<double> off;
    for (const QmVec3& p : points) off.push_back(dot(up, p - centerOf(plane)));
    const auto count = static_cast<double>(points.size());
    std::vector<double> sizes;
    for (const double d : off) sizes.push_back(std::abs(d));
    const double mean = std::accumulate(sizes.begin(), sizes.end(), 0.0) / count;
    double squares = 0.0;
    for (const double d : sizes) squares += (d - mean) * (d - mean);
    EXPECT_EQ(plane.GetStdAbsDist(), std::sqrt(squares / count));
    EXPECT_EQ(plane.GetMaxPositiveDist(), *std::max_element(off.begin(), off.end()));
    EXPECT_EQ(plane.GetMaxNegativeDist(), *std::min_element(off.begin(), off.end()));
    EXPECT_EQ(meanOf(plane), std::accumulate(off.begin(), off.end(), 0.0) / count);
    EXPECT_THAT(meanOf(plane), Near(0.0, 1e-14));
  }
}

TEST(QmFitPlane, KeepsExtremesAndMeanWhenItGetsOtherPoints) {
  Points far = wavy(1);
  Points near = wavy(0.25);
  QmFitPlane plane(&far);
  plane.SetPlanePoints(&near);
  EXPECT_TRUE(plane.IsValid());
  EXPECT_EQ(plane.GetMaxPositiveDist(), 1.0);
  EXPECT_EQ(plane.GetMaxNegativeDist(), -1.0);
  Points farther = wavy(2);
  plane.SetPlanePoints(&farther);
  EXPECT_EQ(plane.GetMaxPositiveDist(), 2.0);
  EXPECT_EQ(plane.GetMaxNegativeDist(), -2.0);
}

TEST(QmFitPlane, AddsTheFormerMeanToTheNewSum) {
  // A mean that is no number shows that it is not reset.
  Points bad = {{0, 0, 0}, {1, 0, 0}, {0, 1, kNaN}};
  Points good = wavy(1);
  QmFitPlane plane(&bad);
  EXPECT_TRUE(std::isnan(meanOf(plane)));
  plane.SetPlanePoints(&good);
  EXPECT_TRUE(std::isnan(meanOf(plane)));
  EXPECT_EQ(plane.GetStdAbsDist(), 0.0);  // This one is.
  EXPECT_TRUE(plane.IsValid());
}

TEST(QmFitPlane, DividesTheFormerMeanAlongWithTheNewSum) {
  auto random = testRandom();
  int told = 0;
  for (int round = 0; round < 50; ++round) {
    Points before(7), after(9);
    for (QmVec3& p : before) p = {uniform(random, -9e6, 9e6), uniform(random, -9e6, 9e6), uniform(random, -9e6, 9e6)};
    for (QmVec3& p : after) p = {uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -1, 1)};
    QmFitPlane plane(&before);
    const double former = meanOf(plane);  // What rounding left of 0.
    plane.SetPlanePoints(&after);
    double sum = former;
    for (const QmVec3& p : after) sum += dot(unit(normalOf(plane)), p - centerOf(plane));
    EXPECT_EQ(meanOf(plane), sum / 9.0);
    told += std::abs(former) > 1e-10 ? 1 : 0;
  }
  EXPECT_GT(told, 10);
}

TEST(QmFitPlane, DividesByTheNumberOfPointsEvenWhenThatIsZero) {
  Points none;
  for (Points* points : {&none, static_cast<Points*>(nullptr)}) {
    const QmFitPlane plane(points);
    EXPECT_FALSE(plane.IsValid());
    EXPECT_TRUE(std::isnan(plane.GetStdAbsDist()));
    EXPECT_TRUE(std::isnan(meanOf(plane)));
    EXPECT_EQ(plane.GetMaxPositiveDist(), 0.0);
    EXPECT_EQ(plane.GetMaxNegativeDist(), 0.0);
  }
}

TEST(QmFitPlane, IsZeroAfterAFailedFit) {
  Points good = wavy(1);
  Points line = {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}};
  QmFitPlane plane(&good);
  plane.SetPlanePoints(&line);
  EXPECT_FALSE(plane.IsValid());
  EXPECT_EQ(centerOf(plane), QmVec3());
  EXPECT_EQ(normalOf(plane), QmVec3());
  EXPECT_EQ(plane.GetMaxPositiveDist(), 1.0);
}

// --- The square ------------------------------------------------------------------------------------------------------

TEST(QmFitPlane, DrawsASquareWithOneCornerAtTheFarthestPoint) {
  Points points = {{4, 0, 0}, {-4, 0, 0}, {0, 1, 0}, {0, -1, 0}};
  QmFitPlane plane(&points);
  Points corners;
  EXPECT_TRUE(plane.CalculateRectPlane(corners));
  // The first of equally far points; a x normal = (1, 0, 0) x (0, 0, 1) = (0, -1, 0).
  EXPECT_THAT(corners, ElementsAre(QmVec3(4, 0, 0), QmVec3(0, 4, 0), QmVec3(-4, 0, 0), QmVec3(0, -4, 0)));
  EXPECT_TRUE(plane.CalculateRectPlane(corners));
  EXPECT_THAT(corners, SizeIs(8));
}

TEST(QmFitPlane, DrawsASquareAroundAnyPoints) {
  auto random = testRandom();
  for (int round = 0; round < 200; ++round) {
    Points points(9);
    for (QmVec3& p : points) p = {uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -9, 9)};
    QmFitPlane plane(&points);
    Points corners;
    ASSERT_TRUE(plane.CalculateRectPlane(corners));
    const QmVec3 center = centerOf(plane);
    double farthest = 0.0;
    for (const QmVec3& p : points) {
      const QmVec3 flat = p - dot(p - center, normalOf(plane)) * normalOf(plane);
      farthest = std::max(farthest, length(flat - center));
    }
    for (std::size_t i = 0; i < 4; ++i) {
      const QmVec3 arm = corners[i] - center;
      EXPECT_THAT(length(arm), Near(farthest, 1e-13));
      EXPECT_THAT(dot(arm, normalOf(plane)), Near(0.0, 1e-13));
      EXPECT_THAT(dot(arm, corners[(i + 1) % 4] - center), Near(0.0, 1e-12));
      EXPECT_THAT(length(arm + corners[(i + 2) % 4] - center), Near(0.0, 1e-13));
    }
    const QmVec3 last = center + farthest * cross(unit(corners[0] - center), normalOf(plane));
    EXPECT_THAT(length(corners[3] - last), Near(0.0, 1e-13));
  }
}

TEST(QmFitPlane, DrawsNothingWhenNotValid) {
  Points none;
  QmFitPlane plane(&none);
  Points corners = {{1, 2, 3}};
  EXPECT_FALSE(plane.CalculateRectPlane(corners));
  EXPECT_THAT(corners, ElementsAre(QmVec3(1, 2, 3)));
}

TEST(QmFitPlane, DrawsItsCentreFourTimesWhenAllPointsProjectOntoIt) {
  Points points = square();
  QmFitPlane plane(&points);
  points.assign(3, QmVec3(1, 1, 9));  // The caller's points changed since the fit.
  Points corners;
  EXPECT_TRUE(plane.CalculateRectPlane(corners));
  EXPECT_THAT(corners, ::testing::AllOf(SizeIs(4), Each(QmVec3(1, 1, 4))));
}

// --- The hull --------------------------------------------------------------------------------------------------------

TEST(QmFitPlane, OutlinesATriangleByItsThreePoints) {
  Points points = {{0, 0, 4}, {2, 0, 4}, {0, 2, 4}};
  QmFitPlane plane(&points);
  Points outline = {{9, 9, 9}};
  EXPECT_TRUE(plane.CalculateConvexHullPlane(outline));
  EXPECT_THAT(outline, ElementsAre(QmVec3(0, 0, 4), QmVec3(2, 0, 4), QmVec3(0, 2, 4)));
}

TEST(QmFitPlane, OutlinesPointsByTheirProjections) {
  Points points = wavy(1);
  points.emplace_back(0, 0, 0);
  QmFitPlane plane(&points);
  Points outline;
  EXPECT_TRUE(plane.CalculateConvexHullPlane(outline));
  EXPECT_THAT(outline, ElementsAre(QmVec3(-3, -3, 0), QmVec3(3, -3, 0), QmVec3(3, 3, 0), QmVec3(-3, 3, 0)));
  EXPECT_TRUE(plane.IsValid());
}

TEST(QmFitPlane, OutlinesWithoutLookingAtTheValidity) {
  // Without a normal the outline itself fails; with one and no points any more it has nothing to say.
  Points points = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}};
  QmFitPlane collinear(&points);
  Points outline = {{9, 9, 9}};
  EXPECT_FALSE(collinear.CalculateConvexHullPlane(outline));
  EXPECT_FALSE(collinear.IsValid());
  Points good = square();
  QmFitPlane plane(&good);
  good.clear();
  EXPECT_TRUE(plane.CalculateConvexHullPlane(outline));
  EXPECT_THAT(outline, ElementsAre(QmVec3(9, 9, 9)));
  QmFitPlane null(nullptr);
  EXPECT_FALSE(null.CalculateConvexHullPlane(outline));
  EXPECT_THAT(outline, ElementsAre(QmVec3(9, 9, 9)));
}

TEST(QmFitPlane, FailsWithinItsPointsWhenTheOutlineIsTheCallersPointsThemselves) {
  Points points = square();
  QmFitPlane plane(&points);
  EXPECT_FALSE(plane.CalculateConvexHullPlane(points));
}

// --- The object ------------------------------------------------------------------------------------------------------

TEST(QmFitPlane, GivesNothingToANullOutput) {
  Points points = square();
  const QmFitPlane plane(&points);
  EXPECT_FALSE(writesNowhere(plane, &QmFitPlane::GetCenter));
  EXPECT_FALSE(writesNowhere(plane, &QmFitPlane::GetNormal));
}

TEST(QmFitPlane, SharesItsPointsWithCopies) {
  Points points = wavy(1);
  Points others = square();
  QmFitPlane plane(&points);
  const QmFitPlane copy(plane);
  QmFitPlane assigned(&others);
  assigned = plane;
  for (const QmFitPlane* other : {&copy, static_cast<const QmFitPlane*>(&assigned)}) {
    EXPECT_TRUE(other->IsValid());
    EXPECT_EQ(normalOf(*other), normalOf(plane));
    EXPECT_EQ(other->GetMaxPositiveDist(), 1.0);
    EXPECT_EQ(other->GetMaxNegativeDist(), -1.0);
    points = {centerOf(plane) + QmVec3(100, 0, 0)};  // What the caller does to them all copies see.
    Points corners;
    ASSERT_TRUE(other->CalculateRectPlane(corners));
    EXPECT_EQ(corners[0], points[0]);
  }
}

TEST(QmFitPlane, LogsNothing) {
  const quel::testing::RecordingLog log;
  Points none;
  QmFitPlane plane(&none);
  Points out;
  plane.CalculateRectPlane(out);
  plane.CalculateConvexHullPlane(out);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QmFitPlane, FailsWhenMemoryIsExhausted) {
  Points points = square();
  QmFitPlane plane(&points);
  Points out;
  const auto check = [&](bool result, bool failed) { EXPECT_EQ(result, !failed); };
  EXPECT_EQ(quel::testing::failEachNew([&] { return plane.CalculateRectPlane(out = Points()); }, check), 1);
  EXPECT_GT(quel::testing::failEachNew([&] { return plane.CalculateConvexHullPlane(out = Points()); }, check), 3);
}

TEST(QmFitPlane, ZeroesDistancesValidityAndPointerWhenItEnds) {
  std::vector<QmVec3> points = {{0, 0, 1}, {2, 0, -1}, {0, 2, -1}, {2, 2, 1}};
  alignas(QmFitPlane) unsigned char memory[sizeof(QmFitPlane)];
  auto* plane = new (memory) QmFitPlane(&points);
  ASSERT_TRUE(plane->IsValid());
  ASSERT_GT(plane->GetMaxPositiveDist(), 0.0);
  ASSERT_LT(plane->GetMaxNegativeDist(), 0.0);
  plane->~QmFitPlane();
  const Layout left = Layout::of(memory);
  EXPECT_FALSE(left.valid);
  EXPECT_EQ(left.points, nullptr);
  EXPECT_THAT((std::array{left.mean, left.maxPositive, left.maxNegative, left.stdAbs}), Each(0.0));
}

}  // namespace

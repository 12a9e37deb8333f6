#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "quelplatform/prim_geom/QmBBox.h"
#include "quelplatform/prim_geom/QmCylinder.h"
#include "quelplatform/prim_geom/QmPlane.h"
#include "quelplatform/prim_geom/QmVec2i.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::testRandom;
using quel::testing::uniform;

TEST(QmVec3, IsZeroWhenNew) { EXPECT_EQ(QmVec3(), QmVec3(0.0, 0.0, 0.0)); }

TEST(QmVec3, AddsSubtractsAndScalesEachCoordinate) {
  const QmVec3 a(1.0, 2.0, 4.0);
  const QmVec3 b(10.0, 30.0, 50.0);
  EXPECT_EQ(a + b, QmVec3(11.0, 32.0, 54.0));
  EXPECT_EQ(b - a, QmVec3(9.0, 28.0, 46.0));
  EXPECT_EQ(-a, QmVec3(-1.0, -2.0, -4.0));
  EXPECT_EQ(3.0 * a, QmVec3(3.0, 6.0, 12.0));
  EXPECT_EQ(a * 3.0, QmVec3(3.0, 6.0, 12.0));
  EXPECT_EQ(b / 10.0, QmVec3(1.0, 3.0, 5.0));
}

TEST(QmVec3, CrossProductOfTwoAxesIsTheThird) {
  EXPECT_EQ(cross(QmVec3(1, 0, 0), QmVec3(0, 1, 0)), QmVec3(0, 0, 1));
  EXPECT_EQ(cross(QmVec3(0, 1, 0), QmVec3(0, 0, 1)), QmVec3(1, 0, 0));
  EXPECT_EQ(cross(QmVec3(0, 0, 1), QmVec3(1, 0, 0)), QmVec3(0, 1, 0));
}

TEST(QmVec3, UnitVectorsHaveLengthOneAndZeroStaysZero) {
  EXPECT_DOUBLE_EQ(length(unit(QmVec3(3.0, -4.0, 12.0))), 1.0);
  EXPECT_EQ(length(QmVec3(3.0, -4.0, 12.0)), 13.0);
  EXPECT_EQ(unit(QmVec3()), QmVec3());
}

TEST(QmVec2i, HoldsColumnAndRow) {
  EXPECT_EQ(QmVec2i(3, 4).x, 3);
  EXPECT_EQ(QmVec2i(3, 4).y, 4);
  EXPECT_EQ(QmVec2i(), QmVec2i(0, 0));
}

TEST(QmBBox, ExtendsToHoldAPointAndNoFurther) {
  QmBBox box(QmVec3(0, 0, 0), QmVec3(1, 1, 1));
  box.extend(QmVec3(2.0, -1.0, 0.5));
  EXPECT_EQ(box, QmBBox(QmVec3(0, -1, 0), QmVec3(2, 1, 1)));
}

TEST(QmBBox, KeepsItsBoundForAnEqualCoordinateOfOtherSign) {
  QmBBox box(QmVec3(0.0, 0.0, 0.0), QmVec3(0.0, 0.0, 0.0));
  box.extend(QmVec3(-0.0, -0.0, -0.0));
  EXPECT_FALSE(std::signbit(box.minimum()[0]));
}

TEST(QmBBox, IgnoresCoordinatesThatAreNoNumber) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  QmBBox box(QmVec3(0, 0, 0), QmVec3(1, 1, 1));
  box.extend(QmVec3(nan, nan, 3.0));
  EXPECT_EQ(box, QmBBox(QmVec3(0, 0, 0), QmVec3(1, 1, 3)));
}

TEST(QmBBox, NumbersItsCornersByAxisBits) {
  const QmBBox box(QmVec3(1, 2, 3), QmVec3(10, 20, 30));
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(box.corner(i)[0], i % 2 == 1 ? 10 : 1) << i;
    EXPECT_EQ(box.corner(i)[1], i / 2 % 2 == 1 ? 20 : 2) << i;
    EXPECT_EQ(box.corner(i)[2], i / 4 == 1 ? 30 : 3) << i;
  }
}

TEST(QmPlane, TakesThePointFirst) {
  const double point[3] = {1, 2, 3};
  const double normal[3] = {0, 0, 1};
  const QmPlane plane(point, normal);
  EXPECT_EQ(plane.point(), QmVec3(1, 2, 3));
  EXPECT_EQ(plane.normal(), QmVec3(0, 0, 1));
}

TEST(QmPlane, ProjectsAlongItsNormalWhateverItsLength) {
  const double point[3] = {0, 0, 5};
  const double p[3] = {7, 8, 9};
  for (const double size : {1.0, 4.0, 0.25}) {
    const double normal[3] = {0, 0, size};
    EXPECT_EQ(QmPlane(point, normal).project(p), QmVec3(7, 8, 5)) << size;
  }
}

TEST(QmPlane, ProjectsNothingWithoutANormal) {
  const double point[3] = {0, 0, 5};
  const double zero[3] = {0, 0, 0};
  const double p[3] = {7, 8, 9};
  EXPECT_EQ(QmPlane(point, zero).project(p), QmVec3(7, 8, 9));
}

TEST(QmPlane, FootOfARandomPointLiesInThePlaneAndStraightBelow) {
  auto random = testRandom();
  for (int round = 0; round < 1000; ++round) {
    const auto any = [&] { return QmVec3(uniform(random, -9, 9), uniform(random, -9, 9), uniform(random, -9, 9)); };
    const QmVec3 point = any();
    const QmVec3 normal = any();
    const QmVec3 p = any();
    const QmVec3 foot = QmPlane(point.v, normal.v).project(p.v);
    EXPECT_LT(std::abs(dot(foot - point, unit(normal))), 1e-13);
    EXPECT_LT(length(cross(p - foot, unit(normal))), 1e-13);
  }
}

TEST(QmCylinder, BeginsWithAxisAndCentre) {
  const QmCylinder cylinder(QmVec3(0, 0, 1), QmVec3(1, 2, 3), 4.0, 5.0);
  const auto* words = reinterpret_cast<const double*>(&cylinder);
  const double expected[8] = {0, 0, 1, 1, 2, 3, 4, 5};
  EXPECT_THAT(std::vector<double>(words, words + 8), testing::ElementsAreArray(expected));
  EXPECT_EQ(cylinder.halfLength(), 4.0);
  EXPECT_EQ(cylinder.radius(), 5.0);
}

}  // namespace

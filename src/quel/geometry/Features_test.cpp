// Planes and lines through points.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "quel/geometry/Line.h"
#include "quel/geometry/Plane.h"
#include "testing/Numbers.h"

namespace quel {
namespace {

using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::DoubleNear;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsNan;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kDraws = 20'000;

auto At(double x, double y, double z) {
  return ElementsAre(DoubleNear(x, 1e-12), DoubleNear(y, 1e-12), DoubleNear(z, 1e-12));
}

void expectUnknown(const Mat3& covariance) {
  for (const Vec3& row : covariance) EXPECT_THAT(row, Each(IsNan()));
}

// Sums the outer products of vectors.
struct Spread {
  Mat3 sum{};
  int count = 0;

  void add(const Vec3& v) {
    ++count;
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t k = 0; k < 3; ++k) sum[i][k] += v[i] * v[k];
    }
  }
};

// Entry by entry, to a part of the largest one.
void expectNear(const Spread& drawn, const Spread& told, double part) {
  double largest = 0.0;
  for (std::size_t i = 0; i < 3; ++i) largest = std::max(largest, drawn.sum[i][i] / drawn.count);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) {
      EXPECT_NEAR(told.sum[i][k] / told.count, drawn.sum[i][k] / drawn.count, part * largest) << i << k;
    }
  }
}

void addMatrix(Spread& mean, const Mat3& covariance) {
  ++mean.count;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) mean.sum[i][k] += covariance[i][k];
  }
}

Vec3 minus(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

std::vector<Vec3> noisy(std::vector<Vec3> points, double sigma, std::mt19937_64& random) {
  std::normal_distribution<double> off(0.0, sigma);
  for (Vec3& point : points) {
    for (double& value : point) value += off(random);
  }
  return points;
}

TEST(PlaneFit, OfFourCornersByHand) {
  // z is 1 at two opposite corners of a square and -1 at the others: the plane is z = 0.
  const Vec3 corners[] = {{1, 1, 1}, {-1, 1, -1}, {-1, -1, 1}, {1, -1, -1},
                          {5, 0, 0}, {-5, 0, 0},  {0, 5, 0},   {0, -5, 0}};
  const auto plane = Plane::fit(corners);
  ASSERT_TRUE(plane);
  EXPECT_THAT(plane->centre, At(0, 0, 0));
  EXPECT_THAT(plane->normal, At(0, 0, 1));
  EXPECT_THAT(plane->residuals.each, ElementsAre(1, -1, 1, -1, 0, 0, 0, 0));
  EXPECT_DOUBLE_EQ(plane->residuals.rms, std::sqrt(0.5));
  EXPECT_EQ(plane->residuals.mean, 0.0);
  EXPECT_EQ(plane->residuals.smallest, -1.0);
  EXPECT_EQ(plane->residuals.largest, 1.0);
  EXPECT_EQ(plane->residuals.stdOfSize, 0.5);
  // The variance of the points is 4 / (8 - 3); squares along x and y sum up to 54.
  EXPECT_DOUBLE_EQ(plane->centreCovariance[0][0], 0.8 / 8.0);
  EXPECT_DOUBLE_EQ(plane->normalCovariance[0][0], 0.8 / 54.0);
  EXPECT_DOUBLE_EQ(plane->normalCovariance[1][1], 0.8 / 54.0);
  EXPECT_EQ(plane->normalCovariance[2][2], 0.0);
  EXPECT_EQ(plane->distanceOf({7, 8, 9}), 9.0);
}

TEST(PlaneFit, OfThreePointsKnowsNothingOfItsUncertainty) {
  const Vec3 points[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  const auto plane = Plane::fit(points);
  ASSERT_TRUE(plane);
  const double share = 1.0 / std::sqrt(3.0);
  EXPECT_THAT(plane->normal, At(share, share, share));
  expectUnknown(plane->centreCovariance);
  expectUnknown(plane->normalCovariance);
}

TEST(PlaneFit, TellsItsUncertaintyAsManyDrawsShowIt) {
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points;
  for (int n = 0; n < 30; ++n) {
    const double x = uniform(random, -40, 40), y = uniform(random, -10, 10);
    points.push_back({100 + x, 50 + y, 7 + 0.5 * x - 0.25 * y});
  }
  const Plane truth = Plane::fit(points).value();
  Spread normals, centres, toldNormals, toldCentres;
  for (int n = 0; n < kDraws; ++n) {
    const Plane drawn = Plane::fit(noisy(points, 0.1, random)).value();
    normals.add(minus(drawn.normal, truth.normal));
    centres.add(minus(drawn.centre, truth.centre));
    addMatrix(toldNormals, drawn.normalCovariance);
    addMatrix(toldCentres, drawn.centreCovariance);
  }
  expectNear(normals, toldNormals, 0.05);
  expectNear(centres, toldCentres, 0.05);
}

TEST(PlaneFit, FailsWithoutThreePointsOffALineAndNamesOneThatIsNotFinite) {
  const Vec3 line[] = {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}};
  EXPECT_THAT(Plane::fit(line).error().cause, HasSubstr("do not lie on one line"));
  EXPECT_FALSE(Plane::fit({}));
  const Vec3 bad[] = {{0, 0, 0}, {1, 0, 0}, {0, kNaN, 0}, {1, 1, 0}};
  EXPECT_EQ(Plane::fit(bad).error().cause, "point 2 has a coordinate that is no finite number");
}

TEST(PlaneThrough, ComparesPointsWithAGivenPlane) {
  const Vec3 points[] = {{0, 0, 1}, {4, 0, 3}};
  const auto plane = Plane::through(points, {0, 0, 2}, -4);
  ASSERT_TRUE(plane);
  EXPECT_EQ(plane->normal, (Vec3{0, 0, 1}));
  EXPECT_EQ(plane->centre, (Vec3{2, 0, 2}));
  EXPECT_THAT(plane->residuals.each, ElementsAre(-1, 1));
  expectUnknown(plane->normalCovariance);
  EXPECT_FALSE(Plane::through(points, {0, 0, 0}, 1));
  EXPECT_FALSE(Plane::through(points, {0, kNaN, 1}, 1));
  EXPECT_FALSE(Plane::through(points, {0, 0, 1}, kNaN));
  EXPECT_FALSE(Plane::through({}, {0, 0, 1}, 0));
}

TEST(ConvexOutline, RunsRoundThePointsInThePlane) {
  const Vec3 points[] = {{2, 2, 5}, {0, 0, -3}, {4, 0, 1}, {4, 4, 0}, {0, 4, 0}, {1, 3, 0}};
  Plane plane;
  plane.normal = {0, 0, 1};
  const auto outline = convexOutline(points, plane);
  ASSERT_TRUE(outline);
  EXPECT_THAT(outline.value(), ElementsAre(At(0, 0, 0), At(4, 0, 0), At(4, 4, 0), At(0, 4, 0)));
  plane.normal = {0, 0, 0};
  EXPECT_FALSE(convexOutline(points, plane));
}

TEST(LineFit, OfPointsBesideAnAxisByHand) {
  const Vec3 points[] = {{-3, 1, 0}, {-3, -1, 0}, {3, 0, 1}, {3, 0, -1}};
  const auto line = Line::fit(points);
  ASSERT_TRUE(line);
  EXPECT_THAT(line->centre, At(0, 0, 0));
  EXPECT_THAT(line->direction, At(1, 0, 0));
  EXPECT_THAT(line->ends[0], At(-3, 0, 0));
  EXPECT_THAT(line->ends[1], At(3, 0, 0));
  EXPECT_DOUBLE_EQ(line->length, 6.0);
  EXPECT_DOUBLE_EQ(line->residuals.rms, 1.0);
  // The variance of the points is 4 / (2 4 - 4); squares along the line sum up to 36.
  EXPECT_DOUBLE_EQ(line->centreCovariance[1][1], 0.25);
  EXPECT_DOUBLE_EQ(line->directionCovariance[1][1], 1.0 / 36.0);
  EXPECT_DOUBLE_EQ(line->directionCovariance[0][0], 0.0);
  EXPECT_DOUBLE_EQ(line->distanceOf({100, 3, 4}), 5.0);
}

TEST(LineFit, TellsItsUncertaintyAsManyDrawsShowIt) {
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points;
  for (int n = 0; n < 20; ++n) points.push_back({3.0 * n, 100.0 - 2.0 * n, 0.5 * n});
  const Line truth = Line::fit(points).value();
  Spread directions, centres, toldDirections, toldCentres;
  for (int n = 0; n < kDraws; ++n) {
    const Line drawn = Line::fit(noisy(points, 0.05, random)).value();
    directions.add(minus(drawn.direction, truth.direction));
    centres.add(minus(drawn.centre, truth.centre));
    addMatrix(toldDirections, drawn.directionCovariance);
    addMatrix(toldCentres, drawn.centreCovariance);
  }
  expectNear(directions, toldDirections, 0.05);
  expectNear(centres, toldCentres, 0.05);
}

TEST(LineFit, OfTwoPointsKnowsNothingOfItsUncertaintyAndOfFewerIsNone) {
  const Vec3 two[] = {{0, 0, 0}, {0, 0, 2}};
  const auto line = Line::fit(two);
  ASSERT_TRUE(line);
  EXPECT_EQ(line->length, 2.0);
  expectUnknown(line->centreCovariance);
  expectUnknown(line->directionCovariance);
  const Vec3 same[] = {{1, 2, 3}, {1, 2, 3}};
  EXPECT_THAT(Line::fit(same).error().cause, HasSubstr("two points that do not coincide"));
  EXPECT_FALSE(Line::fit({}));
  const Vec3 bad[] = {{kNaN, 0, 0}, {0, 0, 2}};
  EXPECT_THAT(Line::fit(bad).error().cause, HasSubstr("point 0 has"));
}

TEST(ResidualsOf, NothingAreAllZero) { EXPECT_EQ(residualsOf({}).rms, 0.0); }

}  // namespace
}  // namespace quel

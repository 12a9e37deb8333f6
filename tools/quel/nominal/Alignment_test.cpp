#include "nominal/Alignment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "files/Failure.h"
#include "nominal/shapes_fixture.h"

namespace queltool {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Vector3d aligned(const Alignment& alignment, const Vec3& point) {
  const auto& r = alignment.transform.rotation;
  Vector3d at(alignment.transform.translation);
  for (int i = 0; i < 3; ++i) at[i] += r[i][0] * point[0] + r[i][1] * point[1] + r[i][2] * point[2];
  return at;
}

// By how much the alignment misses where the points were taken from.
double farthestFrom(const Points& where, const Points& given, const Alignment& alignment) {
  double farthest = 0.0;
  for (std::size_t n = 0; n < given.size(); ++n) {
    farthest = std::max(farthest, (aligned(alignment, given[n]) - vectorOf(where[n])).norm());
  }
  return farthest;
}

double farFromOrthonormal(const Alignment& alignment) {
  Eigen::Matrix3d r;
  for (int i = 0; i < 3; ++i) r.row(i) = Eigen::RowVector3d(alignment.transform.rotation[i]);
  return (r.transpose() * r - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff();
}

std::vector<std::string> heldBy(const Alignment& alignment) {
  std::vector<std::string> names;
  for (const FreeMotion& motion : alignment.held) names.push_back(nameOf(motion));
  return names;
}

std::string refusalOf(const Nominal& nominal, const Points& points) {
  try {
    alignTo(nominal, points);
  } catch (const Failure& failure) {
    return failure.what();
  }
  return "no refusal";
}

const Eigen::Isometry3d kAway = transformOf({1.0, -2.0, 3.0}, 4.0, {3.0, -2.0, 4.0});

TEST(alignTo, FindsATransformBackFromPointsOfAWavySurface) {
  const Points where = pointsOnWaves(30000, 0.0);
  const Points given = moved(where, kAway);
  const Alignment found = alignTo(Waves::shape(), given);
  EXPECT_TRUE(found.converged);
  EXPECT_LE(found.lastStep, kAlignedTo);
  EXPECT_LE(farthestFrom(where, given, found), 1e-6);
  EXPECT_THAT(found.held, IsEmpty());
  EXPECT_EQ(found.after.points, where.size());
  EXPECT_LE(found.after.rms, 1e-7);
  EXPECT_GT(found.before.rms, 1.0);
  EXPECT_GT(found.rounds, 2);
  EXPECT_NEAR(found.degrees, 4.0, 1e-6);
}

TEST(alignTo, FindsATransformBackFromPointsOfABox) {
  const Vector3d half(40.0, 30.0, 20.0);
  const Points where = pointsOnBox(6000, half, 0.0);
  const Points given = moved(where, kAway);
  const Alignment found = alignTo(box(half), given);
  EXPECT_TRUE(found.converged);
  EXPECT_LE(farthestFrom(where, given, found), 1e-6);
  EXPECT_THAT(found.held, IsEmpty());
  EXPECT_EQ(found.farOff, 0);
}

TEST(alignTo, GivesARotationThatIsOrthonormalToTheLastBits) {
  for (int n = 0; n < 20; ++n) {
    const Points where = pointsOnWaves(500, 0.0);
    const auto away = transformOf({1.0, n - 9.5, 2.0}, 0.4 * n, {0.1 * n, 0.0, 1.0});
    EXPECT_LE(farFromOrthonormal(alignTo(Waves::shape(), moved(where, away))), 1e-15) << n;
  }
}

TEST(alignTo, StaysWhereItIsWithoutNoiseAndWithoutATransform) {
  const Points where = pointsOnWaves(1000, 0.0);
  const Alignment found = alignTo(Waves::shape(), where);
  EXPECT_LE(farthestFrom(where, where, found), 1e-9);
  EXPECT_LE(found.degrees, 1e-9);
}

// A shift along the surface changes the distances by a tenth of it, so that a place is uncertain by 0.05 / 0.1 /
// sqrt(n).
TEST(alignTo, FindsWhatNoiseLeavesOfATransform) {
  const Points where = pointsOnWaves(30000, 0.05);
  const Points given = moved(where, kAway);
  const Alignment found = alignTo(Waves::shape(), given);
  EXPECT_TRUE(found.converged);
  EXPECT_NEAR(found.after.rms, 0.05, 0.001);
  EXPECT_LE(farthestFrom(where, given, found), 0.02);
  EXPECT_GE(found.after.points + 5, where.size());
  EXPECT_LE(found.lastStep, kAlignedTo);  // The sample that comes first ends a hundredfold farther away.
}

double squaresAt(const Nominal& nominal, const Alignment& alignment, const Points& given,
                 const Eigen::Isometry3d& further) {
  double sum = 0.0;
  for (const Vec3& point : given) {
    const Points at = {valuesOf(further * aligned(alignment, point))};
    Nearest nearest;
    nominal.findNearest(at, {&nearest, 1});
    sum += nearest.deviation * nearest.deviation;
  }
  return sum;
}

// A step of any motion from there makes the sum of squares larger: it is the least, not only a place of rest.
void expectLeast(const Nominal& nominal, const Alignment& found, const Points& given, double shift, double degrees) {
  const double least = squaresAt(nominal, found, given, Eigen::Isometry3d::Identity());
  EXPECT_NEAR(std::sqrt(least / static_cast<double>(given.size())), found.after.rms, 1e-9);
  for (int axis = 0; axis < 3; ++axis) {
    for (const double side : {-1.0, 1.0}) {
      const auto shifted = transformOf(Vector3d::UnitX(), 0.0, side * shift * Vector3d::Unit(axis));
      const auto turned = transformOf(Vector3d::Unit(axis), side * degrees, Vector3d::Zero());
      EXPECT_GT(squaresAt(nominal, found, given, shifted), least) << axis;
      EXPECT_GT(squaresAt(nominal, found, given, turned), least) << axis;
    }
  }
}

TEST(alignTo, EndsAtTheLeastSumOfSquares) {
  const Vector3d half(40.0, 30.0, 20.0);
  const Shape nominal = box(half);
  const Points given = moved(pointsOnBox(6000, half, 0.05), kAway);
  const Alignment found = alignTo(nominal, given);
  ASSERT_EQ(found.farOff, 0);
  expectLeast(nominal, found, given, 0.003, 0.01);
}

// Points of a part that is larger all around, which lie nearest to edges and corners for the most part.
TEST(alignTo, EndsAtTheLeastSumOfSquaresBesideEdges) {
  const Shape nominal = box({10.0, 9.0, 8.0});
  const Points given = pointsBy(3000, [](double u, double v, double) {
    const Vector3d side(u > 0.3 ? 1.0 : -1.0, v > -0.2 ? 1.0 : -1.0, u + v > 0.1 ? 1.0 : -1.0);
    const Vector3d place(10.5 + 1.5 * std::abs(u * v), 9.0 + 2.0 * v + 0.5 * u, 8.0 + 2.0 * u * u);
    return Vector3d(place.cwiseProduct(side));
  });
  const Alignment found = alignTo(nominal, given);
  EXPECT_TRUE(found.converged);
  EXPECT_LE(found.lastStep, kAlignedTo);
  ASSERT_EQ(found.farOff, 0);
  expectLeast(nominal, found, given, 0.002, 0.01);
}

TEST(alignTo, LeavesOutWhatDoesNotBelongToTheSurface) {
  const Vector3d half(40.0, 30.0, 20.0);
  Points where = pointsOnBox(6000, half, 0.01);
  for (std::size_t n = 0; n < 300; ++n) where.push_back({41.0 + 0.04 * static_cast<double>(n), 5.0, 3.0});
  const Points given = moved(where, kAway);
  const Alignment found = alignTo(box(half), given);
  EXPECT_TRUE(found.converged);
  EXPECT_EQ(found.farOff, 300);
  EXPECT_EQ(found.after.points, 6000);
  EXPECT_LE(farthestFrom(where, given, found), 0.005);
}

// A clamp at one side pulls a plate so far that at first few points of its narrow sides lie near to them.
TEST(alignTo, FreesNarrowSidesFromWhatPullsThemAway) {
  const Vector3d half(40.0, 30.0, 2.0);
  Points where = pointsBy(5000, [&](double u, double v, double n) {
    return Vector3d(39.0 * u, 29.0 * v, std::copysign(2.0, u + v) + 0.002 * n);
  });
  for (int n = 0; n < 150; ++n) {
    const double along = 0.38 * (n - 75);
    where.push_back({n % 2 == 0 ? 40.0 : -40.0, along, 0.01 * (n - 75)});
    where.push_back({along, n % 2 == 0 ? 30.0 : -30.0, 0.01 * (n - 75)});
  }
  for (int n = 0; n < 60; ++n) where.push_back({48.0, 0.9 * (n - 30), 0.02 * (n - 30)});
  const Points given = moved(where, transformOf({0, 0, 1}, 0.2, {0.5, 0.2, 0.1}));
  const Alignment found = alignTo(box(half), given);
  EXPECT_EQ(found.farOff, 60);
  EXPECT_THAT(found.held, IsEmpty());
  EXPECT_LE(farthestFrom(where, given, found), 0.005);
}

TEST(alignTo, HoldsTwoShiftsAndATurnOfAPlane) {
  const Points given =
      pointsBy(2000, [](double u, double v, double) { return Vector3d(10.0 + 30.0 * u, 20.0 * v, 1.0 + 0.05 * u); });
  const Alignment found = alignTo(planeThrough({0, 0, 0}, Vector3d::UnitZ(), 100.0), given);
  EXPECT_TRUE(found.converged);
  EXPECT_LE(found.after.rms, 1e-9);
  ASSERT_THAT(heldBy(found), testing::SizeIs(3));
  EXPECT_EQ(heldBy(found)[0], "shift along 1.00, 0.00, 0.00");
  EXPECT_EQ(heldBy(found)[1], "shift along 0.00, 1.00, 0.00");
  EXPECT_THAT(heldBy(found)[2], HasSubstr("turn about 0.00, 0.00, 1.00 through "));
  EXPECT_NEAR(found.transform.rotation[1][0], 0.0, 1e-6);  // No turn about the normal,
  EXPECT_NEAR(found.shift, 1.0, 0.02);                     // and no shift but along it.
}

TEST(alignTo, HoldsAShiftAndATurnOfACylinder) {
  const Vector3d axis = Vector3d(1.0, 2.0, 2.0) / 3.0;
  const Vector3d place(7.0, -3.0, 5.0);
  const Vector3d side = axis.unitOrthogonal();
  const Points where = pointsBy(5000, [&](double u, double v, double) {
    return Vector3d(place + 40.0 * u * axis + Eigen::AngleAxisd(2.0 * v, axis) * (12.0 * side));
  });
  const Points given = moved(where, transformOf(side, 3.0, 2.0 * side));
  const Alignment found = alignTo(cylinder(place, axis, 12.0, 90.0), given);
  EXPECT_TRUE(found.converged);
  EXPECT_LE(found.after.rms, 1e-7);
  ASSERT_EQ(found.held.size(), 2);
  EXPECT_EQ(nameOf(found.held[0]), "shift along 0.33, 0.67, 0.67");
  EXPECT_THAT(nameOf(found.held[1]), HasSubstr("turn about 0.33, 0.67, 0.67 through "));
  EXPECT_LE((vectorOf(found.held[1].through) - place).cross(axis).norm(), 1e-5);  // A place of the axis.
}

TEST(alignTo, HoldsThreeTurnsOfABallAboutItsCentre) {
  const Vector3d centre(7.0, -3.0, 5.0);
  const Points where = pointsBy(
      5000, [&](double u, double v, double) { return Vector3d(centre + 15.0 * Vector3d(u, v, 1.0).normalized()); });
  const Alignment found = alignTo(ball(centre, 15.0), moved(where, transformOf({1, 0, 0}, 0.0, {1.0, 2.0, -1.0})));
  EXPECT_TRUE(found.converged);
  EXPECT_LE(found.after.rms, 1e-7);
  EXPECT_THAT(heldBy(found), ElementsAre("turn about 1.00, 0.00, 0.00 through 7.00, -3.00, 5.00 mm",
                                         "turn about 0.00, 1.00, 0.00 through 7.00, -3.00, 5.00 mm",
                                         "turn about 0.00, 0.00, 1.00 through 7.00, -3.00, 5.00 mm"));
}

Points pointsOnPrism() {
  return pointsBy(20000, [](double u, double v, double) {
    return Vector3d(12.0 * std::cos(3.1415 * v), 12.0 * std::sin(3.1415 * v), 40.0 * u);
  });
}

TEST(alignTo, HoldsTheTurnOfACylinderOfFacets) {
  const Alignment found = alignTo(prism(90, 12.0, 90.0), pointsOnPrism());
  ASSERT_EQ(found.held.size(), 2);
  EXPECT_EQ(nameOf(found.held[0]), "shift along 0.00, 0.00, 1.00");
  EXPECT_THAT(nameOf(found.held[1]), HasSubstr("turn about 0.00, 0.00, 1.00 through "));
}

// Directions point along their largest component.
TEST(alignTo, NamesMotionsByPositiveDirections) {
  const Vector3d axis = Vector3d(2.0, 3.0, -6.0) / 7.0;
  const Points given = pointsBy(500, [&](double u, double v, double) {
    return Vector3d(40.0 * u * axis + Eigen::AngleAxisd(2.0 * v, axis) * (12.0 * axis.unitOrthogonal()));
  });
  EXPECT_EQ(heldBy(alignTo(cylinder({0, 0, 0}, axis, 12.0, 90.0), given))[0], "shift along -0.29, -0.43, 0.86");
  EXPECT_EQ(
      heldBy(alignTo(
          cylinder({0, 0, 0}, Vector3d(0.6, -0.8, 0.0), 12.0, 90.0),
          moved(given, Eigen::Isometry3d(Eigen::Quaterniond::FromTwoVectors(axis, Vector3d(0.6, -0.8, 0.0))))))[0],
      "shift along -0.60, 0.80, 0.00");
}

// Six faces are no cylinder: they tell the turn.
TEST(alignTo, TurnsAPrismOfFewFaces) {
  const Alignment found = alignTo(prism(6, 12.0, 90.0), pointsOnPrism());
  EXPECT_THAT(heldBy(found), ElementsAre("shift along 0.00, 0.00, 1.00"));
}

// A key of a sixtieth of the surface stops the turn of a cylinder.
TEST(alignTo, TurnsACylinderByItsKey) {
  const Shape round = cylinder({0, 0, 0}, Vector3d::UnitZ(), 12.0, 90.0);
  const Shape keyed(90.0, [&round](const Vector3d& p) {
    const Points at = {valuesOf(p)};
    Nearest nearest;
    round.findNearest(at, {&nearest, 1});
    const bool flank = p.x() > 12.05 && std::abs(p.y()) < 2.0;
    return flank ? known({p.x(), 1.0, p.z()}, Vector3d::UnitY(), p.y() - 1.0) : nearest;
  });
  Points where = pointsOnPrism();
  for (int n = 0; n < 40; ++n) where.push_back({12.5 + 0.02 * n, 1.0, n - 20.0});
  const Points given = moved(where, transformOf({0, 0, 1}, 1.0, {0, 0, 0}));
  const Alignment found = alignTo(keyed, given);
  EXPECT_THAT(heldBy(found), ElementsAre("shift along 0.00, 0.00, 1.00"));
  EXPECT_LE(farthestFrom(where, given, found), 1e-5);
}

TEST(alignTo, NamesTheLeadOfAThread) {
  const FreeMotion thread{true, {0, 0, 1}, {1, 2, -0.001}, 1.5};
  EXPECT_EQ(nameOf(thread), "turn about 0.00, 0.00, 1.00 through 1.00, 2.00, 0.00 mm, with 1.50 mm along it a turn");
}

TEST(alignTo, GoesByPlanesBetweenThePlacesOfASampledNominal) {
  Points places;
  for (int i = -50; i <= 50; ++i) {
    for (int j = -50; j <= 50; ++j) places.push_back({1.0 * i, 1.0 * j, Waves::height(i, j)});
  }
  const Shape sampled(
      142.0,
      [&places](const Vector3d& p) {
        const int i = std::clamp(static_cast<int>(std::lround(p.x())), -50, 50);
        const int j = std::clamp(static_cast<int>(std::lround(p.y())), -50, 50);
        const Vector3d place = vectorOf(places[static_cast<std::size_t>((i + 50) * 101 + j + 50)]);
        const Vector3d normal = Waves::normalAt(i, j);
        return known(place, normal, std::copysign((p - place).norm(), normal.dot(p - place)));
      },
      true);
  const Points where = pointsOnWaves(20000, 0.0);
  const Points given = moved(where, transformOf({1.0, -2.0, 3.0}, 2.0, {1.0, -1.0, 1.5}));
  const Alignment found = alignTo(sampled, given);
  EXPECT_LE(farthestFrom(where, given, found), 0.02);  // Planes miss the waves by 0.005 at most.
  EXPECT_LE(found.after.rms, 0.005);                   // Distances from the places would be 0.4.
}

TEST(alignTo, RefusesPointsThatAreTooFarOff) {
  const Points where = pointsOnWaves(3000, 0.0);
  EXPECT_THAT(refusalOf(Waves::shape(), moved(where, transformOf({0, 0, 1}, 11.0, {0, 0, 0}))),
              AllOf(HasSubstr("turn by 11.00 degrees"), HasSubstr("at most 10 degrees")));
  EXPECT_THAT(refusalOf(Waves::shape(), moved(where, transformOf({0, 0, 1}, 0.0, {0, 0, 14.5}))),
              AllOf(HasSubstr("move by 14.5"), HasSubstr("at most 10 degrees and 14.2 mm, 10 % of its size")));
}

TEST(alignTo, TakesPointsThatAreNearlyTooFarOff) {
  const Points where = pointsOnWaves(3000, 0.0);
  const Points turned = moved(where, transformOf({1, 0, 0}, 9.9, {0, 0, 0}));
  EXPECT_LE(farthestFrom(where, turned, alignTo(Waves::shape(), turned)), 1e-6);
  const Points shifted = moved(where, transformOf({1, 0, 0}, 0.0, {0, 0, 14.0}));
  EXPECT_LE(farthestFrom(where, shifted, alignTo(Waves::shape(), shifted)), 1e-6);
}

TEST(alignTo, RefusesFewerThanSixPoints) {
  for (const std::size_t count : {0, 1, 5}) {
    EXPECT_THAT(refusalOf(Waves::shape(), pointsOnWaves(count, 0.0)),
                HasSubstr(std::to_string(count) + " of " + std::to_string(count) + " points can be aligned"));
  }
  EXPECT_EQ(refusalOf(Waves::shape(), pointsOnWaves(60, 0.0)), "no refusal");
}

TEST(alignTo, RefusesPointsThatLieBesideTheNominal) {
  EXPECT_THAT(refusalOf(Waves::shape(), moved(pointsOnWaves(50, 0.0), transformOf({1, 0, 0}, 0.0, {500.0, 0, 0}))),
              HasSubstr("0 of 50 points can be aligned with the shape, which takes 6"));
}

TEST(alignTo, LeavesOutPointsThatAreNoNumbersOrNearestToABorder) {
  const Points where = pointsOnWaves(3000, 0.0);
  Points given = moved(where, kAway);
  const Alignment without = alignTo(Waves::shape(), given);
  given.push_back({kNaN, 0.0, 0.0});
  given.push_back({0.0, std::numeric_limits<double>::infinity(), 0.0});
  given.push_back(valuesOf(kAway * Vector3d(60.0, 0.0, 0.0)));
  const Alignment found = alignTo(Waves::shape(), given);
  EXPECT_EQ(found.after.points, 3000);
  EXPECT_LE(farthestFrom(where, moved(where, kAway), found), 1e-6);
  EXPECT_TRUE(std::isfinite(found.before.rms));
  EXPECT_EQ(without.after.points, 3000);
}

TEST(alignTo, HasTheSameBitsOnAnyNumberOfThreads) {
  const Points given = moved(pointsOnWaves(12300, 0.05), kAway);
  const Alignment one = alignTo(Waves::shape(), given, {1});
  for (const int threads : {2, 5, 16}) {
    const Alignment several = alignTo(Waves::shape(), given, {threads});
    EXPECT_EQ(std::memcmp(&one.transform, &several.transform, sizeof one.transform), 0) << threads;
    EXPECT_EQ(one.after.rms, several.after.rms);
    EXPECT_EQ(one.before.rms, several.before.rms);
    EXPECT_EQ(one.rounds, several.rounds);
  }
}

}  // namespace
}  // namespace queltool

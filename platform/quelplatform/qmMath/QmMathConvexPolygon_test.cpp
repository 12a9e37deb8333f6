#include "quelplatform/qmMath/QmMathConvexPolygon.h"

#include <gmock/gmock.h>
#include <gmpxx.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "testing/FailingNew.h"
#include "testing/Numbers.h"
#include "testing/Sanitized.h"

namespace {

using quel::testing::kSanitized;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const QmVec3 kUp(0, 0, 1);

std::vector<int> outlineOf(std::vector<QmVec3> points, QmVec3 normal = kUp, QmVec3 center = QmVec3()) {
  std::vector<int> indices = {-1};
  EXPECT_TRUE(QmMathConvexPolygonCalc3D(points, indices, &center, &normal));
  return indices;
}

// --- The definition, in exact fractions ------------------------------------------------------------------------------

struct Exact {
  mpq_class v[3];
};

Exact exact(const QmVec3& a) { return {{mpq_class(a[0]), mpq_class(a[1]), mpq_class(a[2])}}; }
mpq_class dotOf(const Exact& a, const Exact& b) { return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2]; }
Exact crossOf(const Exact& a, const Exact& b) {
  return {{a.v[1] * b.v[2] - a.v[2] * b.v[1], a.v[2] * b.v[0] - a.v[0] * b.v[2], a.v[0] * b.v[1] - a.v[1] * b.v[0]}};
}

/// Coordinates in the plane: along the world axis of smallest normal component less its part along the normal, and
/// along normal x first.
struct Plane {
  explicit Plane(const QmVec3& normal) : n(exact(normal)) {
    int axis = 0;
    for (int i = 1; i < 3; ++i) {
      if (std::abs(normal[i]) < std::abs(normal[axis])) axis = i;
    }
    const mpq_class share = n.v[axis] / dotOf(n, n);
    for (int i = 0; i < 3; ++i) first.v[i] = (i == axis ? 1 : 0) - share * n.v[i];
    second = crossOf(n, first);
  }
  Exact n, first, second;
};

struct Flat {
  mpq_class u, v;
};

int turn(const Flat& a, const Flat& b, const Flat& c) {
  return sgn(mpq_class((b.u - a.u) * (c.v - a.v) - (b.v - a.v) * (c.u - a.u)));
}

/// The outline by definition: an edge leads from p to q when no point lies right of it and none beyond its ends on it.
std::vector<int> bruteForce(const std::vector<QmVec3>& points, const QmVec3& normal) {
  const Plane plane(normal);
  std::vector<Flat> flat;
  std::vector<int> distinct;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Exact p = exact(points[i]);
    flat.push_back({dotOf(plane.first, p), dotOf(plane.second, p)});
    const bool known = std::any_of(distinct.begin(), distinct.end(), [&](int k) {
      return flat[static_cast<std::size_t>(k)].u == flat[i].u && flat[static_cast<std::size_t>(k)].v == flat[i].v;
    });
    if (!known) distinct.push_back(static_cast<int>(i));
  }
  const auto at = [&](int i) -> const Flat& { return flat[static_cast<std::size_t>(i)]; };
  if (distinct.empty()) return {};
  const int start = *std::min_element(distinct.begin(), distinct.end(), [&](int a, int b) {
    return at(a).u < at(b).u || (at(a).u == at(b).u && at(a).v < at(b).v);
  });
  std::vector<int> outline = {start};
  while (distinct.size() > 1) {
    const int from = outline.back();
    int next = -1;
    for (const int to : distinct) {
      if (to == from) continue;
      const bool edge = std::all_of(distinct.begin(), distinct.end(), [&](int other) {
        const int side = turn(at(from), at(to), at(other));
        const mpq_class beyond =
            (at(other).u - at(to).u) * (at(to).u - at(from).u) + (at(other).v - at(to).v) * (at(to).v - at(from).v);
        return side > 0 || (side == 0 && sgn(beyond) <= 0);
      });
      if (edge) next = to;
    }
    if (next == start || next < 0) break;
    outline.push_back(next);
  }
  return outline;
}

void expectBruteForce(const std::vector<QmVec3>& points, const QmVec3& normal) {
  EXPECT_EQ(outlineOf(points, normal), bruteForce(points, normal));
}

// --- By hand ---------------------------------------------------------------------------------------------------------

// Promise 2.
TEST(QmMathConvexPolygon, RunsCounterClockwiseFromTheSmallestFirstCoordinate) {
  // About z the first coordinate is x, the second y.
  EXPECT_THAT(outlineOf({{2, 2, 0}, {2, 0, 0}, {0, 2, 0}, {0, 0, 0}, {1, 1, 7}}), ElementsAre(3, 1, 0, 2));
  EXPECT_THAT(outlineOf({{2, 2, 0}, {2, 0, 0}, {0, 2, 0}, {0, 0, 0}, {1, 1, 7}}, {0, 0, -5}), ElementsAre(2, 0, 1, 3));
}

// Promise 1.
TEST(QmMathConvexPolygon, LeavesOutPointsOnTheEdges) {
  EXPECT_THAT(outlineOf({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {2, 2, 0}, {1, 2, 0}, {0, 2, 0}, {0, 1, 0}}),
              ElementsAre(0, 2, 4, 6));
}

// Promise 3.
TEST(QmMathConvexPolygon, TakesTheLeastIndexOfPointsThatCoincideInThePlane) {
  EXPECT_THAT(outlineOf({{1, 0, 3}, {0, 0, 9}, {1, 0, 0}, {0, 0, 0}, {0, 1, 4}, {0, 1, 2}}), ElementsAre(1, 0, 4));
}

// Promise 3. Enough points for a sort that does not keep the order of equals.
TEST(QmMathConvexPolygon, TakesTheLeastIndexOfManyPointsThatCoincideInAFewPlaces) {
  auto random = testRandom();
  for (int round = 0; round < 20; ++round) {
    std::vector<QmVec3> points;
    for (int i = 0; i < 300; ++i) points.emplace_back(0.0, static_cast<double>(random() % 3), uniform(random, -1, 1));
    points.emplace_back(1.0, 1.0, 0.0);
    expectBruteForce(points, {0, 0, 1});
  }
}

// Promise 3.
TEST(QmMathConvexPolygon, GivesTheEndsOfALineAndOneIndexForOnePoint) {
  EXPECT_THAT(outlineOf({{1, 1, 0}, {3, 3, 0}, {0, 0, 5}, {2, 2, 0}}), ElementsAre(2, 1));
  EXPECT_THAT(outlineOf({{0, 3, 0}, {0, 1, 0}, {0, 2, 0}}), ElementsAre(1, 0));
  EXPECT_THAT(outlineOf({{4, 4, 0}, {4, 4, 1}, {4, 4, 2}}), ElementsAre(0));
  EXPECT_THAT(outlineOf({{4, 4, 0}}), ElementsAre(0));
  EXPECT_THAT(outlineOf({}), IsEmpty());
}

// Promise 5.
TEST(QmMathConvexPolygon, LeavesCenterAndNormalAsTheyAre) {
  std::vector<QmVec3> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  QmVec3 center(7, 8, 9), normal(0, 3, 4);
  std::vector<int> indices;
  ASSERT_TRUE(QmMathConvexPolygonCalc3D(points, indices, &center, &normal));
  EXPECT_EQ(center, QmVec3(7, 8, 9));
  EXPECT_EQ(normal, QmVec3(0, 3, 4));
}

TEST(QmMathConvexPolygon, RefusesWhatIsNotFiniteZeroOrNull) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  const auto refuses = [](std::vector<QmVec3> points, QmVec3 center, QmVec3 normal) {
    std::vector<int> indices = {1, 2, 3};
    return !QmMathConvexPolygonCalc3D(points, indices, &center, &normal) && indices.empty();
  };
  const std::vector<QmVec3> good = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  EXPECT_TRUE(refuses(good, QmVec3(), QmVec3()));
  EXPECT_TRUE(refuses({}, QmVec3(), QmVec3()));
  EXPECT_TRUE(refuses(good, QmVec3(), {0, nan, 1}));
  EXPECT_TRUE(refuses(good, QmVec3(), {0, infinity, 1}));
  EXPECT_TRUE(refuses(good, {nan, 0, 0}, kUp));
  EXPECT_TRUE(refuses({{0, 0, 0}, {1, 0, infinity}}, QmVec3(), kUp));
  EXPECT_FALSE(refuses(good, QmVec3(), kUp));
  std::vector<QmVec3> points = good;
  std::vector<int> indices = {1};
  QmVec3 vector(0, 0, 1);
  EXPECT_FALSE(QmMathConvexPolygonCalc3D(points, indices, nullptr, &vector));
  EXPECT_FALSE(QmMathConvexPolygonCalc3D(points, indices, &vector, nullptr));
  EXPECT_THAT(indices, IsEmpty());
}

TEST(QmMathConvexPolygon, FailsWithoutIndicesWhenMemoryIsExhausted) {
  std::vector<QmVec3> points = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}};
  QmVec3 center, normal = kUp;
  std::vector<int> indices;
  const std::int64_t failures = quel::testing::failEachNew(
      [&] {
        indices = {};
        return QmMathConvexPolygonCalc3D(points, indices, &center, &normal);
      },
      [&](bool result, bool failed) {
        EXPECT_EQ(result, !failed);
        EXPECT_EQ(indices.empty(), failed);
      });
  EXPECT_GT(failures, 3);
}

// --- Against the definition ------------------------------------------------------------------------------------------

// Promises 1 to 3.
TEST(QmMathConvexPolygon, IsThatOfTheDefinitionForSmallIntegers) {
  // Full of coincident and collinear points, seen along every small normal.
  auto random = testRandom();
  for (int round = 0; round < (kSanitized ? 100 : 400); ++round) {
    std::vector<QmVec3> points(static_cast<std::size_t>(uniform(random, 1, 14)));
    for (QmVec3& p : points) {
      for (double& c : p.v) c = std::floor(uniform(random, -2, 3));
    }
    QmVec3 normal;
    while (normal == QmVec3()) {
      for (double& c : normal.v) c = std::floor(uniform(random, -2, 3));
    }
    expectBruteForce(points, normal);
  }
}

// Promise 4.
TEST(QmMathConvexPolygon, IsThatOfTheDefinitionForNearlyCollinearPoints) {
  // Points of a slanted line rounded to doubles, some moved by a unit in the last place.
  auto random = testRandom();
  for (int round = 0; round < (kSanitized ? 30 : 150); ++round) {
    const QmVec3 along(uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1));
    const QmVec3 at(uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3), uniform(random, -1e3, 1e3));
    std::vector<QmVec3> points(12);
    for (QmVec3& p : points) {
      p = at + uniform(random, -1, 1) * along;
      if (uniform(random, 0, 1) < 0.3) p[1] = std::nextafter(p[1], 1e9);
    }
    expectBruteForce(points, {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)});
    expectBruteForce(points, kUp);
  }
}

double movedByUnits(double x, int units) {
  for (int n = 0; n < std::abs(units); ++n) x = std::nextafter(x, units < 0 ? -1e300 : 1e300);
  return x;
}

/// A whole number from -most to most.
int wholeNumber(std::mt19937_64& random, int most) { return static_cast<int>(random() % (2 * most + 1)) - most; }

// Promise 4.
TEST(QmMathConvexPolygon, IsThatOfTheDefinitionForPointsOfALineWithinTheirOwnRounding) {
  // Multiples of (0.1, 0.1, 0.1) and midpoints of them, each coordinate moved by a few units in the last place: whether
  // three of them turn left is less than what rounded products tell.
  auto random = testRandom();
  for (int round = 0; round < (kSanitized ? 100 : 600); ++round) {
    std::vector<double> steps = {0.1, 12.1, 24.1};
    steps.push_back(0.5 * (steps[0] + steps[1]));
    steps.push_back(0.5 * (steps[1] + steps[2]));
    steps.push_back(0.5 * (steps[0] + steps[2]));
    std::vector<QmVec3> points;
    for (int i = 0; i < 9; ++i) {
      const double step = steps[random() % steps.size()];
      points.emplace_back(movedByUnits(step, wholeNumber(random, 2)), movedByUnits(step, wholeNumber(random, 2)),
                          movedByUnits(step, wholeNumber(random, 2)));
    }
    expectBruteForce(points, kUp);
    expectBruteForce(points, {1, -2, 1.5});
    expectBruteForce(points, {uniform(random, 1, 2), uniform(random, 1, 2), uniform(random, 1, 2)});
  }
}

// Promises 2 and 4.
TEST(QmMathConvexPolygon, IsThatOfTheDefinitionWhereFirstCoordinatesDifferByLessThanTheirRounding) {
  // Points along the second coordinate, of normals whose components are as large as they come in rounding.
  auto random = testRandom();
  for (int round = 0; round < (kSanitized ? 200 : 2000); ++round) {
    const QmVec3 normal(uniform(random, 1.8, 2), uniform(random, 1.8, 2), uniform(random, 1.8, 2));
    int axis = 0;
    for (int i = 1; i < 3; ++i) axis = normal[i] < normal[axis] ? i : axis;
    QmVec3 world;
    world[axis] = 1;
    const QmVec3 along = cross(normal, world);
    std::vector<QmVec3> points;
    for (int i = 0; i < 5; ++i) {
      QmVec3 p = uniform(random, -1, 1) * along + uniform(random, -1, 1) * normal;
      for (double& c : p.v) c = movedByUnits(c, wholeNumber(random, 1));
      points.push_back(p);
    }
    expectBruteForce(points, normal);
  }
}

// Promise 4.
TEST(QmMathConvexPolygon, IsThatOfTheDefinitionFarFromTheOriginAndAtAnySize) {
  auto random = testRandom();
  for (const double size : {1e-250, 1e-3, 1.0, 1e8, 1e150, 1.7e308}) {
    for (const double offset : {0.0, 1e5}) {
      for (int round = 0; round < 8; ++round) {
        std::vector<QmVec3> points(10);
        for (QmVec3& p : points) {
          for (double& c : p.v) {
            c = size * uniform(random, -1, 1);
            if (size < 1e100) c += size * offset;
          }
        }
        const double length = std::pow(10.0, uniform(random, -250, 250));
        expectBruteForce(points, {length * uniform(random, -1, 1), length * uniform(random, -1, 1), length});
      }
    }
  }
}

// --- Many points -----------------------------------------------------------------------------------------------------

/// Every corner turns left, and every point lies left of every edge, in exact arithmetic where it is near.
void expectHull(const std::vector<QmVec3>& points, const std::vector<int>& outline) {
  const std::size_t corners = outline.size();
  const auto corner = [&](std::size_t i) { return points[static_cast<std::size_t>(outline[i % corners])]; };
  const auto side = [](const QmVec3& a, const QmVec3& b, const QmVec3& c) {
    const double area = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
    if (std::abs(area) > 1e-12) return area < 0 ? -1 : 1;
    const auto flat = [](const QmVec3& p) { return Flat{mpq_class(p[0]), mpq_class(p[1])}; };
    return turn(flat(a), flat(b), flat(c));
  };
  ASSERT_GE(corners, 3U);
  for (std::size_t i = 0; i < corners; ++i) ASSERT_EQ(side(corner(i), corner(i + 1), corner(i + 2)), 1) << i;
  for (std::size_t i = 0; i < corners; i += 1 + corners / 40) {
    for (std::size_t n = 0; n < points.size(); n += 7) ASSERT_GE(side(corner(i), corner(i + 1), points[n]), 0) << i;
  }
}

// Promise 1.
TEST(QmMathConvexPolygon, KeepsEveryPointOfACircleThatIsStrictlyConvex) {
  // The squares: (i, i * i), each a corner; a million units wide, exact.
  std::vector<QmVec3> points;
  for (int i = -2000; i <= 2000; ++i) points.emplace_back(i, double(i) * i, 0);
  EXPECT_EQ(outlineOf(points).size(), points.size());
}

TEST(QmMathConvexPolygon, HoldsAMillionPoints) {
  auto random = testRandom();
  std::vector<QmVec3> points(kSanitized ? 100000 : 1000000);
  for (QmVec3& p : points) p = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
  expectHull(points, outlineOf(points));
  for (QmVec3& p : points) {
    const double angle = uniform(random, 0, 2 * std::numbers::pi);
    p = {std::cos(angle), std::sin(angle), uniform(random, -1, 1)};
  }
  expectHull(points, outlineOf(points));
}

TEST(QmMathConvexPolygon, TakesAGridOfAMillionPointsToItsFourCorners) {
  const int side = kSanitized ? 300 : 1000;
  std::vector<QmVec3> points;
  for (int i = 0; i < side; ++i) {
    for (int j = 0; j < side; ++j) points.emplace_back(0.25 * i, 0.25 * j, 1.0);
  }
  EXPECT_THAT(outlineOf(points), ElementsAre(0, side * (side - 1), side * side - 1, side - 1));
}

TEST(QmMathConvexPolygon, TakesManyEqualPointsToTheFirst) {
  EXPECT_THAT(outlineOf(std::vector<QmVec3>(kSanitized ? 200000 : 2000000, QmVec3(0.1, 0.2, 0.3)), {1, 2, 3}),
              ElementsAre(0));
}

TEST(QmMathConvexPolygon, TakesALineOfManyPointsToItsEnds) {
  const int count = kSanitized ? 20000 : 200000;
  std::vector<QmVec3> points;
  for (int i = 0; i < count; ++i) points.emplace_back(1.0, 3.0 * i, 7.0 * i);
  EXPECT_THAT(outlineOf(points), ElementsAre(0, count - 1));
  EXPECT_THAT(outlineOf(points, {0, 7, -3}), ::testing::SizeIs(2));
}

}  // namespace

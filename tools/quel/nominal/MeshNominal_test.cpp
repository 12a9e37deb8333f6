#include "nominal/MeshNominal.h"

#include <thread>

#include "files/Failure.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

bool isSame(const Nearest& a, const Nearest& b) {
  return std::memcmp(a.point.data(), b.point.data(), sizeof a.point) == 0 &&
         std::memcmp(a.normal.data(), b.normal.data(), sizeof a.normal) == 0 &&
         std::memcmp(&a.deviation, &b.deviation, sizeof a.deviation) == 0 && a.side == b.side;
}

std::string complaintOf(Surface surface) try {
  MeshNominal nominal(std::move(surface));
  return "accepted";
} catch (const Failure& failure) {
  return failure.what();
}

// A closed surface whose radius varies from corner to corner, so that it has edges and corners of every kind.
Surface bumpyBall(std::mt19937_64& random, std::uint32_t rings, std::uint32_t around) {
  Surface surface;
  const auto vertex = [&](double theta, double phi) {
    const double r = uniform(random, 6.0, 10.0);
    surface.vertices.push_back(
        {r * std::sin(theta) * std::cos(phi), r * std::sin(theta) * std::sin(phi), r * std::cos(theta)});
  };
  vertex(0.0, 0.0);
  for (std::uint32_t i = 1; i < rings; ++i) {
    for (std::uint32_t k = 0; k < around; ++k) vertex(M_PI * i / rings, 2.0 * M_PI * k / around);
  }
  vertex(M_PI, 0.0);
  const auto last = static_cast<std::uint32_t>(surface.vertices.size() - 1);
  const auto at = [&](std::uint32_t ring, std::uint32_t k) { return 1 + (ring - 1) * around + k % around; };
  for (std::uint32_t k = 0; k < around; ++k) {
    surface.facets.push_back({0, at(1, k), at(1, k + 1)});
    surface.facets.push_back({last, at(rings - 1, k + 1), at(rings - 1, k)});
    for (std::uint32_t i = 1; i + 1 < rings; ++i) {
      surface.facets.push_back({at(i, k), at(i + 1, k), at(i + 1, k + 1)});
      surface.facets.push_back({at(i, k), at(i + 1, k + 1), at(i, k + 1)});
    }
  }
  return surface;
}

TEST(MeshNominal, TellsDistanceAndSideOfACubeAtFacesEdgesAndCorners) {
  const MeshNominal nominal(cube());
  struct Case {
    Vec3 point, nearest;
    double deviation;
  };
  const Case cases[] = {{{0.5, 0.25, 1.5}, {0.5, 0.25, 1}, 0.5},    {{0.5, 0.375, 0.875}, {0.5, 0.375, 1}, -0.125},
                        {{2, 0.5, 2}, {1, 0.5, 1}, std::sqrt(2.0)}, {{-2, -1, 3}, {0, 0, 1}, 3.0},
                        {{1.5, 0.5, 0.5}, {1, 0.5, 0.5}, 0.5},      {{0.5, 0.5, -4}, {0.5, 0.5, 0}, 4.0}};
  for (const Case& each : cases) {
    const Nearest found = nearestOf(nominal, each.point);
    EXPECT_EQ(found.side, Side::Known);
    EXPECT_THAT(found.deviation, Near(each.deviation, 1e-15));
    for (std::size_t axis = 0; axis < 3; ++axis) EXPECT_THAT(found.point[axis], Near(each.nearest[axis], 1e-15));
    EXPECT_THAT(dot(found.normal, found.normal), Near(1.0, 1e-15));
  }
  EXPECT_EQ(nominal.title(), "mesh of 12 triangles");
  EXPECT_DOUBLE_EQ(nominal.size(), std::sqrt(3.0));
  EXPECT_THAT(nominal.remarks(), IsEmpty());
  EXPECT_FALSE(nominal.isSampled());
}

TEST(MeshNominal, HasNoDeviationOnItself) {
  const MeshNominal nominal(cube());
  for (const Vec3& p : {Vec3{0, 0, 0}, Vec3{1, 1, 1}, Vec3{0.5, 0, 0}, Vec3{0.5, 0.5, 1}, Vec3{0.25, 0.75, 0}}) {
    const Nearest found = nearestOf(nominal, p);
    EXPECT_EQ(found.deviation, 0.0);
    EXPECT_EQ(found.side, Side::Known);
    EXPECT_EQ(found.point, p);
  }
}

// Coordinates that no double holds exactly, near the origin and far from it.
TEST(MeshNominal, JudgesEveryPointThatLiesOnItsFacesEdgesAndDiagonals) {
  std::mt19937_64 random = testRandom();
  std::uniform_real_distribution<double> share(0.0, 1.0);
  for (const double from : {0.1, 1234.567}) {
    Surface surface = cube();
    const Vec3 low = {from, 0.7 * from, -1.3 * from}, size = {9.6, 3.3, 17.1};
    for (Vec3& v : surface.vertices) v = {low[0] + size[0] * v[0], low[1] + size[1] * v[1], low[2] + size[2] * v[2]};
    const MeshNominal nominal(surface);
    for (const quel::Facet& f : surface.facets) {
      const Vec3 &a = surface.vertices[f[0]], &b = surface.vertices[f[1]], &c = surface.vertices[f[2]];
      for (int n = 0; n < 300; ++n) {
        const double s = share(random), t = n % 3 == 0 ? 0.0 : n % 3 == 1 ? 1.0 - s : (1.0 - s) * share(random);
        const Vec3 p = plus(a, plus(times(s, minus(b, a)), times(t, minus(c, a))));
        const Nearest found = nearestOf(nominal, p);
        ASSERT_EQ(found.side, Side::Known) << n;
        ASSERT_THAT(found.deviation, Near(0.0, 1e-15 * from + 1e-13));
      }
    }
  }
}

TEST(MeshNominal, AgreesWithAllTrianglesAndWithTheWindingNumber) {
  std::mt19937_64 random = testRandom();
  for (const auto& [rings, around] : {std::pair(3u, 3u), std::pair(6u, 5u), std::pair(12u, 17u)}) {
    const Surface surface = bumpyBall(random, rings, around);
    const MeshNominal nominal(surface);
    ASSERT_THAT(nominal.remarks(), IsEmpty());
    for (const Vec3& p : randomPoints(random, 600, -14.0, 14.0)) {
      const Nearest found = nearestOf(nominal, p);
      const double inside = windingNumber(surface, p);
      EXPECT_EQ(found.side, Side::Known);
      EXPECT_THAT(found.deviation, Near(inside > 0.5 ? -leastDistance(surface, p) : leastDistance(surface, p), 1e-13));
    }
  }
}

TEST(MeshNominal, PointsNearestToAnOpenBorderHaveNoSide) {
  const MeshNominal square(meshOf({{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 2, 3}}));
  EXPECT_THAT(square.remarks(), ElementsAre("4 edges are open: points nearest to them have no side"));
  EXPECT_EQ(nearestOf(square, {0.5, 0.5, 2}).side, Side::Known);
  EXPECT_EQ(nearestOf(square, {0.5, 0.5, 2}).deviation, 2.0);
  EXPECT_EQ(nearestOf(square, {0.5, 0.25, -2}).deviation, -2.0);
  EXPECT_EQ(nearestOf(square, {0.5, -1, 0.5}).side, Side::Border);
  EXPECT_DOUBLE_EQ(nearestOf(square, {0.5, -1, -1}).deviation, std::sqrt(2.0));
  EXPECT_EQ(nearestOf(square, {2, 2, -1}).side, Side::Border);
  EXPECT_EQ(nearestOf(square, {0, 0, 0}).side, Side::Border);
  EXPECT_EQ(nearestOf(square, {0, 0, 0}).deviation, 0.0);
}

TEST(MeshNominal, RefusesWhatHasNoArea) {
  EXPECT_EQ(complaintOf(meshOf({{0, 0, 0}, {1, 0, 0}}, {{0, 1, 0}})), "has no triangle with an area");
  EXPECT_EQ(complaintOf(meshOf({{0, 0, 0}, {1, 1, 1}, {3, 3, 3}}, {{0, 1, 2}})), "has no triangle with an area");
  EXPECT_EQ(complaintOf(meshOf({{0, 0, 0}, {1.5e308, 0, 0}, {-1.5e308, 3, 3}}, {{0, 1, 2}})),
            "lies too far apart to have a size");
}

TEST(MeshNominal, IsTheSameInAnyGroupsAndOnAnyThreads) {
  std::mt19937_64 random = testRandom();
  const MeshNominal nominal(bumpyBall(random, 20, 31));
  const std::vector<Vec3> points = randomPoints(random, 20000, -12.0, 12.0);
  const std::vector<Nearest> whole = nearestOf(nominal, points);
  for (const std::size_t threads : {1u, 2u, 3u, 7u, 16u}) {
    std::vector<Nearest> found(points.size());
    std::vector<std::thread> team;
    for (std::size_t n = 0; n < threads; ++n) {
      team.emplace_back([&, n] {
        const std::size_t step = 1 + 97 * n;
        for (std::size_t first = points.size() * n / threads; first < points.size() * (n + 1) / threads;
             first += step) {
          const std::size_t count = std::min(step, points.size() * (n + 1) / threads - first);
          nominal.findNearest(std::span(points).subspan(first, count), std::span(found).subspan(first, count));
        }
      });
    }
    for (std::thread& each : team) each.join();
    for (std::size_t i = 0; i < points.size(); ++i) ASSERT_TRUE(isSame(found[i], whole[i])) << i;
  }
}

}  // namespace
}  // namespace queltool

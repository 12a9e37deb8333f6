// Meshes as files hold them: on which side of damaged and odd ones points are, and what people are told of them.
#include "files/Failure.h"
#include "nominal/exact_fixture.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

// Where the mesh is closed a point is on the side that the winding number tells; the distance is that from all
// triangles.
void expectSides(const Surface& surface, const std::vector<Vec3>& points, double tolerance = 1e-13) {
  const MeshNominal nominal(surface);
  for (const Vec3& p : points) {
    const Nearest found = nearestOf(nominal, p);
    const double distance = leastDistance(surface, p);
    EXPECT_EQ(found.side, Side::Known) << p[0] << " " << p[1] << " " << p[2];
    EXPECT_THAT(found.deviation, Near(windingNumber(surface, p) > 0.5 ? -distance : distance, tolerance));
    const Vec3 off = minus(p, found.point);
    EXPECT_THAT(std::sqrt(dot(off, off)), Near(distance, tolerance));
  }
}

TEST(MeshNominal, JoinsCornersThatLieInOnePlaceAndKnowsZeroOfEitherSign) {
  const Surface joined = cube();
  Surface apart;
  for (const Facet& f : joined.facets) {
    for (const std::uint32_t corner : f) {
      Vec3 vertex = joined.vertices[corner];
      if (apart.vertices.size() % 2 == 1) {
        for (double& each : vertex) each = each == 0.0 ? -0.0 : each;
      }
      apart.vertices.push_back(vertex);
    }
    const auto count = static_cast<std::uint32_t>(apart.vertices.size());
    apart.facets.push_back({count - 3, count - 2, count - 1});
  }
  std::mt19937_64 random = testRandom();
  expectSides(apart, randomPoints(random, 300, -2.0, 3.0));
  EXPECT_THAT(MeshNominal(apart).remarks(), IsEmpty());
}

TEST(MeshNominal, LeavesOutTrianglesThatAreCollapsedOrThereAlready) {
  Surface surface = cube();
  surface.facets.push_back({0, 0, 5});
  surface.facets.push_back({3, 7, 3});
  surface.facets.push_back({2, 3, 0});
  surface.vertices.push_back({100, 100, 100});
  const MeshNominal nominal(surface);
  EXPECT_THAT(nominal.remarks(), ElementsAre("2 triangles have two equal corners and are left out",
                                             "1 triangles stand there more than once and count once"));
  EXPECT_EQ(nominal.title(), "mesh of 12 triangles");
  EXPECT_DOUBLE_EQ(nominal.size(), std::sqrt(3.0));
  std::mt19937_64 random = testRandom();
  expectSides(surface, randomPoints(random, 300, -2.0, 3.0));
}

// A corner on an edge of the other side, and between both a triangle that has no area.
Surface wedgeWithSeam(int folds) {
  // A knife: both blades meet at the edge from (0,0,0) to (8,0,0); one of them has corners along it.
  Surface surface = meshOf({{0, 0, 0}, {8, 0, 0}, {0, 10, 1}, {8, 10, 1}, {0, 10, -1}, {8, 10, -1}},
                           {{0, 1, 3}, {0, 3, 2}, {2, 3, 5}, {2, 5, 4}, {0, 2, 4}, {1, 5, 3}});
  std::uint32_t last = 0;
  for (int n = 1; n <= folds; ++n) {
    const auto middle = static_cast<std::uint32_t>(surface.vertices.size());
    surface.vertices.push_back({8.0 * n / (folds + 1), 0, 0});
    surface.facets.push_back({last, 4, middle});
    surface.facets.push_back({1, last, middle});  // On the edge alone.
    last = middle;
  }
  surface.facets.push_back({last, 4, 1});
  surface.facets.push_back({4, 5, 1});
  return surface;
}

TEST(MeshNominal, KnowsTheSideBehindTrianglesWithoutArea) {
  std::mt19937_64 random = testRandom();
  for (const int folds : {1, 3, 7}) {
    const Surface surface = wedgeWithSeam(folds);
    const MeshNominal nominal(surface);
    EXPECT_THAT(nominal.remarks(),
                ElementsAre(std::to_string(folds) + " triangles have no area, and are no part of the surface"));
    std::vector<Vec3> points;
    for (int n = 0; n < 500; ++n) {
      points.push_back({uniform(random, -1, 9), uniform(random, -3, 2), uniform(random, -2, 2)});
      points.push_back({double(random() % 9), -0.5, uniform(random, -5, 5)});
    }
    expectSides(surface, points);
  }
}

TEST(MeshNominal, FindsTheBorderBehindATriangleWithoutArea) {
  const MeshNominal nominal(meshOf({{0, 0, 0}, {2, 0, 0}, {1, 0, 0}, {1, 2, 0}}, {{0, 2, 3}, {2, 1, 3}, {2, 0, 1}}));
  EXPECT_EQ(nearestOf(nominal, {1, -1, 0.5}).side, Side::Border);
  EXPECT_EQ(nearestOf(nominal, {0.5, -1, 0.5}).side, Side::Border);
  EXPECT_EQ(nearestOf(nominal, {1, 1, 0.5}).deviation, 0.5);
}

TEST(MeshNominal, TellsNoSideWhereWindingsDoNotAgree) {
  Surface surface = cube();
  std::swap(surface.facets[0][1], surface.facets[0][2]);
  const MeshNominal nominal(surface);
  EXPECT_THAT(
      nominal.remarks(),
      ElementsAre("3 edges lie between opposite windings: points nearest to them have no side, and on one side of "
                  "them outside and inside are exchanged"));
  EXPECT_EQ(nearestOf(nominal, {-1, 0.5, -1}).side, Side::Unknown);
  EXPECT_DOUBLE_EQ(nearestOf(nominal, {-1, 0.5, -1}).deviation, std::sqrt(2.0));
  EXPECT_EQ(nearestOf(nominal, {-1, -1, -1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {2, 0.5, 2}).side, Side::Known);
  EXPECT_EQ(nearestOf(nominal, {0.5, 0.5, 2}).deviation, 1.0);
}

TEST(MeshNominal, TellsNoSideAtEdgesOfMoreThanTwoTriangles) {
  Surface surface = cube();
  surface.vertices.push_back({2, 2, 0.5});
  surface.facets.push_back({3, 7, 8});
  const MeshNominal nominal(surface);
  EXPECT_THAT(nominal.remarks(),
              ElementsAre("2 edges are open: points nearest to them have no side",
                          "1 edges join more than two triangles: points nearest to them have no side"));
  EXPECT_EQ(nearestOf(nominal, {1.0, 1.0, 0.5}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {3, 3, 0.5}).side, Side::Border);
  EXPECT_EQ(nearestOf(nominal, {-1, 0.5, 0.5}).deviation, 1.0);
}

TEST(MeshNominal, TellsNoSideWherePartsTouchInACorner) {
  Surface surface = cube();
  const Surface other = cube();
  const auto shift = static_cast<std::uint32_t>(surface.vertices.size());
  for (const Vec3& v : other.vertices) surface.vertices.push_back({v[0] + 1, v[1] + 1, v[2] + 1});
  for (const Facet& f : other.facets) surface.facets.push_back({f[0] + shift, f[1] + shift, f[2] + shift});
  const MeshNominal nominal(surface);
  EXPECT_EQ(nearestOf(nominal, {1, 1, 1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {0.5, 0.5, 0.9}).side, Side::Known);
  EXPECT_EQ(nearestOf(nominal, {2.5, 2.5, 2.5}).side, Side::Known);
}

TEST(MeshNominal, TellsNoSideOfASheetWithABack) {
  const MeshNominal nominal(meshOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {0, 2, 1}}));
  EXPECT_THAT(nominal.remarks(),
              ElementsAre("1 triangles are the backs of others: points nearest to them have no side"));
  EXPECT_EQ(nearestOf(nominal, {0.25, 0.25, 1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {0.25, 0.25, -1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {0.5, -1, 0}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {0.25, 0.25, 0.5}).deviation, 0.5);
}

TEST(MeshNominal, LetsTheWindingWinOverStoredNormals) {
  Surface surface = cube();
  for (std::size_t n = 0; n < 12; ++n) surface.facetNormals.push_back({0, 0, -1});
  const MeshNominal nominal(surface);
  EXPECT_THAT(nominal.remarks(),
              ElementsAre("the stored normals of 2 triangles are against their windings, which count"));
  EXPECT_EQ(nearestOf(nominal, {0.5, 0.5, 3}).deviation, 2.0);

  Surface byVertex = cube();
  byVertex.vertexNormals.assign(8, {0, 1, 0});
  EXPECT_THAT(MeshNominal(byVertex).remarks(),
              ElementsAre("the stored normals of 2 triangles are against their windings, which count"));
  Surface unknown = cube();
  unknown.facetNormals.assign(12, {NAN, NAN, NAN});
  EXPECT_THAT(MeshNominal(unknown).remarks(), IsEmpty());
}

// Spikes, saddles and slivers: a plane grid whose heights are thrown, over a box.
Surface ridges(std::mt19937_64& random, std::uint32_t side, double least) {
  Surface surface;
  for (std::uint32_t i = 0; i <= side; ++i) {
    for (std::uint32_t k = 0; k <= side; ++k) {
      const double height = i == 0 || k == 0 || i == side || k == side ? 1.0 : uniform(random, 1.1, 9.0);
      const double squeeze = k % 2 == 1 && k < side ? 1.0 - least : 0.0;
      surface.vertices.push_back({double(k) - squeeze, double(i), height});
    }
  }
  const std::uint32_t row = side + 1, base = row * row;
  for (std::uint32_t i = 0; i < side; ++i) {
    for (std::uint32_t k = 0; k < side; ++k) {
      const std::uint32_t a = i * row + k, b = a + 1, c = a + row, d = c + 1;
      surface.facets.push_back({a, b, d});
      surface.facets.push_back({a, d, c});
    }
  }
  // Sides down to one corner below.
  surface.vertices.push_back({0.5 * side, 0.5 * side, -5.0});
  for (std::uint32_t k = 0; k < side; ++k) {
    surface.facets.push_back({base, k + 1, k});
    surface.facets.push_back({base, side * row + k, side * row + k + 1});
    surface.facets.push_back({base, k * row, (k + 1) * row});
    surface.facets.push_back({base, (k + 1) * row + side, k * row + side});
  }
  return surface;
}

TEST(MeshNominal, KnowsTheSideAmongSpikesSaddlesAndSlivers) {
  std::mt19937_64 random = testRandom();
  for (const double least : {0.5, 1e-3, 1e-6, 1e-9}) {
    const Surface surface = ridges(random, 6, least);
    ASSERT_THAT(MeshNominal(surface).remarks(), IsEmpty());
    expectSides(surface, randomPoints(random, 700, -6.0, 12.0));
  }
}

TEST(MeshNominal, PutsThePointOfASliverWhereExactNumbersPutIt) {
  std::mt19937_64 random = testRandom();
  for (int n = 0; n < 2000; ++n) {
    const std::vector<Vec3> ends = randomPoints(random, 2, -100.0, 100.0);
    const double at = uniform(random, 0.1, 0.9), height = std::pow(10.0, uniform(random, -9.0, 1.0));
    Vec3 top = plus(times(1.0 - at, ends[0]), times(at, ends[1]));
    top = plus(top, times(height, randomPoints(random, 1, -1.0, 1.0)[0]));
    const Surface surface = meshOf({ends[0], ends[1], top}, {{0, 1, 2}});
    // Above the inside.
    const Vec3 inside = plus(times(0.2, ends[0]), plus(times(0.3, ends[1]), times(0.5, top)));
    const Vec3 up = unit(cross(minus(ends[1], ends[0]), minus(top, ends[0])));
    const Vec3 p = plus(inside, times(uniform(random, -50.0, 50.0), up));
    const Triangle triangle = {surface.vertices[0], surface.vertices[1], surface.vertices[2], surface.facets[0], 0.0};
    const ExactFoot exact = exactFoot(triangle, p);
    const Vec3 found = nearestOf(MeshNominal(surface), p).point;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_THAT(found[axis], Near(p[axis] - exact.offset[axis].get_d(), 1e-12)) << height;
    }
  }
}

TEST(MeshNominal, KeepsItsDigitsFarAwayAndAtAnyScale) {
  std::mt19937_64 random = testRandom();
  for (const double scale : {1e-120, 1e-3, 1.0, 1e9, 1e120}) {
    Surface surface = ridges(random, 4, 0.5);
    for (Vec3& v : surface.vertices) v = times(scale, v);
    const MeshNominal nominal(surface);
    for (const double reach : {2.0, 100.0, 1e4, 1e6, 1e9, 1e25}) {
      for (Vec3 p : randomPoints(random, 40, -1.0, 1.0)) {
        if (dot(p, p) < 0.5) continue;
        p = times(10.0 * reach * scale, p);
        const Nearest found = nearestOf(nominal, p);
        const double distance = leastDistance(surface, p);
        EXPECT_THAT(found.deviation / distance, Near(1.0, 1e-15)) << scale << " " << reach;
        const Vec3 off = minus(p, found.point);
        EXPECT_THAT(std::hypot(off[0], off[1], off[2]) / distance, Near(1.0, 1e-15));
      }
    }
  }
}

TEST(MeshNominal, KeepsItsDigitsFarFromTheOrigin) {
  std::mt19937_64 random = testRandom();
  Surface surface = ridges(random, 4, 0.5);
  for (Vec3& v : surface.vertices) v = {v[0] + 0x1p20, v[1] - 0x1p21, v[2] + 0x1p19};
  std::vector<Vec3> points = randomPoints(random, 400, -6.0, 12.0);
  for (Vec3& p : points) p = {p[0] + 0x1p20, p[1] - 0x1p21, p[2] + 0x1p19};
  expectSides(surface, points, 1e-9);
}

}  // namespace
}  // namespace queltool

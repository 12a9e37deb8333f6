#include "nominal/MeshTree.h"

#include <gmpxx.h>

#include <set>

#include "nominal/exact_fixture.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::testRandom;
using quel::testing::uniform;

struct Search {
  std::vector<std::string> remarks;
  NominalFrame frame;
  MeshShape shape;
  MeshTree tree;

  explicit Search(const Surface& surface)
      : frame(surface.vertices),
        shape(inFrame(frame, surface), std::vector<Facet>(surface.facets), remarks),
        tree(shape, frame.middle()) {}

  static std::vector<Vec3> inFrame(const NominalFrame& frame, const Surface& surface) {
    std::vector<Vec3> vertices = surface.vertices;
    for (Vec3& each : vertices) each = frame.into(each);
    return vertices;
  }
};

// Triangles of whole numbers from 0 to 15, each with an area; they may cross.
Surface soup(std::mt19937_64& random, std::size_t count, std::uint32_t corners) {
  Surface surface;
  const auto one = [&] { return double(random() % 16); };
  std::set<Vec3> places;
  while (places.size() < corners) {
    const double x = one(), y = one();
    places.insert({x, y, one()});
  }
  surface.vertices.assign(places.begin(), places.end());
  while (surface.facets.size() < count) {
    const auto corner = [&] { return static_cast<std::uint32_t>(random() % corners); };
    const std::uint32_t a = corner(), b = corner();
    const Facet f = {a, b, corner()};
    const std::vector<Vec3>& v = surface.vertices;
    if (const Vec3 n = cross(minus(v[f[1]], v[f[0]]), minus(v[f[2]], v[f[0]])); queltool::dot(n, n) == 0.0) continue;
    surface.facets.push_back(f);
  }
  // Every place is a corner, so that the frame is the same.
  return surface;
}

TEST(MeshTree, FindsAFeatureThatIsNearestInExactNumbers) {
  std::mt19937_64 random = testRandom();
  std::array<std::size_t, 3> kinds{};
  for (int mesh = 0; mesh < 60; ++mesh) {
    const Surface surface = soup(random, 40, 20);
    const Search search(surface);
    ASSERT_EQ(search.shape.countOfTriangles(), surface.facets.size());
    for (int n = 0; n < 60; ++n) {
      const auto one = [&] { return 0.5 * double(random() % 64) - 8.0; };
      const double x = one(), y = one();
      const Vec3 p = search.frame.into({x, y, one()});
      mpq_class least;
      std::set<MeshFeature> nearest;
      for (std::uint32_t i = 0; i < surface.facets.size(); ++i) {
        const ExactFoot foot = exactFoot(search.shape.triangle(i), p);
        if (!nearest.empty() && foot.squared > least) continue;
        if (foot.squared != least) nearest.clear();
        least = foot.squared;
        nearest.insert(search.shape.featureOf(i, foot.part));
      }
      const MeshTree::Hit hit = search.tree.nearest(p, static_cast<std::uint32_t>(random() % surface.facets.size()));
      EXPECT_TRUE(nearest.contains(hit.feature)) << static_cast<int>(hit.feature.kind) << " " << hit.feature.index;
      ++kinds[static_cast<std::size_t>(hit.feature.kind)];
    }
  }
  for (const std::size_t count : kinds) EXPECT_GT(count, 150u);
}

TEST(MeshTree, FindsTheSameFromAnyHint) {
  std::mt19937_64 random = testRandom();
  const Surface surface = soup(random, 200, 80);
  const Search search(surface);
  for (const Vec3& point : randomPoints(random, 50, -20.0, 40.0)) {
    const Vec3 p = search.frame.into(point);
    const MeshTree::Hit first = search.tree.nearest(p, 0);
    for (std::uint32_t hint = 1; hint < surface.facets.size(); ++hint) {
      const MeshTree::Hit hit = search.tree.nearest(p, hint);
      ASSERT_EQ(hit.feature, first.feature);
      ASSERT_EQ(hit.triangle, first.triangle);
      ASSERT_EQ(hit.foot.offset, first.foot.offset);
    }
  }
}

// Sheets that lie closer together than single precision tells.
TEST(MeshTree, TellsSheetsApartThatSinglePrecisionDoesNot) {
  std::mt19937_64 random = testRandom();
  Surface surface;
  for (std::uint32_t n = 0; n < 2000; ++n) {
    const double height = 0.3 + 1.5e-9 * n;
    surface.vertices.insert(surface.vertices.end(), {{0, 0, height}, {1, 0, height}, {0, 1, height}});
    surface.facets.push_back({3 * n, 3 * n + 1, 3 * n + 2});
  }
  surface.vertices.insert(surface.vertices.end(), {{0, 0, -1.1}, {1, 0, -1.3}, {0, 1, -1.2}});
  surface.facets.push_back({6000, 6001, 6002});
  const Search search(surface);
  for (int n = 0; n < 500; ++n) {
    const std::uint32_t sheet = static_cast<std::uint32_t>(random() % 2000);
    const Vec3 p = {0.2, 0.3, 0.3 + 1.5e-9 * sheet + uniform(random, -7e-10, 7e-10)};
    const std::uint32_t hint = static_cast<std::uint32_t>(random() % 2001);
    EXPECT_EQ(search.tree.nearest(search.frame.into(p), hint).triangle, sheet);
  }
}

// Triangles of which many are nearest but for the last digits, seen from near and far: none may be passed over.
TEST(MeshTree, LosesNoTriangleToSinglePrecision) {
  std::mt19937_64 random = testRandom();
  Surface surface;
  for (std::uint32_t n = 0; n < 3000; ++n) {
    // On a ball, so that all are as far from its middle.
    Vec3 out = randomPoints(random, 1, -1.0, 1.0)[0];
    out = unit(out);
    const Vec3 u = unit(cross(out, {0.3, -0.5, 0.8})), v = cross(out, u);
    for (const double angle : {0.0, 2.1, 4.2}) {
      surface.vertices.push_back(plus(out, plus(times(0.01 * std::cos(angle), u), times(0.01 * std::sin(angle), v))));
    }
    surface.facets.push_back({3 * n, 3 * n + 1, 3 * n + 2});
  }
  const Search search(surface);
  for (const double reach : {1e-12, 1e-9, 1e-7, 1e-5, 1.0, 1e2, 1e4, 1e6}) {
    for (const Vec3& point : randomPoints(random, 60, -reach, reach)) {
      const Vec3 p = search.frame.into(point);
      const MeshTree::Hit hit = search.tree.nearest(p, 7);
      double least = hit.foot.squared;
      for (std::uint32_t i = 0; i < surface.facets.size(); ++i) {
        least = std::min(least, footOn(search.shape.triangle(i), p).squared);
      }
      EXPECT_EQ(hit.foot.squared, least) << reach;
    }
  }
}

}  // namespace
}  // namespace queltool

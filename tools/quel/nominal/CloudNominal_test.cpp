#include "nominal/CloudNominal.h"

#include "files/Failure.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::testRandom;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

Surface cloudOf(std::vector<Vec3> points, std::vector<Vec3> normals = {}) {
  Surface surface;
  surface.vertices = std::move(points);
  surface.vertexNormals = std::move(normals);
  return surface;
}

std::string complaintOf(Surface surface, std::optional<Vec3> viewpoint = {}) try {
  CloudNominal nominal(std::move(surface), viewpoint);
  return "accepted";
} catch (const Failure& failure) {
  return failure.what();
}

TEST(CloudNominal, TakesTheNearestPointAndTheSideOfItsNormal) {
  const CloudNominal nominal(cloudOf({{0, 0, 0}, {10, 0, 0}}, {{0, 0, 5}, {0, 0, -0.1}}), {});
  const Nearest above = nearestOf(nominal, {3, 0, 4});
  EXPECT_EQ(above.point, (Vec3{0, 0, 0}));
  EXPECT_EQ(above.normal, (Vec3{0, 0, 1}));
  EXPECT_EQ(above.deviation, 5.0);
  EXPECT_EQ(above.side, Side::Known);
  EXPECT_EQ(nearestOf(nominal, {7, 0, 4}).deviation, -5.0);
  EXPECT_EQ(nearestOf(nominal, {0, 0, 0}).deviation, 0.0);
  EXPECT_EQ(nearestOf(nominal, {0, 0, 0}).side, Side::Known);
  EXPECT_EQ(nominal.title(), "cloud of 2 points");
  EXPECT_EQ(nominal.size(), 10.0);
  EXPECT_TRUE(nominal.isSampled());
}

TEST(CloudNominal, TellsNoSideAcrossTheNormalOrWithoutOne) {
  const CloudNominal nominal(cloudOf({{0, 0, 0}, {10, 0, 0}, {20, 0, 0}}, {{0, 0, 1}, {0, 0, 0}, {NAN, 0, 1}}), {});
  EXPECT_EQ(nearestOf(nominal, {0, 2, 0}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {0, 2, 0}).deviation, 2.0);
  EXPECT_EQ(nearestOf(nominal, {10, 0, -1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {10, 0, -1}).deviation, 1.0);
  EXPECT_EQ(nearestOf(nominal, {20, 0, 1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(nominal, {20, 0, 1}).normal, (Vec3{0, 0, 0}));
  EXPECT_EQ(nearestOf(nominal, {20, 0, 0}).side, Side::Known);
}

TEST(CloudNominal, TakesTheLowestOfPointsAtTheSameDistance) {
  std::mt19937_64 random = testRandom();
  std::vector<Vec3> points;
  for (int n = 0; n < 4000; ++n) {
    points.push_back({double(random() % 16), double(random() % 16), double(random() % 16)});
  }
  const CloudNominal nominal(cloudOf(points, std::vector<Vec3>(points.size(), {0, 0, 1})), {});
  for (int n = 0; n < 500; ++n) {
    const Vec3 p = {0.5 * double(random() % 32), 0.5 * double(random() % 32), 0.5 * double(random() % 32)};
    std::size_t least = 0;
    const auto squared = [&](std::size_t i) { return dot(minus(p, points[i]), minus(p, points[i])); };
    for (std::size_t i = 1; i < points.size(); ++i) {
      if (squared(i) < squared(least)) least = i;
    }
    EXPECT_EQ(nearestOf(nominal, p).point, points[least]);
  }
}

TEST(CloudNominal, TurnsThePlaneOfNeighboursToTheViewpoint) {
  std::vector<Vec3> points;
  for (int n = 0; n < 100; ++n) points.push_back({double(n % 10), double(n / 10), 0.5 * (n % 10)});
  const double slope = 1.0 / std::sqrt(1.25);
  for (const double up : {1.0, -1.0}) {
    const CloudNominal nominal(cloudOf(points), Vec3{0, 0, 100 * up});
    const Nearest found = nearestOf(nominal, {4.5, 5, 4.0});
    EXPECT_EQ(found.side, Side::Known);
    EXPECT_THAT(found.normal[2], Near(up * slope, 1e-14));
    EXPECT_THAT(found.normal[0], Near(-0.5 * up * slope, 1e-14));
    EXPECT_GT(up * found.deviation, 0.0);
  }
  EXPECT_EQ(complaintOf(cloudOf(points)),
            "is a cloud without normals, which does not tell its outside; give --viewpoint X,Y,Z");
}

TEST(CloudNominal, HasNoSideWhereItsPointsHaveNoPlane) {
  std::vector<Vec3> line;
  for (int n = 0; n < 30; ++n) line.push_back({0.1 * n, 0.2 * n, -0.3 * n});
  EXPECT_EQ(nearestOf(CloudNominal(cloudOf(line), Vec3{9, 9, 9}), {1, 1, 1}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(CloudNominal(cloudOf({{1, 2, 3}}), Vec3{9, 9, 9}), {1, 2, 5}).side, Side::Unknown);
  EXPECT_EQ(nearestOf(CloudNominal(cloudOf({{1, 2, 3}}), Vec3{9, 9, 9}), {1, 2, 5}).deviation, 2.0);
  const CloudNominal three(cloudOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), Vec3{0, 0, 9});
  EXPECT_EQ(nearestOf(three, {0, 0, -2}).deviation, -2.0);
  // A viewpoint in the plane tells no side of it.
  EXPECT_EQ(nearestOf(CloudNominal(cloudOf({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), Vec3{7, 8, 0}), {0, 0, 2}).side,
            Side::Unknown);
}

TEST(CloudNominal, LeavesOutWhatIsNotFiniteOrThereAlready) {
  std::vector<Vec3> points(500, {1, 1, 1});
  std::vector<Vec3> normals(500, {0, 0, 1});
  points.push_back({NAN, 0, 0});
  normals.push_back({1, 0, 0});
  points.push_back({0, 0, 0});
  normals.push_back({0, 1, 0});
  normals[0] = {1, 0, 0};
  const CloudNominal nominal(cloudOf(points, normals), {});
  EXPECT_THAT(nominal.remarks(), ElementsAre("1 points are not finite and are left out",
                                             "499 points lie where others do and are left out"));
  EXPECT_EQ(nearestOf(nominal, {4, 1, 1}).deviation, 3.0);
  EXPECT_EQ(nearestOf(nominal, {0, -1, 0}).deviation, -1.0);
  EXPECT_EQ(complaintOf(cloudOf({{NAN, 0, 0}}), Vec3{}), "holds no finite points");
  EXPECT_EQ(nearestOf(CloudNominal(cloudOf({{1, 1, 1}}, {{0, 0, 1}}), {}), {1, 1, 3}).deviation, 2.0);
}

TEST(CloudNominal, FindsPointsThatAreFarAwayOrHuge) {
  for (const double scale : {1e-150, 1.0, 1e150}) {
    const CloudNominal nominal(cloudOf({{0, 0, 0}, {scale, 0, 0}}, {{-1, 0, 0}, {1, 0, 0}}), {});
    EXPECT_DOUBLE_EQ(nearestOf(nominal, {3 * scale, 0, 0}).deviation, 2 * scale);
    EXPECT_DOUBLE_EQ(nearestOf(nominal, {-3 * scale, 0, 0}).deviation, 3 * scale);
    EXPECT_DOUBLE_EQ(nearestOf(nominal, {1e6 * scale, 0, 0}).deviation, 999999 * scale);
    // From there both points lie in one place.
    EXPECT_DOUBLE_EQ(std::abs(nearestOf(nominal, {1e30 * scale, 0, 0}).deviation), 1e30 * scale);
  }
}

}  // namespace
}  // namespace queltool

#include "nominal/TrianglePoint.h"

#include "nominal/SliverPoint.h"
#include "nominal/exact_fixture.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;

constexpr double kEndless = std::numeric_limits<double>::infinity();
constexpr std::array<std::uint32_t, 3> kPlaces = {4, 2, 9};

Vec3 small(std::mt19937_64& random, int span) {
  const auto one = [&] { return double(static_cast<int>(random() % (2 * span + 1)) - span); };
  const double x = one(), y = one();
  return {x, y, one()};
}

bool hasArea(const Vec3& a, const Vec3& b, const Vec3& c) {
  const Vec3 n = cross(minus(b, a), minus(c, a));
  return queltool::dot(n, n) > 0.0;
}

TEST(FootOn, IsOnTheExactPartForNumbersOfFewDigits) {
  std::mt19937_64 random = testRandom();
  std::array<std::size_t, 7> met{};
  std::size_t firmOnes = 0;
  for (int n = 0; n < 20000; ++n) {
    const Vec3 a = small(random, 4), b = small(random, 4), c = small(random, 4), p = small(random, 6);
    if (!hasArea(a, b, c)) continue;
    const Triangle t = {a, b, c, kPlaces, reachOf(a, b, c)};
    const ExactFoot exact = exactFoot(t, p);
    const bool firm = queltool::dot(minus(p, a), minus(p, a)) <= t.reach;
    EXPECT_EQ((firm ? footOn(t, p) : refinedFoot(t, p)).part, exact.part);
    EXPECT_EQ(refinedFoot(t, p).part, exact.part);
    for (const Foot& foot : {footOn(t, p), refinedFoot(t, p)}) {
      EXPECT_THAT(foot.squared, Near(exact.squared.get_d(), 1e-14 * (1.0 + exact.squared.get_d())));
    }
    ++met[static_cast<std::size_t>(exact.part)];
    firmOnes += firm ? 1 : 0;
  }
  EXPECT_GT(firmOnes, 1000u);
  for (const std::size_t count : met) EXPECT_GT(count, 500u);
}

TEST(FootOn, IsAsNearAsTheExactFootOfSlivers) {
  std::mt19937_64 random = testRandom();
  std::size_t firm = 0;
  for (int n = 0; n < 4000; ++n) {
    const double height = std::pow(10.0, uniform(random, -12.0, 0.0));
    const Vec3 a = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    const Vec3 b = {uniform(random, -1, 1), uniform(random, -1, 1), uniform(random, -1, 1)};
    const double at = uniform(random, -0.2, 1.2);
    Vec3 c;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      c[axis] = a[axis] + at * (b[axis] - a[axis]) + height * uniform(random, -1, 1);
    }
    const double reach = std::pow(10.0, uniform(random, -6.0, 2.0));
    Vec3 p;
    for (std::size_t axis = 0; axis < 3; ++axis) p[axis] = 0.5 * (a[axis] + b[axis]) + reach * uniform(random, -1, 1);
    const Triangle t = {a, b, c, kPlaces, reachOf(a, b, c)};
    const ExactFoot exact = exactFoot(t, p);
    const double distance = std::sqrt(exact.squared.get_d());
    EXPECT_THAT(std::sqrt(footOn(t, p).squared), Near(distance, 4e-15 * (1.0 + reach))) << height << " " << reach;
    const Foot refined = refinedFoot(t, p);
    EXPECT_THAT(std::sqrt(refined.squared), Near(distance, 4e-15 * (1.0 + reach)));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_THAT(refined.offset[axis], Near(exact.offset[axis].get_d(), 1e-14 * (1.0 + reach))) << height;
    }
    if (queltool::dot(minus(p, a), minus(p, a)) > t.reach) continue;
    ++firm;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      EXPECT_THAT(footOn(t, p).offset[axis], Near(exact.offset[axis].get_d(), 1e-12)) << height << " " << reach;
    }
  }
  EXPECT_GT(firm, 200u);
}

TEST(FootOn, OfAnEdgeHasTheSameBitsInBothTriangles) {
  std::mt19937_64 random = testRandom();
  std::size_t edges = 0;
  for (int n = 0; n < 5000; ++n) {
    const std::vector<Vec3> v = randomPoints(random, 5, -1.0, 1.0);
    constexpr std::array<std::uint32_t, 3> kFirst = {7, 3, 5}, kSecond = {3, 7, 6};
    const Foot first = footOn({v[0], v[1], v[2], kFirst, kEndless}, v[4]),
               second = footOn({v[1], v[0], v[3], kSecond, kEndless}, v[4]);
    if (first.part != TrianglePart::Edge0 || second.part != TrianglePart::Edge0) continue;
    ++edges;
    EXPECT_EQ(first.squared, second.squared);
    EXPECT_EQ(first.offset, second.offset);
  }
  EXPECT_GT(edges, 100u);
}

TEST(FootOnEdge, CallsTheEndsOfAnEdgeCorners) {
  const Vec3 a = {0, 0, 0}, b = {1, 0, 0}, c = {0, 1, 0};
  for (const std::array<std::uint32_t, 3>& places : {kPlaces, std::array<std::uint32_t, 3>{1, 2, 3}}) {
    const Triangle t = {a, b, c, places, kEndless};
    EXPECT_EQ(footOnEdge(t, {-1, 0, 0}, 0).part, TrianglePart::Corner0);
    EXPECT_EQ(footOnEdge(t, {3, 0, 0}, 0).part, TrianglePart::Corner1);
    EXPECT_EQ(footOnEdge(t, {0.5, -1, 0}, 0).part, TrianglePart::Edge0);
    EXPECT_EQ(footOnEdge(t, {3, -2, 0}, 1).part, TrianglePart::Corner1);
    EXPECT_EQ(footOnEdge(t, {-3, 4, 0}, 1).part, TrianglePart::Corner2);
    EXPECT_EQ(footOnEdge(t, {-1, 2, 0}, 2).part, TrianglePart::Corner2);
    EXPECT_EQ(footOnEdge(t, {-1, -2, 0}, 2).part, TrianglePart::Corner0);
    EXPECT_EQ(footOnEdge(t, {-1, 0.25, 0}, 2).part, TrianglePart::Edge2);
  }
}

}  // namespace
}  // namespace queltool

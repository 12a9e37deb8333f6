#include "nominal/TrianglePoint.h"

#include <gmpxx.h>

#include "nominal/SliverPoint.h"
#include "nominal/meshes_fixture.h"

namespace queltool {
namespace {

using quel::testing::Near;
using quel::testing::testRandom;
using quel::testing::uniform;

// Fractions without end: nothing of what follows is rounded.
using Exact = std::array<mpq_class, 3>;

Exact exactOf(const Vec3& v) { return {mpq_class(v[0]), mpq_class(v[1]), mpq_class(v[2])}; }
Exact operator-(const Exact& a, const Exact& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Exact operator*(const mpq_class& f, const Exact& a) { return {f * a[0], f * a[1], f * a[2]}; }
mpq_class dot(const Exact& a, const Exact& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

struct ExactFoot {
  Exact offset;
  mpq_class squared;
  TrianglePart part;
};

void keepNearer(ExactFoot& best, const Exact& offset, TrianglePart part) {
  const mpq_class squared = dot(offset, offset);
  if (best.part == TrianglePart::Facet || squared < best.squared) best = {offset, squared, part};
}

// The corners, then the edges where the foot lies between their ends, then the plane where it lies inside: what comes
// later counts where it is nearer.
ExactFoot exactFoot(const Triangle& t, const Vec3& point) {
  const Exact corner[] = {exactOf(t.a), exactOf(t.b), exactOf(t.c)};
  const Exact p = exactOf(point);
  ExactFoot best = {p - corner[0], dot(p - corner[0], p - corner[0]), TrianglePart::Corner0};
  keepNearer(best, p - corner[1], TrianglePart::Corner1);
  keepNearer(best, p - corner[2], TrianglePart::Corner2);
  for (std::size_t k = 0; k < 3; ++k) {
    const Exact along = corner[(k + 1) % 3] - corner[k], from = p - corner[k];
    const mpq_class way = dot(along, from) / dot(along, along);
    if (way <= 0 || way >= 1) continue;
    keepNearer(best, from - way * along, static_cast<TrianglePart>(3 + k));
  }
  const Exact ab = corner[1] - corner[0], ac = corner[2] - corner[0], ap = p - corner[0];
  const mpq_class bb = dot(ab, ab), bc = dot(ab, ac), cc = dot(ac, ac);
  const mpq_class whole = bb * cc - bc * bc;
  const mpq_class v = (cc * dot(ab, ap) - bc * dot(ac, ap)) / whole;
  const mpq_class w = (bb * dot(ac, ap) - bc * dot(ab, ap)) / whole;
  if (v > 0 && w > 0 && v + w < 1) keepNearer(best, ap - v * ab - w * ac, TrianglePart::Facet);
  return best;
}

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

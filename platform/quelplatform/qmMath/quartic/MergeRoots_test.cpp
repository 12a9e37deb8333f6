#include "quelplatform/qmMath/quartic/MergeRoots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::areAllRootsOfOne;
using quel::testing::Quartic;
using quel::testing::smallPolynomial;
using quel::testing::solvedOf;
using quel::testing::testRandom;
using quel::testing::text;
using quel::testing::toleranceOf;
using quel::testing::uniform;
using quelplatform::banded;
using quelplatform::MergedRoot;
using quelplatform::mergeRoots;
using quelplatform::RealRoots;
using ::testing::ElementsAre;

constexpr double kUnit = std::numeric_limits<double>::epsilon();

// The product of x - root over all roots, each coefficient rounded from the exact one.
Quartic fromRoots(const std::vector<double>& roots) {
  std::vector<mpq_class> c = {1};
  for (const double root : roots) {
    c.insert(c.begin(), 0);
    for (std::size_t i = 0; i + 1 < c.size(); ++i) c[i] -= mpq_class(root) * c[i + 1];
  }
  Quartic rounded = {};
  for (std::size_t i = 0; i < c.size(); ++i) {
    const mpf_class wide(c[i], 400);
    rounded[i] = wide.get_d();
  }
  return rounded;
}

// What `mergeRoots` makes of the places; a count of -1 when it refuses.
RealRoots merged(const Quartic& c, const std::vector<MergedRoot>& places, int expected) {
  RealRoots roots;
  roots.count = -1;
  mergeRoots(banded(smallPolynomial(c)), places.data(), static_cast<int>(places.size()), expected, &roots);
  return roots;
}

std::vector<double> listed(const RealRoots& roots) { return {roots.at, roots.at + std::max(roots.count, 0)}; }

// Whether a quadratic within the tolerances about `c`, whose ends are positive, has a discriminant of 0.
bool hasADoubleRootNearby(const Quartic& c) {
  const mpq_class middle = abs(mpq_class(c[1])), moved = middle + toleranceOf(c[1]);
  return moved * moved >= 4 * (c[0] - toleranceOf(c[0])) * (c[2] - toleranceOf(c[2]));
}

TEST(mergeRoots, MergesAPairExactlyWhenAQuadraticWithinTheTolerancesHasADoubleRoot) {
  int merges = 0, refusals = 0;
  for (int units = 1; units <= 40; ++units) {
    const Quartic c = {1 + units * kUnit, -2, 1, 0, 0};
    if (units == 16) continue;  // On the border, where the second order of the tolerances decides.
    const RealRoots roots = merged(c, {{1.0, 2}}, 2);
    EXPECT_EQ(roots.count == 2, hasADoubleRootNearby(c)) << units;
    (roots.count == 2 ? merges : refusals) += 1;
    if (roots.count != 2) continue;
    EXPECT_EQ(roots.at[0], roots.at[1]);
    EXPECT_TRUE(areAllRootsOfOne(c, listed(roots))) << text(c, solvedOf(smallPolynomial(c), roots));
    EXPECT_GE(roots.change, (1 - 1e-9) * units / 4.0);  // All three move the value at 1, by 4 units for each of theirs.
    EXPECT_LE(roots.change, quelplatform::kUnits);
  }
  EXPECT_EQ(merges, 15);
  EXPECT_EQ(refusals, 24);
}

TEST(mergeRoots, GivesAllRootsOfOnePolynomialWithinTheTolerances) {
  auto random = testRandom();
  for (int i = 0; i < 2000; ++i) {
    const double a = uniform(random, 0.5, 2), b = uniform(random, -2, -0.5), d = uniform(random, 3, 4);
    const double off = a * (1 + uniform(random, -1, 1) * 1e-9);
    const struct {
      Quartic c;
      std::vector<MergedRoot> places;
    } cases[] = {{fromRoots({a, a, b, d}), {{off, 2}}},
                 {fromRoots({a, a, b, b}), {{b, 2}, {off, 2}}},
                 {fromRoots({a, a, a, d}), {{off, 3}}},
                 {fromRoots({a, a, a, a}), {{off, 4}}},
                 {fromRoots({b, a, a}), {{off, 2}}}};
    for (const auto& [c, places] : cases) {
      const RealRoots roots = merged(c, places, smallPolynomial(c).degree);
      ASSERT_EQ(roots.count, smallPolynomial(c).degree) << a << ' ' << b << ' ' << d;
      ASSERT_TRUE(areAllRootsOfOne(c, listed(roots))) << text(c, solvedOf(smallPolynomial(c), roots));
      ASSERT_LE(roots.change, quelplatform::kUnits);
    }
  }
}

TEST(mergeRoots, LeavesExactMultipleRootsAndTheOthersAsTheyAre) {
  const RealRoots roots = merged({12, -4, -9, 6, -1}, {{2.0, 2}}, 4);
  EXPECT_THAT(listed(roots), ElementsAre(-1, 2, 2, 3));
  EXPECT_EQ(roots.change, 0.0);
}

TEST(mergeRoots, RefusesPlacesThatNoPolynomialNearbyHasMultipleRootsAt) {
  EXPECT_EQ(merged({4, 0, -5, 0, 1}, {{1.5, 2}}, 4).count, -1);
  EXPECT_EQ(merged(fromRoots({1, 1, 1.001}), {{1.0, 3}}, 3).count, -1);
}

TEST(mergeRootsAt, MergesExactlyAtThePlaceOrNotAtAll) {
  const Quartic c = fromRoots({1, 1, 3, -2});
  int merges = 0;
  for (const int units : {-40, -2, -1, 0, 1, 2, 40}) {
    const double place = 1 + units * kUnit;
    RealRoots roots;
    if (!quelplatform::mergeRootsAt(banded(smallPolynomial(c)), {place, 2}, 4, &roots)) continue;
    ++merges;
    EXPECT_EQ(std::count(roots.at, roots.at + roots.count, place), 2) << units;
    EXPECT_TRUE(areAllRootsOfOne(c, listed(roots))) << text(c, solvedOf(smallPolynomial(c), roots));
  }
  EXPECT_GE(merges, 3);
  EXPECT_LT(merges, 7);
}

TEST(mergeRoots, RefusesWhenFewerRootsAreRealThanExpected) {
  const Quartic c = {1, -2, 2, -2, 1};  // (x - 1)^2 (x^2 + 1)
  EXPECT_EQ(merged(c, {{1.0, 2}}, 4).count, -1);
  EXPECT_THAT(listed(merged(c, {{1.0, 2}}, 2)), ElementsAre(1, 1));
}

}  // namespace

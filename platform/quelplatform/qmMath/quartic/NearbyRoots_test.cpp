#include "quelplatform/qmMath/quartic/NearbyRoots.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::isRoundedRoot;
using quel::testing::kQuarticFamilies;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::solved;
using quel::testing::Solved;
using quel::testing::testRandom;
using quel::testing::text;
using quel::testing::uniform;
using quelplatform::areApart;
using quelplatform::RealRoots;
using quelplatform::RootPair;
using quelplatform::roundRoots;

constexpr double kRounded = quel::testing::kNearlyHalf;

bool isUsable(const Quartic& c) {
  return c[0] != 0.0 && c[4] != 0.0 && std::all_of(c.begin(), c.end(), [](double x) {
           return x == 0.0 || (std::abs(x) > 0x1p-60 && std::abs(x) < 0x1p60);
         });
}

// A number at a relative distance of 1 to 1e-16; half of them where one step is about to be enough.
double near(double x, std::mt19937_64& random) {
  const double exponent = random() % 2 == 0 ? uniform(random, -16, 0) : uniform(random, -8, -6);
  return x * (1 + std::pow(10.0, exponent) * uniform(random, -1, 1));
}

class NearbyRoots : public ::testing::TestWithParam<QuarticMaker::Family> {};

TEST_P(NearbyRoots, AreRoundedFromExactOnesWhereverTheyAreGiven) {
  auto random = testRandom();
  int given = 0;
  for (int i = 0; i < 6000; ++i) {
    const Quartic c = GetParam().make(random);
    const Solved s = solved(c);
    if (!isUsable(c) || s.count < 2) continue;
    RootPair pair = {near(s.roots[0], random), near(s.roots[1], random)};
    const double from[2] = {pair[0], pair[1]};
    if (!roundRoots(c.data(), &pair)) continue;
    ++given;
    ASSERT_TRUE(isRoundedRoot(c, pair[0], kRounded)) << text(c, s) << " from " << from[0] << " to " << pair[0];
    ASSERT_TRUE(isRoundedRoot(c, pair[1], kRounded)) << text(c, s) << " from " << from[1] << " to " << pair[1];
  }
  const std::string name = GetParam().name;
  const bool isHard = name == "AllOfTheRange" || name == "WideScales" || name.ends_with("Moved");
  EXPECT_GT(given, isHard ? -1 : 100);
}

INSTANTIATE_TEST_SUITE_P(Families, NearbyRoots, ::testing::ValuesIn(kQuarticFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

TEST(roundRoots, GoesToTheNearestRootsSideBySide) {
  const Quartic c = {24, -50, 35, -10, 1};  // 1, 2, 3 and 4
  RootPair pair = {1.05, 3.9};
  ASSERT_TRUE(roundRoots(c.data(), &pair));
  EXPECT_EQ(pair[0], 1.0);
  EXPECT_EQ(pair[1], 4.0);
}

TEST(roundRoots, ProvesNothingWhereThereIsNoRoot) {
  const Quartic none = {1, 0, 0, 0, 1};
  RootPair pair = {0.5, -2.0};
  EXPECT_FALSE(roundRoots(none.data(), &pair));
  const Quartic c = {24, -50, 35, -10, 1};
  for (const double x : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    pair = RootPair{1.0, x};
    EXPECT_FALSE(roundRoots(c.data(), &pair)) << x;
    pair = RootPair{x, 1.0};
    EXPECT_FALSE(roundRoots(c.data(), &pair)) << x;
  }
}

TEST(roundRoots, ProvesNothingAtADoubleRoot) {
  const Quartic c = {4, -8, 5, -2, 1};  // (x - 1)^2 (x^2 + 4)
  RootPair pair = {1.0, 1.0};
  EXPECT_FALSE(roundRoots(c.data(), &pair));
  pair = RootPair{0.9, 1.1};
  EXPECT_FALSE(roundRoots(c.data(), &pair));
}

RealRoots three(double a, double b, double c) {
  RealRoots roots;
  for (const double x : {a, b, c}) roots.insert(x);
  return roots;
}

TEST(areApart, IsTrueOnlyOfNumbersThatAreNotNeighbours) {
  EXPECT_TRUE(areApart(three(-1, 1, 1 + 0x1p-40)));
  EXPECT_TRUE(areApart(three(-1 - 0x1p-40, -1, 1)));
  EXPECT_FALSE(areApart(three(-1, 1, 1)));
  EXPECT_FALSE(areApart(three(-1, 1, 1 + 0x1p-51)));
  EXPECT_FALSE(areApart(three(-1 - 0x1p-51, -1, 1)));
  EXPECT_TRUE(areApart({}));
}

}  // namespace

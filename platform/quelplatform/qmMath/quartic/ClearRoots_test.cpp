#include "quelplatform/qmMath/quartic/ClearRoots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::cut;
using quel::testing::fault;
using quel::testing::finiteRoots;
using quel::testing::kQuarticFamilies;
using quel::testing::moved;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::quarticOf;
using quel::testing::rootBoundOf;
using quel::testing::smallPolynomial;
using quel::testing::solvedOf;
using quel::testing::testRandom;
using quel::testing::text;
using quelplatform::clearRoots;
using quelplatform::RealRoots;
using quelplatform::SmallPolynomial;
using ::testing::ElementsAre;

// Scaling is the business of others: coefficients lie within 2^-30 and 2^30, but for zeros.
bool isModest(const SmallPolynomial& polynomial) {
  return std::all_of(polynomial.c, polynomial.c + polynomial.degree + 1,
                     [](double c) { return c == 0.0 || (std::abs(c) > 0x1p-30 && std::abs(c) < 0x1p30); });
}

// Whether quartics within the tolerances differ in their number of real roots, as far as the outermost ones tell.
bool isUndecided(const Quartic& c) {
  const int given = finiteRoots(moved(c));
  for (const int side : {-1, 1}) {
    for (const int part : {-1, 1}) {
      if (finiteRoots(moved(c, part, side)) != given) return true;
    }
  }
  return false;
}

class ClearRoots : public ::testing::TestWithParam<QuarticMaker::Family> {};

TEST_P(ClearRoots, AreAllRootsEachRoundedWhereverTheyAreGivenAtAll) {
  auto random = testRandom();
  int given = 0;
  for (int i = 0; i < 1500; ++i) {
    const SmallPolynomial polynomial = cut(GetParam().make(random), 2 + i % 3);
    if (polynomial.degree < 2 || !isModest(polynomial)) continue;
    const Quartic c = quarticOf(polynomial);
    RealRoots roots;
    if (!clearRoots(polynomial, rootBoundOf(polynomial), &roots)) continue;
    ++given;
    ASSERT_EQ(roots.change, 0.0);
    ASSERT_EQ(fault(c, solvedOf(polynomial, roots)), "") << text(c, solvedOf(polynomial, roots));
    ASSERT_FALSE(isUndecided(c)) << text(c, solvedOf(polynomial, roots));
  }
  const bool isRange = std::string(GetParam().name) == "AllOfTheRange" || std::string(GetParam().name) == "WideScales";
  EXPECT_GT(given, isRange ? -1 : 100);
}

INSTANTIATE_TEST_SUITE_P(Families, ClearRoots, ::testing::ValuesIn(kQuarticFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

TEST(clearRoots, FindsTheRootsOfEveryDegree) {
  RealRoots roots;
  ASSERT_TRUE(clearRoots(smallPolynomial({6, -5, 1, 0, 0}), 8, &roots));
  EXPECT_THAT(std::vector<double>(roots.at, roots.at + roots.count), ElementsAre(2, 3));
  ASSERT_TRUE(clearRoots(smallPolynomial({-8, 14, -7, 1, 0}), 8, &roots));
  EXPECT_THAT(std::vector<double>(roots.at, roots.at + roots.count), ElementsAre(1, 2, 4));
  ASSERT_TRUE(clearRoots(smallPolynomial({4, 0, -5, 0, 1}), 8, &roots));
  EXPECT_THAT(std::vector<double>(roots.at, roots.at + roots.count), ElementsAre(-2, -1, 1, 2));
}

TEST(clearRoots, TellsThatThereAreNone) {
  RealRoots roots;
  ASSERT_TRUE(clearRoots(smallPolynomial({1, 0, 1, 0, 0}), 8, &roots));
  EXPECT_EQ(roots.count, 0);
  ASSERT_TRUE(clearRoots(smallPolynomial({1, 0, 0, 0, 1}), 8, &roots));
  EXPECT_EQ(roots.count, 0);
}

TEST(clearRoots, LeavesMultipleRootsToOthers) {
  RealRoots roots;
  EXPECT_FALSE(clearRoots(smallPolynomial({1, -2, 1, 0, 0}), 8, &roots));
  EXPECT_FALSE(clearRoots(smallPolynomial({-1, 3, -3, 1, 0}), 8, &roots));
  EXPECT_FALSE(clearRoots(smallPolynomial({1, -4, 6, -4, 1}), 8, &roots));
  EXPECT_FALSE(clearRoots(smallPolynomial({1, 0, -2, 0, 1}), 8, &roots));
}

TEST(clearRoots, LeavesARootAtAPointOfInflectionToOthers) {
  RealRoots roots;
  EXPECT_FALSE(clearRoots(smallPolynomial({-6, 11, -6, 1, 0}), 8, &roots));  // 1, 2 and 3
}

}  // namespace

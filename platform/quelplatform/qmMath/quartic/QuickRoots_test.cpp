#include "quelplatform/qmMath/quartic/QuickRoots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "quelplatform/qmMath/quartic/ClearRoots.h"
#include "quelplatform/qmMath/quartic/NearMultipleRoots.h"
#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::fault;
using quel::testing::kQuarticFamilies;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::rootBoundOf;
using quel::testing::smallPolynomial;
using quel::testing::solvedOf;
using quel::testing::testRandom;
using quel::testing::text;
using quelplatform::quickRoots;
using quelplatform::RealRoots;
using quelplatform::SmallPolynomial;
using ::testing::ElementsAre;

std::vector<double> listed(const RealRoots& roots) { return {roots.at, roots.at + roots.count}; }

// The other ways, which do not know of this one.
RealRoots otherwise(const SmallPolynomial& polynomial) {
  RealRoots roots;
  return quelplatform::clearRoots(polynomial, rootBoundOf(polynomial), &roots)
             ? roots
             : quelplatform::nearMultipleRoots(polynomial);
}

// By not more than the rounding of one of them.
bool areNeighbours(double a, double b) { return a == b || std::nextafter(a, b) == b; }

class QuickRoots : public ::testing::TestWithParam<QuarticMaker::Family> {};

TEST_P(QuickRoots, AreThoseOfTheOtherWaysEachRoundedWhereverTheyAreGivenAtAll) {
  auto random = testRandom();
  int given = 0;
  for (int i = 0; i < 3000; ++i) {
    const Quartic c = GetParam().make(random);
    RealRoots roots;
    if (c[0] == 0.0 || c[4] == 0.0 || !quickRoots(c.data(), &roots)) continue;
    ++given;
    const SmallPolynomial polynomial = smallPolynomial(c);
    ASSERT_EQ(fault(c, solvedOf(polynomial, roots)), "") << text(c, solvedOf(polynomial, roots));
    ASSERT_EQ(roots.change, 0.0);
    const RealRoots others = otherwise(polynomial);
    ASSERT_EQ(roots.count, others.count) << text(c, solvedOf(polynomial, roots));
    EXPECT_TRUE(std::equal(roots.at, roots.at + roots.count, others.at, areNeighbours));
  }
  const std::string name = GetParam().name;
  const bool isHard = name == "AllOfTheRange" || name == "WideScales" || name.ends_with("Moved");
  EXPECT_GT(given, isHard ? -1 : 300);
}

INSTANTIATE_TEST_SUITE_P(Families, QuickRoots, ::testing::ValuesIn(kQuarticFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

TEST(quickRoots, TakesNearlyAllQuarticsOfCorrespondences) {
  auto random = testRandom();
  int all = 0, taken = 0;
  for (int i = 0; i < 4000; ++i) {
    const Quartic c = QuarticMaker::correspondence(random);
    RealRoots roots;
    all += c[4] != 0.0 && c[0] != 0.0 ? 1 : 0;
    taken += c[4] != 0.0 && c[0] != 0.0 && quickRoots(c.data(), &roots) ? 1 : 0;
  }
  EXPECT_GT(taken, 0.99 * all);
}

TEST(quickRoots, AreInOrderWhateverTheSignOfTheLeadingCoefficient) {
  const Quartic c = {24, -50, 35, -10, 1}, negated = {-24, 50, -35, 10, -1};
  RealRoots roots;
  ASSERT_TRUE(quickRoots(c.data(), &roots));
  EXPECT_THAT(listed(roots), ElementsAre(1, 2, 3, 4));
  ASSERT_TRUE(quickRoots(negated.data(), &roots));
  EXPECT_THAT(listed(roots), ElementsAre(1, 2, 3, 4));
}

TEST(quickRoots, TellThatThereAreNone) {
  const Quartic c = {1, 0, 0, 0, 1};
  RealRoots roots;
  ASSERT_TRUE(quickRoots(c.data(), &roots));
  EXPECT_EQ(roots.count, 0);
}

TEST(quickRoots, LeaveMultipleRootsToOthers) {
  RealRoots roots;
  for (const Quartic& c : {Quartic{1, -4, 6, -4, 1}, {1, 0, -2, 0, 1}, {2, -5, 3, 1, -1}, {4, -8, 5, -2, 1}}) {
    EXPECT_FALSE(quickRoots(c.data(), &roots));
  }
}

TEST(quickRoots, LeaveWhatIsTooLargeOrTooSmallToOthers) {
  RealRoots roots;
  for (std::size_t i = 0; i < 5; ++i) {
    for (const double size : {0x1p61, 0x1p-61}) {
      Quartic c = {24, -50, 35, -10, 1};
      c[i] = std::copysign(size, c[i]);
      EXPECT_FALSE(quickRoots(c.data(), &roots)) << i << ' ' << size;
    }
  }
  for (const double factor : {0x1p54, 0x1p-60}) {
    Quartic c = {24, -50, 35, -10, 1};
    for (double& x : c) x *= factor;
    ASSERT_TRUE(quickRoots(c.data(), &roots));
    EXPECT_THAT(listed(roots), ElementsAre(1, 2, 3, 4));
  }
}

}  // namespace

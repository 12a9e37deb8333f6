#include "quelplatform/qmMath/quartic/NearMultipleRoots.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::cut;
using quel::testing::fault;
using quel::testing::kQuarticFamilies;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::quarticOf;
using quel::testing::smallPolynomial;
using quel::testing::Solved;
using quel::testing::solvedOf;
using quel::testing::testRandom;
using quel::testing::text;
using quelplatform::nearMultipleRoots;
using quelplatform::RealRoots;
using quelplatform::SmallPolynomial;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<double> roots(const Quartic& c) {
  const RealRoots found = nearMultipleRoots(smallPolynomial(c));
  return {found.at, found.at + found.count};
}

class NearMultipleRoots : public ::testing::TestWithParam<QuarticMaker::Family> {};

TEST_P(NearMultipleRoots, AreThoseOfAPolynomialWithinTheTolerancesWhetherNearOrNot) {
  auto random = testRandom();
  for (int i = 0; i < 1500; ++i) {
    const SmallPolynomial polynomial = cut(GetParam().make(random), 2 + i % 3);
    if (polynomial.degree < 2) continue;
    const Solved s = solvedOf(polynomial, nearMultipleRoots(polynomial));
    ASSERT_EQ(fault(quarticOf(polynomial), s), "") << i << ": " << text(quarticOf(polynomial), s);
  }
}

// Families of a scale that needs nothing done beforehand.
std::vector<QuarticMaker::Family> families() {
  std::vector<QuarticMaker::Family> chosen;
  for (const QuarticMaker::Family& family : kQuarticFamilies) {
    const std::string name = family.name;
    if (name != "WideScales" && name != "AllOfTheRange" && name != "ScatteredRoots") chosen.push_back(family);
  }
  return chosen;
}

INSTANTIATE_TEST_SUITE_P(Families, NearMultipleRoots, ::testing::ValuesIn(families()),
                         [](const auto& family) { return std::string(family.param.name); });

TEST(nearMultipleRoots, GivesMultipleRootsAsOftenAsTheyAreOnes) {
  EXPECT_THAT(roots({1, -2, 1, 0, 0}), ElementsAre(1, 1));
  EXPECT_THAT(roots({8, 12, 6, 1, 0}), ElementsAre(-2, -2, -2));
  EXPECT_THAT(roots({16, -32, 24, -8, 1}), ElementsAre(2, 2, 2, 2));
  EXPECT_THAT(roots({9, 0, -6, 0, 1}), ElementsAre(-std::sqrt(3.0), -std::sqrt(3.0), std::sqrt(3.0), std::sqrt(3.0)));
  EXPECT_THAT(roots({1, 0, 2, 0, 1}), IsEmpty());
}

TEST(nearMultipleRoots, ChangesNothingWhereTheRootsAreThePolynomialsOwn) {
  EXPECT_EQ(nearMultipleRoots(smallPolynomial({4, 0, -5, 0, 1})).change, 0.0);
  EXPECT_EQ(nearMultipleRoots(smallPolynomial({1, -4, 6, -4, 1})).change, 0.0);
}

}  // namespace

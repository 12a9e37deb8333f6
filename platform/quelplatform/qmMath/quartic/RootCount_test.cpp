#include "quelplatform/qmMath/quartic/RootCount.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "quelplatform/qmMath/quartic/SmallPolynomials_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::ExactPolynomial;
using quel::testing::finiteRoots;
using quel::testing::kQuarticFamilies;
using quel::testing::moved;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::testRandom;
using quel::testing::toleranceOf;
using quel::testing::uniform;
using quelplatform::kUnknownCount;
using quelplatform::provenRootCount;
using quelplatform::RootCount;

// With a positive leading coefficient, and of a size that nothing over- or underflows with.
bool isUsable(Quartic* c) {
  if ((*c)[4] < 0.0) std::transform(c->begin(), c->end(), c->begin(), [](double x) { return 0.0 - x; });
  return (*c)[0] != 0.0 && (*c)[4] != 0.0 && std::all_of(c->begin(), c->end(), [](double x) {
           return x == 0.0 || (std::abs(x) > 0x1p-60 && std::abs(x) < 0x1p60);
         });
}

RootCount counted(const Quartic& c) { return provenRootCount({c[4], c[3], c[2], c[1], c[0]}); }

std::string text(const Quartic& c) {
  std::string result;
  for (const double x : c) result += testing::PrintToString(x) + ' ';
  return result;
}

// 4 is given for 0, too.
bool agrees(int proven, int exact) { return proven == exact || (proven == 4 && exact == 0); }

// The quartic that has every coefficient at one end of what it may be moved by: bit i for the upper end of c[i].
ExactPolynomial cornerOf(const Quartic& c, unsigned ends) {
  std::vector<mpq_class> result;
  for (std::size_t i = 0; i < 5; ++i) {
    const mpq_class reach = (ends >> i & 1U) != 0 ? toleranceOf(c[i]) : mpq_class(-toleranceOf(c[i]));
    result.emplace_back(c[i] + reach);
  }
  return ExactPolynomial(std::move(result));
}

// Whether it holds for the given quartic and for all 32 outermost ones about it.
testing::AssertionResult holdsNearby(const Quartic& c, int proven) {
  if (!agrees(proven, finiteRoots(moved(c)))) return testing::AssertionFailure() << text(c) << "has not " << proven;
  for (unsigned ends = 0; ends < 32; ++ends) {
    if (agrees(proven, finiteRoots(cornerOf(c, ends)))) continue;
    return testing::AssertionFailure() << text(c) << "has not " << proven << " at corner " << ends;
  }
  return testing::AssertionSuccess();
}

class RootCounts : public ::testing::TestWithParam<QuarticMaker::Family> {};

TEST_P(RootCounts, HoldForAllQuarticsNearbyWhereverTheyAreProven) {
  auto random = testRandom();
  for (int i = 0; i < 500; ++i) {
    Quartic c = GetParam().make(random);
    if (!isUsable(&c)) continue;
    const RootCount proven = counted(c);
    if (proven.count == kUnknownCount) continue;
    ASSERT_TRUE(holdsNearby(c, proven.count));
    ASSERT_EQ(proven.square > 0.0, proven.count == 2) << text(c);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, RootCounts, ::testing::ValuesIn(kQuarticFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

// (x - at)^2 or its like, moved up or down, beside a pair of roots at a distance: about where the number of real roots
// turns from proven to open.
Quartic atTheBorder(std::mt19937_64& random) {
  using Extended = long double;
  const double gap = std::pow(10.0, uniform(random, -16, -12)) * uniform(random, -1, 1);
  const auto at = Extended(uniform(random, -2, 2)), middle = Extended(uniform(random, -2, 2));
  const Extended a0 = at * at + Extended(gap), a1 = -2 * at;
  const Extended b0 = middle * middle - Extended(uniform(random, -1, 1)), b1 = -2 * middle;
  return {static_cast<double>(a0 * b0), static_cast<double>(a0 * b1 + a1 * b0), static_cast<double>(a0 + b0 + a1 * b1),
          static_cast<double>(a1 + b1), 1.0};
}

TEST(provenRootCount, StopsBeforeItIsOpen) {
  auto random = testRandom();
  int known = 0, unknown = 0;
  for (int i = 0; i < 4000; ++i) {
    Quartic c = atTheBorder(random);
    if (!isUsable(&c)) continue;
    const RootCount proven = counted(c);
    (proven.count == kUnknownCount ? unknown : known) += 1;
    if (proven.count != kUnknownCount) {
      ASSERT_TRUE(holdsNearby(c, proven.count));
    }
  }
  EXPECT_GT(known, 500);
  EXPECT_GT(unknown, 500);
}

// A root three or four times, and each coefficient then moved a little: I and J are next to nothing.
Quartic nearlyThreefold(std::mt19937_64& random) {
  Quartic c = QuarticMaker::integerMultipleMoved(random);
  const double reach = std::pow(2.0, uniform(random, -52, -46));
  for (double& x : c) x *= 1 + reach * uniform(random, -1, 1);
  return c;
}

TEST(provenRootCount, StopsBeforeItIsOpenAboutThreeRootsInOne) {
  auto random = testRandom();
  int known = 0;
  for (int i = 0; i < 4000; ++i) {
    Quartic c = nearlyThreefold(random);
    if (!isUsable(&c)) continue;
    const RootCount proven = counted(c);
    known += proven.count == kUnknownCount ? 0 : 1;
    if (proven.count != kUnknownCount) {
      ASSERT_TRUE(holdsNearby(c, proven.count));
    }
  }
  EXPECT_GT(known, 100);
}

TEST(provenRootCount, TellsNoneTwoAndFour) {
  EXPECT_EQ(counted({1, 0, 0, 0, 1}).count, 0);
  EXPECT_EQ(counted({1, 0, 3, 0, 1}).count, 0);
  EXPECT_EQ(counted({5, -4, 6, -4, 1}).count, 0);  // (x - 1)^4 + 4
  EXPECT_EQ(counted({-1, 0, 0, 0, 1}).count, 2);
  EXPECT_EQ(counted({4, 0, -5, 0, 1}).count, 4);
}

TEST(provenRootCount, LeavesMultipleRootsOpen) {
  EXPECT_EQ(counted({1, -4, 6, -4, 1}).count, kUnknownCount);
  EXPECT_EQ(counted({1, 0, -2, 0, 1}).count, kUnknownCount);
  EXPECT_EQ(counted({2, -5, 3, 1, -1}).count, kUnknownCount);
}

}  // namespace

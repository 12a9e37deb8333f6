#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "quelplatform/qmMath/quartic/QuarticChecks_fixture.h"
#include "testing/Canary.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"

static_assert(quelplatform::kQuarticUnits == 4.0);

namespace {

using quel::testing::Canary;
using quel::testing::fault;
using quel::testing::Quartic;
using quel::testing::SameBits;
using quel::testing::Solved;
using quel::testing::solved;
using quel::testing::testRandom;
using quel::testing::text;
using quel::testing::uniform;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kLeast = std::numeric_limits<double>::denorm_min();
constexpr double kMost = std::numeric_limits<double>::max();

// The roots, from the leading coefficient down to the constant; held to the tolerances by exact arithmetic as well.
std::vector<double> roots(double c4, double c3, double c2, double c1, double c0) {
  const Quartic c = {c0, c1, c2, c3, c4};
  const Solved s = solved(c);
  EXPECT_EQ(fault(c, s), "") << text(c, s);
  return s.all();
}

// lead (x - a)(x - b)(x - d)(x - e), multiplied out in the order given.
Quartic fromRoots(double a, double b, double d, double e, double lead = 1.0) {
  const double p1 = -(a + b), p0 = a * b, q1 = -(d + e), q0 = d * e;
  return {lead * (p0 * q0), lead * (p0 * q1 + p1 * q0), lead * (p0 + p1 * q1 + q0), lead * (p1 + q1), lead};
}

std::vector<double> roots(const Quartic& c) { return roots(c[4], c[3], c[2], c[1], c[0]); }

TEST(qmMathSolveQuartic, FindsADoubleRootAtZeroBesideTwoSimpleOnes) {
  EXPECT_THAT(roots(1, 0, -1, 0, 0), ElementsAre(-1, 0, 0, 1));
}

TEST(qmMathSolveQuartic, FindsTheTwoRealRootsOfUnity) { EXPECT_THAT(roots(1, 0, 0, 0, -1), ElementsAre(-1, 1)); }

// Promises 2 and 3.
TEST(qmMathSolveQuartic, FindsAQuadrupleRootFourTimes) {
  EXPECT_THAT(roots(1, -4, 6, -4, 1), ElementsAre(1, 1, 1, 1));
  EXPECT_THAT(roots(1, 0, 0, 0, 0), ElementsAre(0, 0, 0, 0));
  EXPECT_THAT(roots(-3, 24, -72, 96, -48), ElementsAre(2, 2, 2, 2));
}

// Promises 2 and 3.
TEST(qmMathSolveQuartic, FindsTwoDoubleRootsTwiceEach) {
  EXPECT_THAT(roots(1, 0, -2, 0, 1), ElementsAre(-1, -1, 1, 1));
  EXPECT_THAT(roots(fromRoots(2, 2, 5, 5)), ElementsAre(2, 2, 5, 5));
  const double root = std::sqrt(2.0);
  EXPECT_THAT(roots(1, 0, -4, 0, 4), ElementsAre(-root, -root, root, root));
}

// Promises 2 and 3.
TEST(qmMathSolveQuartic, FindsATripleRootThreeTimes) {
  EXPECT_THAT(roots(fromRoots(1, 1, 1, 5)), ElementsAre(1, 1, 1, 5));
  EXPECT_THAT(roots(fromRoots(-7, 2, 2, 2, -1)), ElementsAre(-7, 2, 2, 2));
  EXPECT_THAT(roots(0, 1, -3, 3, -1), ElementsAre(1, 1, 1));
}

// Promise 2.
TEST(qmMathSolveQuartic, FindsTheMultipleRootsOfRandomPlacesThoughCoefficientsAreRounded) {
  auto random = testRandom();
  for (int i = 0; i < 300; ++i) {
    const double a = uniform(random, -3, 3), b = uniform(random, -3, 3);
    EXPECT_EQ(roots(fromRoots(a, a, b, b)).size(), 4U) << a << ' ' << b;
    EXPECT_EQ(roots(fromRoots(a, a, a, a)).size(), 4U) << a;
    EXPECT_EQ(roots(fromRoots(a, a, a, b)).size(), 4U) << a << ' ' << b;
  }
}

// Promise 3.
TEST(qmMathSolveQuartic, SeparatesNearlyDoubleRootsThatTheCoefficientsTellApart) {
  for (double distance = 1e-1; distance > 1e-7; distance /= 10) {
    const std::vector<double> found = roots(fromRoots(1, 1 + distance, 3, -2));
    ASSERT_EQ(found.size(), 4U);
    EXPECT_NEAR(found[2] - found[1], distance, 1e-14 / distance);
  }
}

// Promise 2.
TEST(qmMathSolveQuartic, CountsNearlyDoubleRootsBelowTheirTolerance) {
  auto random = testRandom();
  for (double distance = 1e-7; distance > 1e-17; distance /= 10) {
    for (int i = 0; i < 20; ++i) {
      const double a = uniform(random, 0.5, 2);
      EXPECT_EQ(roots(fromRoots(a, a * (1 + distance), -a, 3)).size(), 4U) << a << ' ' << distance;
    }
  }
}

// Promise 2: the pair is 1.88 units away, and the others like it.
TEST(qmMathSolveQuartic, FindsAPairOfAClusterWhereTheQuarticIsSoFlatThatItsOwnCutsDoNotShowIt) {
  EXPECT_EQ(roots(-0.76602172923852119, -0.35578254679506299, -0.061966855396751425, -0.0047968016198560396,
                  -0.00013924362648951589)
                .size(),
            2U);
  EXPECT_GE(
      roots(3.7468313688313959, 14.965503708834659, 22.415570572735422, 14.921955448030729, 3.7250572153154353).size(),
      2U);
  EXPECT_GE(roots(-1, 35.999999999999993, -486.00000000000028, 2915.9999999999973, -6560.9999999999973).size(), 2U);
  EXPECT_EQ(roots(-1.1837958047101376, 4.273470984250336, -5.7851681999961393, 3.4807169081896538, -0.7853308954677346)
                .size(),
            4U);
  // A triple root that is one for the quartic and three for one 2.4 units away.
  EXPECT_EQ(roots(1.0000000000000007, 4.9999999999999947, -20.999999999999996, 23.000000000000018, -7.9999999999999947)
                .size(),
            4U);
}

// Promise 2: the pairs in the middle merge only exactly where the third derivative is 0.
TEST(qmMathSolveQuartic, FindsFourRootsWhereOnlyTheFlattestPlaceShowsThem) {
  EXPECT_EQ(
      roots(1.4546399205805247, 1.4472736061118885, 0.53997922303140933, 0.089540793599545795, 0.0055679598698907618)
          .size(),
      4U);
  EXPECT_EQ(
      roots(0.9375486301167546, -6.36393523468886, 16.199028390507674, -18.326083616810859, 7.7746639945194866).size(),
      4U);
  EXPECT_EQ(
      roots(-0.99999999999999956, -3.9999999999999978, -6.0000000000000044, -3.9999999999999991, -1.0000000000000009)
          .size(),
      4U);
}

// Promise 2: the coefficients of the quartic with the fourfold root lie within 3 units.
TEST(qmMathSolveQuartic, FindsFourRootsWhereAFourfoldRootIsWithinTheTolerances) {
  auto random = testRandom();
  for (int round = 0; round < 1000; ++round) {
    const mpq_class a = uniform(random, -2, 2), lead = uniform(random, 0.5, 2);
    const mpq_class exact[5] = {lead * a * a * a * a, -4 * lead * a * a * a, 6 * lead * a * a, -4 * lead * a, lead};
    Quartic c;
    for (std::size_t i = 0; i < 5; ++i) {
      c[i] = exact[i].get_d();  // cut off, by less than a unit
      for (auto units = random() % 3; units > 0; --units) c[i] = std::nextafter(c[i], random() % 2 == 0 ? 99.0 : -99.0);
    }
    const Solved s = solved(c);
    EXPECT_EQ(s.count, 4) << text(c, s);
  }
}

// Promise 2: what each of the places offered in a cluster is for.
TEST(qmMathSolveQuartic, FindsTheRootsOfAClusterAtPlacesOfEveryKind) {
  // A triple root where the second derivative is 0 as well.
  EXPECT_EQ(
      roots(1.0000000000000002, -4.000000000000005, 5.9999999999999964, -3.9999999999999973, 0.9999999999999996).size(),
      4U);
  // A double root exactly at its place, since the place that it would move to runs away.
  EXPECT_EQ(roots(-1.6767198527158855, -12.561931005008644, -35.29259307666899, -44.06849465628292, -20.634983703081843)
                .size(),
            4U);
  // A double root that the second step of the descent finds.
  EXPECT_EQ(roots(-1.0000000000000009, -27.999999999999986, -294.0000000000002, -1371.999999999999, -2401.000000000002)
                .size(),
            4U);
  // A double root at a place of the first, the second and the third derivative.
  EXPECT_EQ(roots(0.9999999999999996, 0.0, -23.999999999999986, -63.99999999999996, -48.00000000000003).size(), 4U);
  EXPECT_EQ(
      roots(1.0000000000000004, -18.99999999999999, 132.00000000000014, -399.9999999999997, 447.9999999999999).size(),
      4U);
  EXPECT_EQ(
      roots(0.9999999999999993, 16.000000000000007, 95.99999999999993, 256.0000000000002, 255.9999999999999).size(),
      4U);
  // A pair on the other side of zero, and one where the first derivative has none within its tolerances.
  EXPECT_EQ(roots(1.0000000000000013, 3.9999999999999987, 0.0, -15.999999999999998, -16.0).size(), 4U);
  EXPECT_EQ(roots(1.000000000000001, 15.999999999999996, 0.0, -1024.0000000000011, -4096.0).size(), 4U);
  // A root that is one of the changed quartic only once it is rounded.
  EXPECT_EQ(
      roots(1.0000000000000013, 9.999999999999998, 36.00000000000004, 53.99999999999998, 27.000000000000014).size(),
      4U);
  // A pair beside a place that misses the tolerances by itself.
  EXPECT_EQ(
      roots(1.0000000000000009, 7.999999999999997, 24.00000000000001, 31.99999999999998, 16.00000000000002).size(), 2U);
}

// Promises 2 and 3: a further pair does not push other roots out of the tolerances.
TEST(qmMathSolveQuartic, OffersNoPairThatLeavesTheOtherRootsWithoutAQuartic) {
  for (const Quartic& c :
       {Quartic{-31.999999999999986, 40.000000000000028, -11.999999999999991, -1.9999999999999989, 0.99999999999999989},
        Quartic{448.00000000000011, -272.00000000000034, 35.999999999999964, 4.9999999999999973, -0.99999999999999978},
        Quartic{512.0000000000001, 319.99999999999966, 48.00000000000002, -4.000000000000004, -0.9999999999999998}}) {
    const Solved s = solved(c);
    EXPECT_EQ(fault(c, s), "") << text(c, s);
  }
}

// Promise 3.
TEST(qmMathSolveQuartic, RoundsRootsThatNeedMoreThanDoubledPrecision) {
  for (const Quartic& c :
       {Quartic{-39.999999999999986, -99.999999999999986, -90, -35, -4.9999999999999991},
        Quartic{-8, 3.9999999999999973, 6.0000000000000036, -5.0000000000000009, 0.99999999999999989},
        Quartic{18.601899567356583, 37.20400219496176, 27.903153942452018, 9.3011020799089916, 1.1626441057519248}}) {
    const Solved s = solved(c);
    EXPECT_EQ(fault(c, s), "") << text(c, s);
    EXPECT_EQ(s.change, 0.0);
  }
}

// Promise 2: the minimum lies above 0 by less than doubled precision can tell.
TEST(qmMathSolveQuartic, DoesNotTakeAPairForTheQuarticsOwnThatItsRoundedValueShows) {
  for (const Quartic& c :
       {Quartic{-1.0000000000000013, 3.9999999999999982, -6.0000000000000044, 4.0000000000000036, -1},
        Quartic{-383.9999999999999, 223.99999999999994, -23.999999999999993, -6, 1}}) {
    const Solved s = solved(c);
    EXPECT_EQ(fault(c, s), "") << text(c, s);
    EXPECT_GT(s.change, 0.0) << text(c, s);
  }
}

// Promise 7.
TEST(qmMathSolveQuartic, TakesASmallChangeWhereItsFirstPlaceWouldNeedALargeOne) {
  // The place moves three times before it is found; sooner it would be 0.42 and 0.91.
  EXPECT_LT(
      solved({4.8222762813483895, -12.194641421467518, 11.5284684421717, -4.8270587769015378, 0.75495411888105624})
          .change,
      0.2);
  EXPECT_LT(
      solved({-3.7715726567538175, -4.7936391142827421, 0.066023578155465321, 2.0201533967336944, 0.64199607554386051})
          .change,
      0.4);
  // The derivatives as given show a nearer place than those with the most roots, which would be 0.27.
  EXPECT_LT(
      solved({3.8577271789596219, -12.577065359250925, 15.376531865084756, -8.3551634288945476, 1.7024829591625248})
          .change,
      0.1);
}

TEST(qmMathSolveQuartic, FindsNoRootWhereThereIsNone) {
  EXPECT_THAT(roots(1, 0, 0, 0, 1), IsEmpty());
  EXPECT_THAT(roots(1, 0, 2, 0, 1), IsEmpty());
  EXPECT_THAT(roots(-2, 1, -5, 1, -3), IsEmpty());
  EXPECT_THAT(roots(0, 0, 1, 0, 1), IsEmpty());
}

// Promises 1 and 2.
TEST(qmMathSolveQuartic, DecidesAPairByFourUnitsInTheLastPlace) {
  const double unit = std::numeric_limits<double>::epsilon();
  // The three coefficients of x^2 - 2 x + 1 may move by 4, 8 and 4 units: the minimum of c0 - 1 by 16 at most.
  EXPECT_EQ(roots(0, 0, 1, -2, 1 + 15 * unit).size(), 2U);
  EXPECT_THAT(roots(0, 0, 1, -2, 1 + 17 * unit), IsEmpty());
}

// Promise 5.
TEST(qmMathSolveQuartic, LeadingZerosCountForNothing) {
  EXPECT_THAT(roots(0, 1, -6, 11, -6), ElementsAre(1, 2, 3));
  EXPECT_THAT(roots(-0.0, 0, 1, -3, 2), ElementsAre(1, 2));
  EXPECT_THAT(roots(0, 0, 0, -3, 6), ElementsAre(2));
  EXPECT_THAT(roots(0, 0, 0, 5, 0), ElementsAre(0));
  EXPECT_THAT(roots(0, 0, 0, 5, -0.0), ElementsAre(SameBits(0.0)));
  EXPECT_THAT(roots(0, -0.0, 0, 0, 7), IsEmpty());
}

// Promise 5.
TEST(qmMathSolveQuartic, ATinyLeadingCoefficientAddsItsHugeRoot) {
  EXPECT_THAT(roots(1e-30, 0, 1, 0, -4), ElementsAre(-2, 2));
  EXPECT_THAT(roots(0, 0, 0x1p-600, -1, 1), ElementsAre(1, 0x1p600));
  EXPECT_THAT(roots(kLeast, -1, 0, 0, 1).size(), 1U);
  const std::vector<double> found = roots(1e-300, -1, 6, -11, 6);
  ASSERT_EQ(found.size(), 4U);
  EXPECT_DOUBLE_EQ(found[3], 1e300);
}

// Promise 5.
TEST(qmMathSolveQuartic, DropsARootThatNoDoubleHolds) {
  EXPECT_THAT(roots(1e-310, -1, 6, -11, 6), ElementsAre(1, 2, 3));
  EXPECT_THAT(roots(0, 0, 0, 1e-200, 1e200), IsEmpty());
  EXPECT_THAT(roots(0, 0, kLeast, 0, -kMost), IsEmpty());
}

// Promise 6.
TEST(qmMathSolveQuartic, GivesARootBelowTheRangeOfADoubleAsZero) {
  EXPECT_THAT(roots(0, 0, 0, 1e200, 1e-200), ElementsAre(SameBits(-0.0)));
  EXPECT_THAT(roots(0, 0, 1e200, -1e200, 1e-200), ElementsAre(SameBits(0.0), 1));
}

// Promise 6.
TEST(qmMathSolveQuartic, SpansTheWholeRangeOfADouble) {
  for (const double scale : {1e-150, 1e150, 0x1p-1022, 0x1p1020}) {
    EXPECT_THAT(roots(scale, 0, -5 * scale, 0, 4 * scale), ElementsAre(-2, -1, 1, 2)) << scale;
  }
  // Roots of 2^-300, 2^-100, 2^100 and 2^300.
  EXPECT_THAT(roots(1, -0x1p300, 0x1p400, -0x1p300, 1).size(), 4U);
  EXPECT_THAT(roots(0x1p-600, 0, -1, 0, 0x1p-600), ElementsAre(-0x1p300, -0x1p-300, 0x1p-300, 0x1p300));
  EXPECT_THAT(roots(1e-150, 1e150, -1e-150, -1e150, 1e-150).size(), 4U);
  EXPECT_THAT(roots(kMost, -kMost, kMost, -kMost, kMost), IsEmpty());
  EXPECT_THAT(roots(kLeast, -3 * kLeast, 2 * kLeast, 0, 0), ElementsAre(0, 0, 1, 2));
}

// Promises 2 and 6.
TEST(qmMathSolveQuartic, FindsDoubleRootsBesideHugeAndTinyOnes) {
  const double a = 0x1p70, b = 0x1p-70;
  EXPECT_THAT(roots(fromRoots(1, 1, a, b)).size(), 4U);
  EXPECT_THAT(roots(fromRoots(a, a, b, b)), ElementsAre(b, b, a, a));
}

// Promises 1 to 4.
TEST(qmMathSolveQuartic, SolvesEveryQuarticOfSmallIntegers) {
  for (int i = 1; i < 5 * 5 * 5 * 5 * 5; ++i) {
    int rest = i;
    Quartic c;
    for (double& x : c) x = rest % 5 - 2, rest /= 5;
    if (c == Quartic{}) continue;
    const Solved s = solved(c);
    ASSERT_EQ(fault(c, s), "") << text(c, s);
  }
}

// Promise 7.
TEST(qmMathSolveQuartic, TellsTheDegreeAndTheChangeThatTheRootsTook) {
  EXPECT_EQ(solved({6, -11, 6, -1, 0}).degree, 3.0);
  EXPECT_EQ(solved({0, 0, 0, 0, 2}).degree, 4.0);
  EXPECT_EQ(solved({2, 0, 0, 0, 0}).degree, 0.0);
  EXPECT_EQ(solved({4, 0, -5, 0, 1}).change, 0.0);
  EXPECT_EQ(solved({1, -4, 6, -4, 1}).change, 0.0);
  const double unit = std::numeric_limits<double>::epsilon();
  // x^2 - 2 x + 1 is 2 units away and no double root is nearer.
  EXPECT_THAT(solved({1 + 8 * unit, -2, 1, 0, 0}).change, AllOf(Ge(2.0 - 1e-9), Le(quelplatform::kQuarticUnits)));
}

TEST(qmMathSolveQuartic, LeavesFurtherEntriesOfTheRootsAlone) {
  std::int32_t count = -1, kind = -1;
  double degree, change;
  Canary<4> found;
  EXPECT_EQ(qmMathSolveQuartic(0, 0, 1, 0, -1, &count, &kind, &degree, &change, found), 1);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(kind, 3);
  EXPECT_TRUE(found.untouched(2) && found.untouched(3));
}

TEST(qmMathSolveQuartic, FailsOnACoefficientThatIsNotFinite) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (std::size_t i = 0; i < 5; ++i) {
      Quartic c = {1, 2, 3, 4, 5};
      c[i] = bad;
      std::int32_t count = -1, kind = -1;
      double degree = -1, change = -1;
      Canary<4> found;
      EXPECT_EQ(qmMathSolveQuartic(c[4], c[3], c[2], c[1], c[0], &count, &kind, &degree, &change, found), 0);
      EXPECT_EQ(count, 0);
      EXPECT_EQ(kind, 3);
      EXPECT_EQ(degree, 0.0);
      EXPECT_EQ(change, 0.0);
      EXPECT_TRUE(found.untouched());
    }
  }
}

TEST(qmMathSolveQuartic, FailsWhenAllCoefficientsAreZero) {
  EXPECT_EQ(solved({0, 0, 0, 0, 0}).result, 0);
  EXPECT_EQ(solved({-0.0, 0, -0.0, 0, 0}).result, 0);
  EXPECT_EQ(solved({-0.0, 0, -0.0, 0, 0}).count, 0);
}

TEST(qmMathSolveQuartic, AllocatesNothing) {
  for (const Quartic& c : {Quartic{4, 0, -5, 0, 1}, Quartic{1, -4, 6, -4, 1}, Quartic{1e150, 0, 1e-150, 0, -1}}) {
    const auto failures = quel::testing::failEachNew([&] { return solved(c).result; },
                                                     [](std::int32_t result, bool) { EXPECT_EQ(result, 1); });
    EXPECT_EQ(failures, 0);
  }
}

TEST(qmMathSolveQuartic, FailsWithoutCountKindOrRootsAndDoesWithoutTheOthers) {
  std::int32_t count = -1, kind = -1;
  double found[4];
  EXPECT_EQ(qmMathSolveQuartic(1, 0, 0, 0, -1, nullptr, &kind, nullptr, nullptr, found), 0);
  EXPECT_EQ(qmMathSolveQuartic(1, 0, 0, 0, -1, &count, nullptr, nullptr, nullptr, found), 0);
  EXPECT_EQ(qmMathSolveQuartic(1, 0, 0, 0, -1, &count, &kind, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(qmMathSolveQuartic(1, 0, 0, 0, -1, &count, &kind, nullptr, nullptr, found), 1);
  EXPECT_EQ(count, 2);
}

}  // namespace

#include "quelplatform/qmDistort/qmDistort.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "quelplatform/qmDistort/LensPolynomial.h"
#include "quelplatform/qmDistort/LensSamples_fixture.h"
#include "quelplatform/qmDistort/kernels/FoldFormula.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"

static_assert(quelplatform::kDistortInverseTolerance <= 1e-9 && quelplatform::kDistortFastLastStep <= 1e-3);

namespace {

using namespace quel::testing;
using quelplatform::isUnfolded;
using quelplatform::Jacobian;
using quelplatform::Pixel;
using quelplatform::polynomialJacobian;
using ::testing::ElementsAre;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

Pixel rounded(LongPixel p) { return {static_cast<double>(p.x), static_cast<double>(p.y)}; }

// Promise 1.
TEST(qmDistortDistortOnePt, AgreesWithTheUsualModelOnNormalisedCoordinates) {
  auto random = testRandom();
  const NormalisedLens lens = strongLens();
  const tag_qmDistortParams model = inPixels(lens);
  for (int n = 0; n < 10000; ++n) {
    const double in[2] = {uniform(random, 0, 640), uniform(random, 0, 480)};
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1);
    const LongPixel expected = distortNormalised(lens, {in[0], in[1]});
    ASSERT_THAT(out[0], Near(static_cast<double>(expected.x), 1e-12));
    ASSERT_THAT(out[1], Near(static_cast<double>(expected.y), 1e-12));
  }
}

// Promise 1.
TEST(qmDistortDistortOnePt, AgreesWithAnEvaluationTermByTerm) {
  auto random = testRandom();
  for (int n = 0; n < 10000; ++n) {
    tag_qmDistortParams model = randomLens(random);
    model.distortOption = n % 2;
    const Pixel p = rounded(randomPixel(random, model, 1500));
    const double in[2] = {p.x, p.y};
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1);
    const LongPixel expected = polynomialByTerms(model, {p.x, p.y});
    const double tolerance = 1e-14 * static_cast<double>(1000 + std::abs(expected.x) + std::abs(expected.y));
    ASSERT_THAT(out[0], Near(static_cast<double>(expected.x), tolerance));
    ASSERT_THAT(out[1], Near(static_cast<double>(expected.y), tolerance));
  }
}

// Promise 1.
TEST(qmDistortDistortOnePt, GivesEachTermItsPlace) {
  const double in[2] = {3, 5};  // dx = 2, dy = 4, r2 = 20.
  const auto distorted = [&in](auto set) {
    tag_qmDistortParams model = {};
    model.xp = 1;
    model.yp = 1;
    set(model);
    std::array<double, 2> out = {};
    EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out.data()), 1);
    return out;
  };
  EXPECT_THAT(distorted([](auto&) {}), ElementsAre(3, 5));
  EXPECT_THAT(distorted([](auto& m) { m.k1 = 1; }), ElementsAre(3 + 2 * 20, 5 + 4 * 20));
  EXPECT_THAT(distorted([](auto& m) { m.k2 = 1; }), ElementsAre(3 + 2 * 400, 5 + 4 * 400));
  EXPECT_THAT(distorted([](auto& m) { m.k3 = 1; }), ElementsAre(3 + 2 * 8000, 5 + 4 * 8000));
  EXPECT_THAT(distorted([](auto& m) { m.distortExtra[2] = 1; }), ElementsAre(3 + 2 * 160000, 5 + 4 * 160000));
  EXPECT_THAT(distorted([](auto& m) { m.distortExtra[3] = 1; }), ElementsAre(3 + 2 * 3200000, 5 + 4 * 3200000));
  EXPECT_THAT(distorted([](auto& m) { m.p1 = 1; }), ElementsAre(3 + 20 + 8, 5 + 16));
  EXPECT_THAT(distorted([](auto& m) { m.p2 = 1; }), ElementsAre(3 + 16, 5 + 20 + 32));
  EXPECT_THAT(distorted([](auto& m) { m.distortExtra[0] = 1; }), ElementsAre(5, 5));
  EXPECT_THAT(distorted([](auto& m) { m.distortExtra[1] = 1; }), ElementsAre(7, 5));
  EXPECT_THAT(distorted([](auto& m) { m.distortExtra[4] = 1; }), ElementsAre(3, 5));
}

// Promise 1.
TEST(qmDistortDistortOnePt, UsesTheClosedFormForEveryOptionButTwo) {
  tag_qmDistortParams model = inPixels(strongLens());
  const double in[2] = {100, 400};
  double expected[2];
  ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, expected), 1);
  for (const std::int32_t option : {0, -1, 3, 4, std::numeric_limits<std::int32_t>::max()}) {
    model.distortOption = option;
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1);
    EXPECT_THAT(out, ElementsAre(expected[0], expected[1]));
  }
  model.distortOption = 2;
  double out[2];
  ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1);
  EXPECT_GT(std::abs(out[0] - expected[0]), 1);
}

// Promise 5.
TEST(qmDistortDistortOnePt, MayOverwriteItsInput) {
  for (const std::int32_t option : {1, 2}) {
    tag_qmDistortParams model = inPixels(strongLens());
    model.distortOption = option;
    const double in[2] = {100, 400};
    double expected[2], both[2] = {100, 400};
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, expected), 1);
    ASSERT_EQ(qmDistortDistortOnePt(both, &model, nullptr, both), 1);
    EXPECT_THAT(both, ElementsAre(expected[0], expected[1]));
    double fast[2] = {100, 400};
    ASSERT_EQ(qmDistortDistortOnePtFast(fast, &model, nullptr, fast), 1);
    EXPECT_THAT(fast[0], Near(expected[0], 1e-3));
  }
}

// Promises 4 and 5.
TEST(qmDistortDistortOnePt, LeavesTheOutputAloneWhenTheResultIsNotFinite) {
  for (const std::int32_t option : {1, 2}) {
    tag_qmDistortParams model = inPixels(strongLens());
    model.distortOption = option;
    for (const double bad : {kNaN, kInfinity, -kInfinity, 1e200}) {
      const double inputs[2][2] = {{bad, 1}, {1, bad}};
      for (const auto& in : inputs) {
        Canary<2> out;
        EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 0);
        EXPECT_TRUE(out.untouched());
        EXPECT_EQ(qmDistortDistortOnePtFast(in, &model, nullptr, out), 0);
        EXPECT_FALSE(out.untouched());
      }
    }
    model.k2 = kNaN;
    const double in[2] = {100, 100};
    Canary<2> out;
    EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 0);
    EXPECT_TRUE(out.untouched());
  }
}

// Promises 4 and 5.
TEST(qmDistortDistortOnePt, RefusesNullPointers) {
  const tag_qmDistortParams model = {};
  const double in[2] = {1, 1};
  Canary<2> out;
  EXPECT_EQ(qmDistortDistortOnePt(nullptr, &model, nullptr, out), 0);
  EXPECT_EQ(qmDistortDistortOnePt(in, nullptr, nullptr, out), 0);
  EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, nullptr), 0);
  EXPECT_EQ(qmDistortDistortOnePtFast(nullptr, &model, nullptr, out), 0);
  EXPECT_EQ(qmDistortDistortOnePtFast(in, nullptr, nullptr, out), 0);
  EXPECT_EQ(qmDistortDistortOnePtFast(in, &model, nullptr, nullptr), 0);
  EXPECT_TRUE(out.untouched());
}

// A lens of 500 to 5000 pixels whose optical axes miss each other widely.
tag_qmDistortParams withStrongTangentialPart(tag_qmDistortParams model, std::mt19937_64& random) {
  model.p1 = uniform(random, -3e-4, 3e-4);
  model.p2 = uniform(random, -3e-4, 3e-4);
  return model;
}

TEST(polynomialJacobian, AgreesWithDifferencesOfTheTermByTermEvaluation) {
  auto random = testRandom();
  for (int n = 0; n < 5000; ++n) {
    const tag_qmDistortParams model = randomLens(random);
    const Pixel p = rounded(randomPixel(random, model, 800));
    const Jacobian j = polynomialJacobian(model, p);
    const long double h = 1e-3L;
    const long double x = wide(p.x), y = wide(p.y);
    const LongPixel right = polynomialByTerms(model, {x + h, y}), left = polynomialByTerms(model, {x - h, y});
    const LongPixel below = polynomialByTerms(model, {x, y + h}), above = polynomialByTerms(model, {x, y - h});
    const double scale = 1e-8 * (1 + std::abs(j.xx) + std::abs(j.yy));
    ASSERT_THAT(j.xx, Near(static_cast<double>((right.x - left.x) / (2 * h)), scale));
    ASSERT_THAT(j.yx, Near(static_cast<double>((right.y - left.y) / (2 * h)), scale));
    ASSERT_THAT(j.xy, Near(static_cast<double>((below.x - above.x) / (2 * h)), scale));
    ASSERT_THAT(j.yy, Near(static_cast<double>((below.y - above.y) / (2 * h)), scale));
  }
}

// Sampling sees every fold of these models, since determinants of low degree do not dip between 400 samples.
TEST(isUnfolded, AgreesWithTheDeterminantSampledAlongTheWay) {
  auto random = testRandom();
  int folded = 0, unfolded = 0;
  for (int n = 0; n < 3000; ++n) {
    tag_qmDistortParams model = randomLens(random);
    if (n % 2 == 0) model = withStrongTangentialPart(model, random);
    const LongPixel p = randomPixel(random, model, n % 2 == 0 ? 1500 : 6000);
    const long double least = leastDeterminantOnTheWay(model, p, 400);
    const bool proved = isUnfolded(model, rounded(p));
    if (least <= 0) {
      ASSERT_FALSE(proved);
      ++folded;
    }
    if (least > 1e-3L) {
      ASSERT_TRUE(proved) << static_cast<double>(least);
      ++unfolded;
    }
  }
  EXPECT_GT(folded, 300);
  EXPECT_GT(unfolded, 300);
}

// Terms that leave each entry within a quarter of that of no lens are taken without the proof, which must then hold for
// the whole way at once: about that limit, and with all of it in one term too.
TEST(isUnfolded, IsProvedForTheWholeWayWhereLensesAreMild) {
  auto random = testRandom();
  int proved = 0;
  for (int n = 0; n < 20000; ++n) {
    const double reach = uniform(random, 1, 3000), whole = uniform(random, 0.0, 0.5);
    double part[9], sum = 0;
    for (double& x : part) sum += x = random() % 3 == 0 ? uniform(random, 0, 1) : 1e-9;
    for (double& x : part) x *= (random() % 2 == 0 ? whole : -whole) / sum;
    const double r2 = reach * reach;
    tag_qmDistortParams model = {};
    model.k1 = part[0] / (3 * r2), model.k2 = part[1] / (5 * r2 * r2), model.k3 = part[2] / (7 * r2 * r2 * r2);
    model.distortExtra[2] = part[3] / (9 * r2 * r2 * r2 * r2),
    model.distortExtra[3] = part[4] / (11 * r2 * r2 * r2 * r2 * r2);
    model.p1 = part[5] / (6 * reach), model.p2 = part[6] / (6 * reach);
    model.distortExtra[0] = part[7], model.distortExtra[1] = part[8];
    const double angle = uniform(random, 0, 6.3);
    const Pixel p = {reach * std::cos(angle), reach * std::sin(angle)};
    const double length = std::sqrt(p.x * p.x + p.y * p.y);
    const quelplatform::RayJacobian<double> ray(model, p.x / length, p.y / length);
    const bool atOnce = ray.isPositiveBetween(0.0, length);
    if (whole < 0.25) {
      ASSERT_TRUE(atOnce) << n;
    }
    if (atOnce) {
      ASSERT_TRUE(isUnfolded(model, p)) << n;
    }
    proved += atOnce ? 1 : 0;
  }
  EXPECT_GT(proved, 10000);
}

// Each term counts: two of them, as strong as they like, the others absent.
TEST(isUnfolded, FindsTheFoldsThatAnyTwoTermsMake) {
  auto random = testRandom();
  int folded = 0, proved = 0;
  for (int n = 0; n < 4000; ++n) {
    const double reach = uniform(random, 100, 3000), r2 = reach * reach;
    double part[9] = {};
    part[n % 9] = uniform(random, -3, 3);
    part[random() % 9] += uniform(random, -3, 3);
    tag_qmDistortParams model = {};
    model.k1 = part[0] / r2, model.k2 = part[1] / (r2 * r2), model.k3 = part[2] / (r2 * r2 * r2);
    model.distortExtra[2] = part[3] / (r2 * r2 * r2 * r2);
    model.distortExtra[3] = part[4] / (r2 * r2 * r2 * r2 * r2);
    model.p1 = part[5] / reach, model.p2 = part[6] / reach;
    model.distortExtra[0] = part[7], model.distortExtra[1] = part[8];
    const double angle = uniform(random, 0, 6.3);
    const Pixel p = {reach * std::cos(angle), reach * std::sin(angle)};
    const long double least = leastDeterminantOnTheWay(model, LongPixel{p.x, p.y}, 400);
    if (least <= 0) {
      ASSERT_FALSE(isUnfolded(model, p)) << n;
    }
    folded += least <= 0 ? 1 : 0;
    proved += isUnfolded(model, p) ? 1 : 0;
  }
  EXPECT_GT(folded, 1000);
  EXPECT_GT(proved, 500);
}

TEST(isUnfolded, FindsTheFoldOfAShearAndAMildTerm) {
  tag_qmDistortParams model = {};
  model.distortExtra[1] = 20;
  model.k1 = 0.08;
  const Pixel p = {std::sqrt(0.5), std::sqrt(0.5)};
  EXPECT_LT(leastDeterminantOnTheWay(model, LongPixel{p.x, p.y}, 400), 0);
  EXPECT_FALSE(isUnfolded(model, p));
}

TEST(isUnfolded, FindsAFoldBetweenTwoPlacesOfPositiveDeterminant) {
  // (1 + 3 k1 s^2 + 5 k2 s^4) has two roots, 1 + k1 s^2 + k2 s^4 none: beyond both the map runs outwards again.
  tag_qmDistortParams model = {};
  model.k1 = -1.5e-6;
  model.k2 = 0.8e-12;
  EXPECT_TRUE(isUnfolded(model, {0, 500}));
  EXPECT_FALSE(isUnfolded(model, {0, 700}));
  EXPECT_GT(polynomialJacobian(model, {0, 1400}).determinant(), 0);
  EXPECT_FALSE(isUnfolded(model, {0, 1400}));
}

TEST(isUnfolded, FindsTheFoldsOfATangentialPart) {
  // With p1 alone the stretch along x is 1 + 6 p1 x, and on the y axis the determinant is 1 - (2 p1 y)^2.
  tag_qmDistortParams model = {};
  model.p1 = 1e-3;
  EXPECT_TRUE(isUnfolded(model, {-166.6, 0}));
  EXPECT_FALSE(isUnfolded(model, {-166.7, 0}));
  EXPECT_TRUE(isUnfolded(model, {1e6, 0}));
  for (const double side : {-1.0, 1.0}) {
    EXPECT_TRUE(isUnfolded(model, {0, side * 499.9}));
    EXPECT_FALSE(isUnfolded(model, {0, side * 500.1}));
  }
  model.p1 = 0;
  model.p2 = 1e-3;
  EXPECT_TRUE(isUnfolded(model, {0, -166.6}));
  EXPECT_FALSE(isUnfolded(model, {0, -166.7}));
  EXPECT_TRUE(isUnfolded(model, {499.9, 0}));
  EXPECT_FALSE(isUnfolded(model, {500.1, 0}));
}

TEST(isUnfolded, LooksAtTheAffinePartAtThePrincipalPoint) {
  tag_qmDistortParams model = {};
  model.xp = model.yp = 100;
  EXPECT_TRUE(isUnfolded(model, {100, 100}));
  model.distortExtra[0] = -1;
  EXPECT_FALSE(isUnfolded(model, {100, 100}));
  EXPECT_FALSE(isUnfolded(model, {120, 100}));
}

TEST(isUnfolded, IsFalseForPixelsThatAreNotFinite) {
  const tag_qmDistortParams model = {};
  EXPECT_TRUE(isUnfolded(model, {1e100, 0}));
  for (const double bad : {kNaN, kInfinity}) {
    EXPECT_FALSE(isUnfolded(model, {bad, 0}));
    EXPECT_FALSE(isUnfolded(model, {0, bad}));
  }
}

tag_qmDistortParams inverseOf(tag_qmDistortParams model) {
  model.distortOption = 2;
  return model;
}

// Promise 2.
TEST(qmDistortDistortOnePt, InvertsThePolynomialWhereverItIsUnfolded) {
  auto random = testRandom();
  int checked = 0;
  for (int n = 0; n < 4000; ++n) {
    const tag_qmDistortParams model = inverseOf(randomLens(random));
    const Pixel distorted = rounded(randomPixel(random, model, 3000));
    const long double least = leastDeterminantOnTheWay(model, {distorted.x, distorted.y}, 200);
    if (least < 1e-3L) continue;
    const Pixel ideal = rounded(polynomialByTerms(model, {distorted.x, distorted.y}));
    if (quelplatform::maxNorm(ideal) > 1e5) continue;  // There a double holds no 1e-9 pixels any more.
    const double in[2] = {ideal.x, ideal.y};
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1) << static_cast<double>(least);
    // An error of the ideal pixel grows by the inverse of the determinant.
    const double tolerance = 1e-11 / static_cast<double>(std::min(least, 1.0L));
    ASSERT_THAT(out[0], Near(distorted.x, tolerance));
    ASSERT_THAT(out[1], Near(distorted.y, tolerance));
    ++checked;
  }
  EXPECT_GT(checked, 2000);
}

// Promise 2.
TEST(qmDistortDistortOnePt, NeverReturnsAFoldedPixel) {
  auto random = testRandom();
  int failed = 0, succeeded = 0;
  for (int n = 0; n < 4000; ++n) {
    tag_qmDistortParams model = inverseOf(randomLens(random));
    if (n % 2 == 0) model = withStrongTangentialPart(model, random);
    const Pixel ideal = rounded(randomPixel(random, model, n % 2 == 0 ? 1500 : 6000));
    const double in[2] = {ideal.x, ideal.y};
    Canary<2> out;
    if (qmDistortDistortOnePt(in, &model, nullptr, out) == 0) {
      ASSERT_TRUE(out.untouched());
      ++failed;
      continue;
    }
    ++succeeded;
    ASSERT_GT(leastDeterminantOnTheWay(model, {out[0], out[1]}, 400), 0);
    const LongPixel back = polynomialByTerms(model, {out[0], out[1]});
    ASSERT_THAT(static_cast<double>(back.x), Near(in[0], 1.001 * quelplatform::kDistortInverseTolerance));
    ASSERT_THAT(static_cast<double>(back.y), Near(in[1], 1.001 * quelplatform::kDistortInverseTolerance));
  }
  EXPECT_GT(failed, 100);
  EXPECT_GT(succeeded, 1000);
}

// The slope of r + k1 r^3 + k2 r^5 falls to 0.02 near r = 808 and rises again: steps from there lead far away at first.
// Promise 2.
TEST(qmDistortDistortOnePt, InvertsAcrossAStretchThatIsAlmostFlat) {
  tag_qmDistortParams model = {};
  model.k1 = -1e-6;
  model.k2 = 9e-12 / (20 * 0.98);
  model.distortOption = 2;
  for (double r = 5; r < 6000; r += 5) {
    const double in[2] = {static_cast<double>(polynomialByTerms(model, {r, 0.0}).x), 0};
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1) << r;
    ASSERT_THAT(out[0], Near(r, 1e-10));
  }
}

// k1 = -1/3 per pixel^2, scaled: r - r^3 / 3 rises to 2/3 at r = 1 and falls from there.
// Promise 2.
TEST(qmDistortDistortOnePt, FailsBeyondTheFoldAndFindsTheInnerBranchBeforeIt) {
  tag_qmDistortParams model = {};
  model.k1 = -1.0 / 3 / 1e6;
  model.distortOption = 2;
  for (const double r : {100.0, 500.0, 900.0, 990.0, 999.0}) {
    const double in[2] = {0, r - r * r * r / 3e6};
    double out[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 1) << r;
    EXPECT_EQ(out[0], 0);
    EXPECT_THAT(out[1], Near(r, quelplatform::kDistortInverseTolerance));
  }
  for (const double r : {666.7, 700.0, 1000.0, 1e6}) {
    const double in[2] = {0, r};
    Canary<2> out;
    EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 0) << r;
    EXPECT_TRUE(out.untouched());
    EXPECT_EQ(qmDistortDistortOnePtFast(in, &model, nullptr, out), 0) << r;
    EXPECT_FALSE(out.untouched());
  }
}

// Promise 2.
TEST(qmDistortDistortOnePt, FailsForAnAffinePartThatMirrors) {
  tag_qmDistortParams model = {};
  model.distortExtra[0] = -2;
  model.distortOption = 2;
  const double in[2] = {5, 5};
  Canary<2> out;
  EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 0);
  EXPECT_TRUE(out.untouched());
}

TEST(qmDistortDistortOnePt, FindsNoInverseWhereOneCoordinateIsNoNumber) {
  tag_qmDistortParams model = {};
  model.distortOption = 2;
  model.distortExtra[1] = std::numeric_limits<double>::infinity();  // times 0 in y: no number in x alone
  const double in[2] = {0.0, 0.0};
  Canary<2> out;
  EXPECT_EQ(qmDistortDistortOnePt(in, &model, nullptr, out), 0);
  EXPECT_TRUE(out.untouched());
}

TEST(qmDistortDistortOnePtFast, EqualsTheExactCallInClosedForm) {
  auto random = testRandom();
  for (int n = 0; n < 1000; ++n) {
    const tag_qmDistortParams model = randomLens(random);
    const Pixel p = rounded(randomPixel(random, model, 1500));
    const double in[2] = {p.x, p.y};
    double exact[2], fast[2];
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, exact), 1);
    ASSERT_EQ(qmDistortDistortOnePtFast(in, &model, nullptr, fast), 1);
    ASSERT_THAT(fast, ElementsAre(SameBits(exact[0]), SameBits(exact[1])));
  }
}

// Promise 1 of the quick form.
TEST(qmDistortDistortOnePtFast, ComesCloseToTheExactInverseWhereItSaysSo) {
  auto random = testRandom();
  int succeeded = 0;
  for (int n = 0; n < 10000; ++n) {
    const tag_qmDistortParams model = inverseOf(randomLens(random));
    const Pixel p = rounded(randomPixel(random, model, 1500));
    const double in[2] = {p.x, p.y};
    double exact[2], fast[2];
    if (qmDistortDistortOnePtFast(in, &model, nullptr, fast) == 0) continue;
    ASSERT_EQ(qmDistortDistortOnePt(in, &model, nullptr, exact), 1);
    ASSERT_THAT(fast[0], Near(exact[0], 1e-6));
    ASSERT_THAT(fast[1], Near(exact[1], 1e-6));
    ++succeeded;
  }
  EXPECT_GT(succeeded, 9000);
}

// Promise 3 of the quick form.
TEST(qmDistortDistortOnePtFast, WritesTheIdealPixelWhereItsStepsRunOutOfAllNumbers) {
  tag_qmDistortParams model = {};
  model.k1 = kNaN;
  model.distortOption = 2;
  const double in[2] = {3, 4};
  double out[2];
  EXPECT_EQ(qmDistortDistortOnePtFast(in, &model, nullptr, out), 0);
  EXPECT_THAT(out, ElementsAre(3, 4));
}

}  // namespace

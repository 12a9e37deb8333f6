// Random quartics of every family. For the first of each family exact arithmetic decides whether count and roots are
// those of a quartic within the tolerances: dyadic numbers for all of these, rational ones for a share of them as well.
// For all quartics an independent computation in the processor's extended format does as far as it can: the sign of the
// discriminant gives the count, and each root is put into the quartic.
//
// With QUEL_THOROUGH=1 in the environment a million of each family are checked exactly (about a quarter of an hour).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "quelplatform/qmMath/quartic/QuarticChecks_fixture.h"
#include "quelplatform/qmMath/quartic/QuarticFamilies_fixture.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::Dyadic;
using quel::testing::fault;
using quel::testing::kQuarticFamilies;
using quel::testing::Quartic;
using quel::testing::QuarticMaker;
using quel::testing::Solved;
using quel::testing::solved;
using quel::testing::testRandom;
using quel::testing::text;

// Builds without optimisation and those with sanitizers take fewer.
#if defined(__has_feature)
#define QUEL_HAS(feature) __has_feature(feature)
#else
#define QUEL_HAS(feature) 0
#endif
#if defined(__OPTIMIZE__) && !defined(__SANITIZE_ADDRESS__) && !QUEL_HAS(address_sanitizer) && \
    !QUEL_HAS(thread_sanitizer)
constexpr bool kFast = true;
#else
constexpr bool kFast = false;
#endif
constexpr int kMany = kFast ? 1000000 : 50000;
constexpr int kExact = kFast ? 20000 : 1500;
constexpr int kJudgedTwice = 50;  // one in so many, by rational numbers too
constexpr int kPlanted = kFast ? 300 : 30;

bool thorough() {
  const char* value = std::getenv("QUEL_THOROUGH");
  return value != nullptr && std::string(value) == "1";
}

using Extended = long double;
constexpr Extended kExtendedRounding = 64 * std::numeric_limits<Extended>::epsilon();

// A sum that knows how large its terms were.
struct Sum {
  Extended value = 0, size = 0;
  void add(Extended term) { value += term, size += std::abs(term); }
  // -1, 1, or 0 when rounding may have decided.
  int sign() const {
    if (!(std::abs(value) > kExtendedRounding * size)) return 0;
    return value > 0 ? 1 : -1;
  }
};

// The number of real roots of a true quartic by its discriminant and the two seminvariants that tell no real root from
// four; -1 when rounding may decide.
int rootsByDiscriminant(const Quartic& q) {
  const Extended a = Extended(q[4]), b = Extended(q[3]), c = Extended(q[2]), d = Extended(q[1]), e = Extended(q[0]);
  Sum discriminant, p, s;
  const Extended terms[] = {256 * a * a * a * e * e * e, -192 * a * a * b * d * e * e, -128 * a * a * c * c * e * e,
                            144 * a * a * c * d * d * e, -27 * a * a * d * d * d * d,  144 * a * b * b * c * e * e,
                            -6 * a * b * b * d * d * e,  -80 * a * b * c * c * d * e,  18 * a * b * c * d * d * d,
                            16 * a * c * c * c * c * e,  -4 * a * c * c * c * d * d,   -27 * b * b * b * b * e * e,
                            18 * b * b * b * c * d * e,  -4 * b * b * b * d * d * d,   -4 * b * b * c * c * c * e,
                            b * b * c * c * d * d};
  for (const Extended term : terms) discriminant.add(term);
  if (discriminant.sign() <= 0) return discriminant.sign() == 0 ? -1 : 2;
  for (const Extended term : {8 * a * c, -3 * b * b}) p.add(term);
  for (const Extended term :
       {64 * a * a * a * e, -16 * a * a * c * c, 16 * a * b * b * c, -16 * a * a * b * d, -3 * b * b * b * b}) {
    s.add(term);
  }
  if (p.sign() > 0 || s.sign() > 0) return 0;
  return p.sign() < 0 && s.sign() < 0 ? 4 : -1;
}

// Whether some number that rounds to `x` is a root of a quartic within the tolerances, up to rounding of this check and
// to first order in the rounding of `x`: so subnormal numbers pass.
bool isNearRoot(const Quartic& c, double x) {
  if (std::abs(x) < std::numeric_limits<double>::min()) return true;
  Sum value;
  const Extended wide = Extended(x);
  Extended slope = 0, band = 0, power = 1, lower = 0;
  for (std::size_t i = 0; i < 5; ++i) {
    value.add(Extended(c[i]) * power);
    if (c[i] != 0) band += std::ldexp(Extended(quelplatform::kQuarticUnits), std::ilogb(c[i]) - 52) * std::abs(power);
    slope += Extended(i) * Extended(c[i]) * lower;
    lower = power;
    power *= wide;
  }
  const Extended half = (Extended(std::nextafter(std::abs(x), INFINITY)) - std::abs(wide)) / 2;
  return std::abs(value.value) <= 1.001L * (band + half * std::abs(slope)) + kExtendedRounding * value.size;
}

std::string quickFault(const Quartic& c, const Solved& s) {
  if (s.result != 1 || s.kind != 3 || s.count < 0 || s.count > 4) return "result, kind or count";
  const int expected = c[4] == 0.0 ? -1 : rootsByDiscriminant(c);
  int beyond = 0;  // roots that no double can hold
  for (int i = 0; i < 4; ++i) beyond += c[4] != 0.0 && std::abs(c[i] / c[4]) > 1e300 ? 1 : 0;
  if (expected >= 0 && beyond == 0 && (s.change == 0.0 ? s.count != expected : s.count < expected)) return "count";
  for (const double x : s.all()) {
    if (!isNearRoot(c, x)) return "no root of a quartic within the tolerances";
  }
  return "";
}

class RandomQuartics : public ::testing::TestWithParam<QuarticMaker::Family> {};

// Promises 1 to 4 and 6.
TEST_P(RandomQuartics, AreSolvedWithinTheTolerances) {
  auto random = testRandom();
  const int exact = thorough() ? 1000000 : kExact;
  int faults = 0;
  for (int i = 0; i < std::max(GetParam().slow ? kMany / 10 : kMany, exact) && faults < 5; ++i) {
    const Quartic c = GetParam().make(random);
    const Solved s = solved(c);
    std::string found = quickFault(c, s);
    if (found.empty() && i < exact) found = fault<Dyadic>(c, s);
    if (i < exact && i % kJudgedTwice == 0) {
      ASSERT_EQ(found, fault<mpq_class>(c, s)) << text(c, s);
    }
    faults += found.empty() ? 0 : 1;
    EXPECT_EQ(found, "") << "quartic " << i << ": " << text(c, s);
  }
}

/// Wrong answers, made of a right one.
std::vector<Solved> wrongAnswers(const Solved& right) {
  std::vector<Solved> wrong(2, right);
  wrong[0].kind = 2;
  wrong[1].change = 1.01 * quelplatform::kQuarticUnits;
  if (right.count == 0) return wrong;
  const auto last = static_cast<std::size_t>(right.count) - 1;
  Solved s = right;
  --s.count;
  wrong.push_back(s);
  s = right;
  s.roots[last] = 2 * std::abs(s.roots[last]) + 1;
  if (std::isfinite(s.roots[last])) wrong.push_back(s);
  s = right;
  std::swap(s.roots[0], s.roots[last]);
  if (s.roots[0] != s.roots[last]) wrong.push_back(s);
  return wrong;
}

/// Answers of which the check alone knows whether they are right: single roots moved by few units, pairs left out.
std::vector<Solved> doubtfulAnswers(const Solved& right) {
  std::vector<Solved> doubtful;
  for (std::size_t i = 0; i < static_cast<std::size_t>(right.count); ++i) {
    for (const int units : {-9, -2, -1, 1, 2, 9}) {
      Solved s = right;
      for (int n = 0; n < std::abs(units); ++n) s.roots[i] = std::nextafter(s.roots[i], units * HUGE_VAL);
      if (std::isfinite(s.roots[i])) doubtful.push_back(s);
    }
  }
  for (Solved s = right; s.count >= 2;) {
    s.count -= 2;
    doubtful.push_back(s);
  }
  doubtful.push_back(right);
  doubtful.back().change = right.change == 0.0 ? 1.0 : 0.0;
  return doubtful;
}

TEST_P(RandomQuartics, AreJudgedAlikeByDyadicAndRationalNumbersAndWrongAnswersAreNoticed) {
  auto random = testRandom();
  for (int i = 0; i < kPlanted; ++i) {
    const Quartic c = GetParam().make(random);
    for (const Solved& s : wrongAnswers(solved(c))) {
      const std::string found = fault<Dyadic>(c, s);
      ASSERT_NE(found, "") << text(c, s);
      ASSERT_EQ(found, fault<mpq_class>(c, s)) << text(c, s);
    }
    for (const Solved& s : doubtfulAnswers(solved(c))) {
      ASSERT_EQ(fault<Dyadic>(c, s), fault<mpq_class>(c, s)) << text(c, s);
    }
  }
}

// Of roots that are clear a wrong last bit is noticed.
TEST(RandomQuarticsChecks, NoticeARootThatIsTwoUnitsOff) {
  auto random = testRandom();
  for (int i = 0; i < kPlanted; ++i) {
    const Quartic c = QuarticMaker::randomCoefficients(random);
    Solved s = solved(c);
    if (s.count == 0) continue;
    s.roots[0] = std::nextafter(std::nextafter(s.roots[0], -HUGE_VAL), -HUGE_VAL);
    ASSERT_NE(fault<Dyadic>(c, s), "") << text(c, s);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, RandomQuartics, ::testing::ValuesIn(kQuarticFamilies),
                         [](const auto& family) { return std::string(family.param.name); });

}  // namespace

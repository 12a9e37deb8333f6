#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <vector>

#include "quelplatform/qmMath/Wide_fixture.h"
#include "quelplatform/qmMath/qmMathSolve.h"
#include "testing/Canary.h"
#include "testing/FailingNew.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::Canary;
using quel::testing::Near;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::Wide;
using ::testing::ElementsAre;

constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <typename T>
using Table = std::vector<std::vector<T>>;

template <typename T>
std::size_t columnsOf(const Table<T>& m) {
  return m.front().size();
}

std::vector<double> solved(Table<double> m, const std::vector<double>& right) {
  std::vector<double*> rows;
  for (auto& row : m) rows.push_back(row.data());
  std::vector<double> x(columnsOf(m), kNaN);
  EXPECT_EQ(qmMathSolveBySvd(rows.data(), static_cast<std::int32_t>(m.size()), static_cast<std::int32_t>(columnsOf(m)),
                             right.data(), 0, 0, x.data()),
            1);
  return x;
}

// Reference in 256 bits: the pseudoinverse of b c, with b and c of full rank, is ct (c ct)^-1 (bt b)^-1 bt.

Table<Wide> times(const Table<Wide>& a, const Table<Wide>& b) {
  Table<Wide> result(a.size(), std::vector<Wide>(columnsOf(b)));
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < columnsOf(b); ++j) {
      for (std::size_t k = 0; k < b.size(); ++k) result[i][j] += a[i][k] * b[k][j];
    }
  }
  return result;
}

Table<Wide> transposed(const Table<Wide>& m) {
  Table<Wide> result(columnsOf(m), std::vector<Wide>(m.size()));
  for (std::size_t i = 0; i < m.size(); ++i) {
    for (std::size_t j = 0; j < columnsOf(m); ++j) result[j][i] = m[i][j];
  }
  return result;
}

// Gauss-Jordan elimination of a positive definite matrix.
Table<Wide> inverted(Table<Wide> m) {
  const std::size_t n = m.size();
  Table<Wide> result(n, std::vector<Wide>(n));
  for (std::size_t i = 0; i < n; ++i) result[i][i] = 1;
  for (std::size_t p = 0; p < n; ++p) {
    const Wide pivot = m[p][p];
    for (std::size_t j = 0; j < n; ++j) m[p][j] /= pivot, result[p][j] /= pivot;
    for (std::size_t i = 0; i < n; ++i) {
      if (i == p) continue;
      const Wide factor = m[i][p];
      for (std::size_t j = 0; j < n; ++j) m[i][j] -= factor * m[p][j], result[i][j] -= factor * result[p][j];
    }
  }
  return result;
}

Table<Wide> pseudoinverse(const Table<Wide>& b, const Table<Wide>& c) {
  const Table<Wide> bt = transposed(b), ct = transposed(c);
  return times(times(ct, inverted(times(c, ct))), times(inverted(times(bt, b)), bt));
}

double norm(const Table<Wide>& m) {
  Wide sum;
  for (const auto& row : m) {
    for (const Wide& x : row) sum += x * x;
  }
  return std::sqrt(sum.get_d());
}

Table<Wide> column(const std::vector<double>& x) {
  Table<Wide> result;
  for (const double value : x) result.push_back({Wide(value)});
  return result;
}

template <typename To, typename From>
Table<To> converted(const Table<From>& m) {
  Table<To> result;
  for (const auto& row : m) {
    result.emplace_back();
    for (const From& x : row) {
      if constexpr (std::is_same_v<To, double>) {
        result.back().push_back(x.get_d());
      } else {
        result.back().push_back(x);
      }
    }
  }
  return result;
}

// Solves b c x = right, whose product must be exact in doubles, and compares with the reference.
void expectSolved(const Table<Wide>& b, const Table<Wide>& c, const std::vector<double>& right) {
  const Table<Wide> m = times(b, c), inverse = pseudoinverse(b, c);
  const std::vector<double> x = solved(converted<double>(m), right);
  const Table<Wide> expected = times(inverse, column(right));
  const double limit = 16 * kEpsilon * norm(m) * norm(inverse) * norm(inverse) * norm(column(right));
  for (std::size_t i = 0; i < x.size(); ++i) {
    EXPECT_LE(std::abs(Wide(Wide(x[i]) - expected[i][0]).get_d()), limit) << i;
  }
}

Table<Wide> identity(std::size_t n) {
  Table<Wide> result(n, std::vector<Wide>(n));
  for (std::size_t i = 0; i < n; ++i) result[i][i] = 1;
  return result;
}

Table<Wide> randomIntegers(std::mt19937_64& random, std::size_t rows, std::size_t columns, int most) {
  Table<Wide> result(rows, std::vector<Wide>(columns));
  for (auto& row : result) {
    for (Wide& x : row) x = static_cast<double>(static_cast<int>(random() % (2U * most + 1U)) - most);
  }
  return result;
}

std::vector<double> randomVector(std::mt19937_64& random, std::size_t size) {
  std::vector<double> result(size);
  for (double& x : result) x = uniform(random, -1, 1);
  return result;
}

// jt j + shift, rounded: what the linear fit of a correspondence solves.
Table<Wide> normalMatrix(std::mt19937_64& random, double shift) {
  Table<Wide> j(4, std::vector<Wide>(3));
  for (auto& row : j) {
    for (Wide& x : row) x = uniform(random, -1, 1);
  }
  Table<Wide> m = times(transposed(j), j);
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t k = 0; k < 3; ++k) m[i][k] = m[i][k].get_d();
    if (i > 0) m[i][i] = m[i][i].get_d() + shift;
  }
  return m;
}

// Promise 1.
TEST(qmMathSolveBySvd, SolvesPositiveDefiniteSystemsOfThree) {
  auto random = testRandom();
  for (int i = 0; i < 2000; ++i) expectSolved(normalMatrix(random, 2.0), identity(3), randomVector(random, 3));
}

// Promise 1.
TEST(qmMathSolveBySvd, SolvesPositiveDefiniteSystemsOfThreeDownToBadCondition) {
  auto random = testRandom();
  for (int i = 0; i < 500; ++i) {
    const double shift = std::pow(10.0, uniform(random, -13, 0));
    Table<Wide> m = normalMatrix(random, 0.0);
    for (std::size_t k = 0; k < 3; ++k) {
      m[k][2] = m[2][k] = k < 2 ? Wide(m[k][1].get_d()) : Wide(m[1][1].get_d() + shift);
    }
    expectSolved(m, identity(3), randomVector(random, 3));
  }
}

// Promise 2.
TEST(qmMathSolveBySvd, SolvesSquareSystemsOfEverySize) {
  auto random = testRandom();
  for (std::size_t n = 1; n <= 8; ++n) {
    for (int i = 0; i < 20; ++i) {
      Table<Wide> m = randomIntegers(random, n, n, 9);
      for (std::size_t k = 0; k < n; ++k) m[k][k] += 40;  // far from singular
      expectSolved(m, identity(n), randomVector(random, n));
    }
  }
}

// Promise 2.
TEST(qmMathSolveBySvd, GivesTheShortestLeastSquaresSolutionForEveryShapeAndRank) {
  auto random = testRandom();
  for (std::size_t rows = 1; rows <= 8; ++rows) {
    for (std::size_t columns = 1; columns <= 8; ++columns) {
      for (std::size_t rank = 1; rank <= std::min(rows, columns); ++rank) {
        Table<Wide> b = randomIntegers(random, rows, rank, 3), c = randomIntegers(random, rank, columns, 3);
        for (std::size_t k = 0; k < rank; ++k) b[k][k] += 11, c[k][k] += 13;
        expectSolved(b, c, randomVector(random, rows));
      }
    }
  }
}

// Promise 2.
TEST(qmMathSolveBySvd, LeavesAnUnknownThatDoesNotAppearAtZero) {
  EXPECT_THAT(solved({{0, 0, 0}, {0, 2, 0}, {0, 0, 4}}, {0, 1, 1}), ElementsAre(0, 0.5, 0.25));
}

// Promise 3.
TEST(qmMathSolveBySvd, SolvesTheZeroMatrixByZero) {
  EXPECT_THAT(solved({{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, {1, -2, 3}), ElementsAre(0, 0, 0));
}

// Promise 2.
TEST(qmMathSolveBySvd, TakesSingularValuesUpToTheLimitAsZero) {
  EXPECT_THAT(solved({{1, 0, 0}, {0, 1, 0}, {0, 0, 12 * kEpsilon}}, {1, 1, kEpsilon}), ElementsAre(1, 1, 0));
  EXPECT_THAT(solved({{1, 0, 0}, {0, 1, 0}, {0, 0, 16 * kEpsilon}}, {1, 1, kEpsilon}), ElementsAre(1, 1, 0.0625));
  EXPECT_THAT(solved({{1, 0}, {0, 8 * kEpsilon}}, {1, kEpsilon}), ElementsAre(1, 0));
}

// Promise 3.
TEST(qmMathSolveBySvd, GivesTheSameDigitsAtEveryScale) {
  const Table<double> definite = {{4, 1, 0.5}, {1, 3, 0.25}, {0.5, 0.25, 5}},
                      other = {{1, 2, 3}, {4, 5, 6}, {7, 8, 10}};
  for (const Table<double>& m : {definite, other}) {
    const std::vector<double> right = {0.3, -0.7, 0.9}, plain = solved(m, right);
    for (const int power : {-1000, -500, 500, 900}) {
      Table<double> scaled = m;
      std::vector<double> scaledRight = right;
      for (auto& row : scaled) {
        for (double& x : row) x = std::ldexp(x, power);
      }
      for (double& x : scaledRight) x = std::ldexp(x, power);
      EXPECT_EQ(solved(scaled, scaledRight), plain) << power;
    }
    for (const double scale : {1e-150, 1e150}) {
      Table<double> scaled = m;
      for (auto& row : scaled) {
        for (double& x : row) x *= scale;
      }
      const std::vector<double> x = solved(scaled, right);
      for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(x[i] * scale / plain[i], 1.0, 1e-12);
    }
  }
}

// Promise 3.
TEST(qmMathSolveBySvd, GivesTheSameDigitsForAnyScalesOfBothSides) {
  const Table<double> matrix = {{4, 1, 0.5}, {1, 3, 0.25}, {0.5, 0.25, 5}};
  const std::vector<double> right = {3, -7, 9}, plain = solved(matrix, right);
  for (const int power : {-1060, -1020, -510, -490, 0, 490, 510, 1000}) {
    for (const int rightPower : {-1060, -1020, -510, -490, 0, 490, 510, 1000}) {
      if (rightPower - power > 1010) continue;  // that is beyond a double
      Table<double> scaled = matrix;
      std::vector<double> scaledRight = right, expected = plain;
      for (auto& row : scaled) {
        for (double& x : row) x = std::ldexp(x, power);
      }
      for (double& x : scaledRight) x = std::ldexp(x, rightPower);
      for (double& x : expected) x = std::ldexp(x, rightPower - power);
      EXPECT_EQ(solved(scaled, scaledRight), expected) << power << ' ' << rightPower;
    }
  }
}

// Promise 3: a system near 1 is solved as it stands, one far from it after it was scaled.
TEST(qmMathSolveBySvd, GivesTheBitsOfAScaledSystemForEntriesOfAnySizes) {
  auto random = testRandom();
  const auto entry = [&random](double low, double high) {
    return random() % 16 == 0 ? 0.0 : std::ldexp(uniform(random, -2, 2), static_cast<int>(uniform(random, low, high)));
  };
  constexpr int kAway = 300;
  for (int i = 0; i < 20000; ++i) {
    const double least = uniform(random, -45, 0);
    Table<double> m(3, std::vector<double>(3)), away = m;
    std::vector<double> right(3), rightAway(3);
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < row; ++column) m[row][column] = m[column][row] = entry(least, 38);
      m[row][row] = std::abs(entry(20, 42));
      right[row] = entry(least, 42);
    }
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 3; ++column) away[row][column] = std::ldexp(m[row][column], kAway);
      rightAway[row] = std::ldexp(right[row], kAway);
    }
    const std::vector<double> near = solved(m, right), far = solved(away, rightAway);
    for (std::size_t n = 0; n < 3; ++n) ASSERT_THAT(near[n], SameBits(far[n])) << i;
  }
}

TEST(qmMathSolveBySvd, TakesNoMatrixForSymmetricOfWhichOnePairDiffers) {
  for (const auto& [row, column] : {std::pair<std::size_t, std::size_t>{0, 1}, {0, 2}, {1, 2}}) {
    for (const bool upper : {false, true}) {
      Table<double> m = {{8, 1, 2}, {1, 9, 3}, {2, 3, 7}};
      (upper ? m[row][column] : m[column][row]) = 4;
      const std::vector<double> expected = {1, -2, 3};
      std::vector<double> right(3);
      for (std::size_t i = 0; i < 3; ++i) right[i] = m[i][0] * 1 + m[i][1] * -2 + m[i][2] * 3;
      const std::vector<double> x = solved(m, right);
      for (std::size_t i = 0; i < 3; ++i) EXPECT_THAT(x[i], Near(expected[i], 1e-13)) << row << column << upper;
    }
  }
}

TEST(qmMathSolveBySvd, MaySolveInPlaceWhatHasNoPivotsLargeEnough) {
  double m[3][3] = {{1, 2, 3}, {2, 1, 2}, {3, 2, 1}};
  double* rows[3] = {m[0], m[1], m[2]};
  double x[3] = {14, 10, 10};
  EXPECT_EQ(qmMathSolveBySvd(rows, 3, 3, x, 0, 0, x), 1);
  for (int i = 0; i < 3; ++i) EXPECT_THAT(x[i], Near(i + 1, 1e-13));
}

TEST(qmMathSolveBySvd, MaySolveInPlace) {
  double m[3][3] = {{2, 0, 0}, {0, 4, 0}, {0, 0, 8}};
  double* rows[3] = {m[0], m[1], m[2]};
  double x[3] = {2, 4, 8};
  EXPECT_EQ(qmMathSolveBySvd(rows, 3, 3, x, 7, -7, x), 1);
  EXPECT_THAT(x, ElementsAre(1, 1, 1));
}

// What `spoil` does to an otherwise good system makes it fail and leaves the solution alone.
template <typename Spoil>
void expectRefused(Spoil spoil) {
  double m[3][3] = {{2, 1, 0}, {1, 4, 0}, {0, 0, 8}}, right[3] = {1, 2, 3};
  double* rows[3] = {m[0], m[1], m[2]};
  std::int32_t size = 3;
  spoil(m, right, rows, size);
  Canary<3> x;
  EXPECT_EQ(qmMathSolveBySvd(rows, size, size, right, 0, 0, x), 0);
  EXPECT_TRUE(x.untouched());
}

TEST(qmMathSolveBySvd, FailsOnValuesThatAreNotFinite) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (int i = 0; i < 9; ++i) {
      expectRefused([&](auto& m, auto&, auto&, auto&) { m[i / 3][i % 3] = bad; });
    }
    for (int i = 0; i < 3; ++i) {
      expectRefused([&](auto&, auto& right, auto&, auto&) { right[i] = bad; });
    }
  }
}

TEST(qmMathSolveBySvd, FailsWhenTheSolutionIsBeyondTheRangeOfADouble) {
  expectRefused([](auto& m, auto& right, auto&, auto&) {
    for (auto& row : m) {
      for (double& x : row) x *= 1e-200;
    }
    right[0] = 1e200;
  });
}

TEST(qmMathSolveBySvd, FailsOnNullRowsAndOnSizesOutsideOneToEight) {
  for (int i = 0; i < 3; ++i) {
    expectRefused([&](auto&, auto&, auto& rows, auto&) { rows[i] = nullptr; });
  }
  for (const std::int32_t bad : {-1, 0, 9}) {
    expectRefused([&](auto&, auto&, auto&, auto& size) { size = bad; });
  }
}

TEST(qmMathSolveBySvd, FailsOnNullPointers) {
  double value = 1.0;
  double* rows[1] = {&value};
  Canary<1> x;
  EXPECT_EQ(qmMathSolveBySvd(nullptr, 1, 1, &value, 0, 0, x), 0);
  EXPECT_EQ(qmMathSolveBySvd(rows, 1, 1, nullptr, 0, 0, x), 0);
  EXPECT_EQ(qmMathSolveBySvd(rows, 1, 1, &value, 0, 0, nullptr), 0);
  EXPECT_TRUE(x.untouched());
}

TEST(qmMathSolveBySvd, AllocatesNothing) {
  double m[8][8] = {}, right[8] = {1}, x[8];
  double* rows[8];
  for (int i = 0; i < 8; ++i) rows[i] = m[i], m[i][7 - i] = 1.0, m[i][i] += 0.5;
  const auto failures = quel::testing::failEachNew([&] { return qmMathSolveBySvd(rows, 8, 8, right, 0, 0, x); },
                                                   [](std::int32_t result, bool) { EXPECT_EQ(result, 1); });
  EXPECT_EQ(failures, 0);
}

TEST(qmMathMatStaticInit, LaysTheRowsOverTheBuffer) {
  double buffer[6] = {1, 2, 3, 4, 5, 6};
  double* rows[2];
  EXPECT_EQ(qmMathMatStaticInit(2, 3, rows, buffer), rows);
  EXPECT_THAT(rows, ElementsAre(buffer, buffer + 3));
  EXPECT_THAT(buffer, ElementsAre(1, 2, 3, 4, 5, 6));
}

TEST(qmMathMatStaticInit, GivesNullForNullPointersAndSizesThatAreNotPositive) {
  double buffer[1] = {};
  double* rows[1] = {nullptr};
  EXPECT_EQ(qmMathMatStaticInit(1, 1, nullptr, buffer), nullptr);
  EXPECT_EQ(qmMathMatStaticInit(1, 1, rows, nullptr), nullptr);
  for (const std::int32_t bad : {-1, 0}) {
    EXPECT_EQ(qmMathMatStaticInit(bad, 1, rows, buffer), nullptr);
    EXPECT_EQ(qmMathMatStaticInit(1, bad, rows, buffer), nullptr);
  }
  EXPECT_EQ(rows[0], nullptr);
}

}  // namespace

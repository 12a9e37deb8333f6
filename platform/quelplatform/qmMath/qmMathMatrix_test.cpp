#include "quelplatform/qmMath/qmMath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <limits>

#include "quelplatform/qmMath/Wide_fixture.h"
#include "testing/Canary.h"
#include "testing/Numbers.h"

namespace {

using quel::testing::Canary;
using quel::testing::SameBits;
using quel::testing::testRandom;
using quel::testing::uniform;
using quel::testing::Wide;

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

template <int Size>
struct Matrix {
  double m[Size][Size];
};

template <int Size>
std::int32_t inverted(const Matrix<Size>& in, Matrix<Size>& out) {
  if constexpr (Size == 3) {
    return qmMathMat3Inv(in.m, out.m);
  } else {
    return qmMathMat4Inv(in.m, out.m);
  }
}

// Gauss-Jordan elimination with full pivoting in 256 bits: another way, with 200 bits to spare.

template <int Size>
struct WideInverse {
  Wide inverse[Size][Size];
  double condition;
};

template <int Size>
WideInverse<Size> wideInverse(const Matrix<Size>& matrix) {
  Wide work[Size][2 * Size];
  for (int i = 0; i < Size; ++i) {
    for (int j = 0; j < Size; ++j) work[i][j] = matrix.m[i][j];
    work[i][Size + i] = 1;
  }
  int columnOf[Size];
  bool taken[Size] = {};
  for (int step = 0; step < Size; ++step) {
    int row = step, column = -1;
    for (int i = step; i < Size; ++i) {
      for (int j = 0; j < Size; ++j) {
        if (!taken[j] && (column < 0 || abs(work[i][j]) > abs(work[row][column]))) row = i, column = j;
      }
    }
    for (int j = 0; j < 2 * Size; ++j) std::swap(work[step][j], work[row][j]);
    taken[column] = true;
    columnOf[step] = column;
    const Wide pivot = work[step][column];
    for (Wide& entry : work[step]) entry /= pivot;
    for (int i = 0; i < Size; ++i) {
      if (i == step) continue;
      const Wide factor = work[i][column];
      for (int j = 0; j < 2 * Size; ++j) work[i][j] -= factor * work[step][j];
    }
  }
  WideInverse<Size> result;
  Wide norm, inverseNorm;
  for (int step = 0; step < Size; ++step) {
    for (int j = 0; j < Size; ++j) result.inverse[columnOf[step]][j] = work[step][Size + j];
  }
  for (int i = 0; i < Size; ++i) {
    Wide row, inverseRow;
    for (int j = 0; j < Size; ++j) {
      row += std::abs(matrix.m[i][j]);
      inverseRow += abs(result.inverse[i][j]);
    }
    if (row > norm) norm = row;
    if (inverseRow > inverseNorm) inverseNorm = inverseRow;
  }
  result.condition = Wide(norm * inverseNorm).get_d();
  return result;
}

// Largest error of an entry, in units in its last place.
template <int Size>
double worstError(const Matrix<Size>& result, const WideInverse<Size>& truth) {
  double worst = 0.0;
  for (int i = 0; i < Size; ++i) {
    for (int j = 0; j < Size; ++j) {
      const double expected = truth.inverse[i][j].get_d();
      const double unit = std::nextafter(std::abs(expected), kInfinity) - std::abs(expected);
      const Wide error = Wide(result.m[i][j]) - truth.inverse[i][j];
      worst = std::max(worst, std::abs(error.get_d()) / unit);
    }
  }
  return worst;
}

template <int Size>
Matrix<Size> randomMatrix(std::mt19937_64& random) {
  Matrix<Size> result;
  for (auto& row : result.m) {
    for (double& entry : row) entry = uniform(random, -1, 1);
  }
  return result;
}

// Sum of rank-one terms whose weights fall from 1 to 1 / condition, so that all but one singular value may be tiny.
template <int Size>
Matrix<Size> illConditioned(std::mt19937_64& random, double condition) {
  Matrix<Size> result = {};
  for (int term = 0; term < Size; ++term) {
    const double weight = term == 0 ? 1.0 : std::pow(condition, -uniform(random, 0.7, 1));
    double u[Size], v[Size];
    for (double& x : u) x = uniform(random, -1, 1);
    for (double& x : v) x = uniform(random, -1, 1);
    for (int i = 0; i < Size; ++i) {
      for (int j = 0; j < Size; ++j) result.m[i][j] += weight * u[i] * v[j];
    }
  }
  return result;
}

template <int Size>
void expectExactToTheLastPlace(double maxCondition, int count) {
  auto random = testRandom();
  int checked = 0;
  for (int n = 0; n < count; ++n) {
    const auto matrix =
        n % 2 == 0 ? randomMatrix<Size>(random) : illConditioned<Size>(random, std::pow(10.0, uniform(random, 0, 13)));
    const auto truth = wideInverse(matrix);
    if (!(truth.condition < maxCondition)) continue;
    Matrix<Size> inverse;
    ASSERT_EQ(inverted(matrix, inverse), 1);
    ASSERT_LE(worstError(inverse, truth), 1.0) << "condition " << truth.condition;
    ++checked;
  }
  EXPECT_GT(checked, count / 2);
}

TEST(qmMathMat3Inv, IsRightToTheLastPlaceForIllConditionedMatrices) { expectExactToTheLastPlace<3>(1e14, 20000); }

TEST(qmMathMat4Inv, IsRightToTheLastPlaceForIllConditionedMatrices) { expectExactToTheLastPlace<4>(1e10, 20000); }

template <int Size>
void expectScalingChangesNoDigit() {
  auto random = testRandom();
  for (int n = 0; n < 2000; ++n) {
    const auto matrix = randomMatrix<Size>(random);
    Matrix<Size> scaled, inverse, scaledInverse;
    int rowExponent[Size], columnExponent[Size];
    for (int& e : rowExponent) e = static_cast<int>(uniform(random, -400, 400));
    for (int& e : columnExponent) e = static_cast<int>(uniform(random, -400, 400));
    for (int i = 0; i < Size; ++i) {
      for (int j = 0; j < Size; ++j) {
        scaled.m[i][j] = std::ldexp(matrix.m[i][j], rowExponent[i] + columnExponent[j]);
      }
    }
    ASSERT_EQ(inverted(matrix, inverse), 1);
    ASSERT_EQ(inverted(scaled, scaledInverse), 1);
    for (int i = 0; i < Size; ++i) {
      for (int j = 0; j < Size; ++j) {
        ASSERT_THAT(scaledInverse.m[i][j],
                    SameBits(std::ldexp(inverse.m[i][j], -(columnExponent[i] + rowExponent[j]))));
      }
    }
  }
}

TEST(qmMathMat3Inv, LosesNoDigitToRowsAndColumnsOfExtremeScale) { expectScalingChangesNoDigit<3>(); }

TEST(qmMathMat4Inv, LosesNoDigitToRowsAndColumnsOfExtremeScale) { expectScalingChangesNoDigit<4>(); }

template <int Size>
void expectRefused(const Matrix<Size>& matrix) {
  Canary<Size * Size> canary;
  Matrix<Size> inverse;
  std::memcpy(inverse.m, static_cast<double*>(canary), sizeof inverse.m);
  EXPECT_EQ(inverted(matrix, inverse), 0);
  EXPECT_EQ(std::memcmp(inverse.m, static_cast<double*>(canary), sizeof inverse.m), 0) << "the output was written";
}

TEST(qmMathMat3Inv, RefusesSingularMatricesAndLeavesTheOutputAlone) {
  expectRefused(Matrix<3>{});
  expectRefused(Matrix<3>{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}});
  expectRefused(Matrix<3>{{{1, 2, 3}, {0, 0, 0}, {7, 8, 9}}});
  expectRefused(Matrix<3>{{{1, 0, 3}, {4, 0, 6}, {7, 0, 9}}});
  expectRefused(Matrix<3>{{{0.1, 0.2, 0.3}, {0.7, -0.9, 0.4}, {0.7, -0.9, 0.4}}});
}

TEST(qmMathMat4Inv, RefusesSingularMatricesAndLeavesTheOutputAlone) {
  expectRefused(Matrix<4>{});
  expectRefused(Matrix<4>{{{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}}});
  expectRefused(Matrix<4>{{{1, 2, 3, 4}, {5, 6, 7, 1}, {9, 1, 11, 12}, {0, 0, 0, 0}}});
  expectRefused(Matrix<4>{{{1, 2, 3, 4}, {1, 2, 3, 4}, {9, 1, 11, 12}, {3, 1, 4, 1}}});
}

TEST(qmMathMat3Inv, RefusesEntriesThatAreNotFinite) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (int n = 0; n < 9; ++n) {
      Matrix<3> matrix = {{{2, 0, 0}, {0, 2, 0}, {0, 0, 2}}};
      matrix.m[n / 3][n % 3] = bad;
      expectRefused(matrix);
    }
  }
}

TEST(qmMathMat4Inv, RefusesEntriesThatAreNotFinite) {
  for (const double bad : {kNaN, kInfinity, -kInfinity}) {
    for (int n = 0; n < 16; ++n) {
      Matrix<4> matrix = {{{2, 0, 0, 0}, {0, 2, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 2}}};
      matrix.m[n / 4][n % 4] = bad;
      expectRefused(matrix);
    }
  }
}

TEST(qmMathMat3Inv, InvertsADiagonalWhoseDeterminantLeavesTheRangeOfADouble) {
  for (const int exponent : {-500, 500}) {
    Matrix<3> inverse;
    const double d = std::ldexp(3.0, exponent);
    ASSERT_EQ(inverted(Matrix<3>{{{d, 0, 0}, {0, d, 0}, {0, 0, d}}}, inverse), 1);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(inverse.m[i][i], 1 / d);
  }
}

TEST(qmMathMat3Inv, FailsWithTheResultWrittenWhenAnEntryOfTheInverseOverflows) {
  Matrix<3> inverse = {};
  EXPECT_EQ(inverted(Matrix<3>{{{1e-310, 0, 0}, {0, 1, 0}, {0, 0, 4}}}, inverse), 0);
  EXPECT_EQ(inverse.m[0][0], kInfinity);
  EXPECT_EQ(inverse.m[2][2], 0.25);
}

TEST(qmMathMatInverses, MayOverwriteTheirInput) {
  auto random = testRandom();
  Matrix<3> three = randomMatrix<3>(random), threeInverse;
  Matrix<4> four = randomMatrix<4>(random), fourInverse;
  ASSERT_EQ(inverted(three, threeInverse), 1);
  ASSERT_EQ(inverted(four, fourInverse), 1);
  ASSERT_EQ(inverted(three, three), 1);
  ASSERT_EQ(inverted(four, four), 1);
  EXPECT_EQ(std::memcmp(three.m, threeInverse.m, sizeof three.m), 0);
  EXPECT_EQ(std::memcmp(four.m, fourInverse.m, sizeof four.m), 0);
}

TEST(qmMathMat4MultMat4, MultipliesIntegersExactly) {
  const double a[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}};
  double b[4][4] = {{2, 3, 5, 7}, {11, 13, 17, 19}, {23, 29, 31, 37}, {41, 43, 47, 53}};
  ASSERT_EQ(qmMathMat4MultMat4(a, b, b), 1);
  EXPECT_THAT(b[0], testing::ElementsAre(257, 288, 320, 368));
  EXPECT_THAT(b[1], testing::ElementsAre(565, 640, 720, 832));
  EXPECT_THAT(b[2], testing::ElementsAre(873, 992, 1120, 1296));
  EXPECT_THAT(b[3], testing::ElementsAre(1181, 1344, 1520, 1760));
}

TEST(qmMathMat4MultMat4, SumsFromLeftToRight) {
  double a[4][4] = {{1e16, 1, -1e16, 1}};
  double b[4][4] = {{1}, {1}, {1}, {1}}, product[4][4];
  ASSERT_EQ(qmMathMat4MultMat4(a, b, product), 1);
  EXPECT_EQ(product[0][0], 1.0) << "the first 1 is lost beside 1e16, the last one is not";
}

TEST(qmMathMat4MultMat4, FailsWithTheResultWrittenWhenItIsNotFinite) {
  const double a[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1e200}};
  double product[4][4];
  EXPECT_EQ(qmMathMat4MultMat4(a, a, product), 0);
  EXPECT_EQ(product[0][0], 1.0);
  EXPECT_EQ(product[3][3], kInfinity);
}

TEST(qmMathMat4MultPoint, TransformsWithAllFourRows) {
  const double matrix[4][4] = {{1, 2, 3, 4}, {5, 6, 7, 8}, {9, 10, 11, 12}, {13, 14, 15, 16}};
  double out[4] = {1, 10, 100, 0};  // The point overlaps the result.
  ASSERT_EQ(qmMathMat4MultPoint(matrix, out, out), 1);
  EXPECT_THAT(out, testing::ElementsAre(325, 773, 1221, 1669));
}

TEST(qmMathMat4MultPoint, SumsFromLeftToRightAndFailsWhenARowIsNotFinite) {
  double matrix[4][4] = {{1e16, 1, -1e16, 1}};
  const double point[3] = {1, 1, 1};
  double out[4];
  ASSERT_EQ(qmMathMat4MultPoint(matrix, point, out), 1);
  EXPECT_EQ(out[0], 1.0);
  for (int row = 0; row < 4; ++row) {
    double bad[4][4] = {};
    bad[row][3] = kNaN;
    EXPECT_EQ(qmMathMat4MultPoint(bad, point, out), 0);
    EXPECT_TRUE(std::isnan(out[row]));
  }
}

TEST(qmMathCopies, CopyEveryNumberBitForBitAndOntoThemselves) {
  double from[4][4], to[4][4];
  for (int n = 0; n < 16; ++n) from[n / 4][n % 4] = n % 2 ? -0.0 : kNaN;
  qmMathCopyMat4ToMat4(from, to);
  EXPECT_EQ(std::memcmp(from, to, sizeof from), 0);
  double vector[4] = {1, 2, 3, 4}, copy[4] = {0, 0, 0, 0};
  qmMathCopyVec2ToVec2(vector, copy);
  EXPECT_THAT(copy, testing::ElementsAre(1, 2, 0, 0));
  qmMathCopyVec3ToVec3(vector, copy);
  EXPECT_THAT(copy, testing::ElementsAre(1, 2, 3, 0));
  qmMathCopyVec3ToVec3(vector, vector);
  EXPECT_THAT(vector, testing::ElementsAre(1, 2, 3, 4));
}

}  // namespace

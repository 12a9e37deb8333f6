#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

#include "quelplatform/qmMath/UnitVector.h"
#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/qmMath.h"

namespace {

using quelplatform::DoubleDouble;
using quelplatform::exactProduct;
using quelplatform::roundedQuotient;

// A matrix is inverted through its cofactors: inverse = adjugate / determinant, both in doubled precision, each entry
// rounded once. Before that, rows and columns are scaled by powers of two. That changes no digit, since every product
// of the determinant and of a cofactor takes one entry of each row and column; it keeps them from over- and underflow.
template <int Size>
struct Scaled {
  double entries[Size][Size];
  int rowExponents[Size];
  int columnExponents[Size];
};

template <int Size>
bool allFinite(const double (*matrix)[Size]) {
  for (int i = 0; i < Size; ++i) {
    for (int j = 0; j < Size; ++j) {
      if (!std::isfinite(matrix[i][j])) return false;
    }
  }
  return true;
}

// The exponent that takes `largest` into [0.5, 1); 0 for 0.
int scalingExponent(double largest) {
  int exponent = 0;
  std::frexp(largest, &exponent);
  return -exponent;
}

template <int Size>
Scaled<Size> scaledByPowersOfTwo(const double (*matrix)[Size]) {
  Scaled<Size> result;
  for (int i = 0; i < Size; ++i) {
    double largest = 0.0;
    for (int j = 0; j < Size; ++j) largest = std::max(largest, std::abs(matrix[i][j]));
    result.rowExponents[i] = scalingExponent(largest);
    for (int j = 0; j < Size; ++j) result.entries[i][j] = std::ldexp(matrix[i][j], result.rowExponents[i]);
  }
  for (int j = 0; j < Size; ++j) {
    double largest = 0.0;
    for (int i = 0; i < Size; ++i) largest = std::max(largest, std::abs(result.entries[i][j]));
    result.columnExponents[j] = scalingExponent(largest);
    for (int i = 0; i < Size; ++i) result.entries[i][j] = std::ldexp(result.entries[i][j], result.columnExponents[j]);
  }
  return result;
}

// a d - b c.
DoubleDouble minor2(double a, double b, double c, double d) { return exactProduct(a, d) - exactProduct(b, c); }

template <int Size>
struct Cofactors {
  DoubleDouble adjugate[Size][Size];
  DoubleDouble determinant;
};

Cofactors<3> cofactors(const double (&m)[3][3]) {
  Cofactors<3> result;
  for (int i = 0; i < 3; ++i) {
    const int r = (i + 1) % 3, s = (i + 2) % 3;
    for (int j = 0; j < 3; ++j) {
      const int p = (j + 1) % 3, q = (j + 2) % 3;
      result.adjugate[j][i] = minor2(m[r][p], m[r][q], m[s][p], m[s][q]);
    }
  }
  const auto& a = result.adjugate;
  result.determinant = (m[0][0] * a[0][0] + m[0][1] * a[1][0]) + m[0][2] * a[2][0];
  return result;
}

// The 2x2 minors of two rows, over the column pairs (0,1) (0,2) (0,3) (1,2) (1,3) (2,3).
std::array<DoubleDouble, 6> rowPairMinors(const double (&top)[4], const double (&bottom)[4]) {
  std::array<DoubleDouble, 6> minors;
  int n = 0;
  for (int i = 0; i < 4; ++i) {
    for (int j = i + 1; j < 4; ++j) minors[n++] = minor2(top[i], top[j], bottom[i], bottom[j]);
  }
  return minors;
}

// The four 3x3 minors of `row` over a row pair, one for each column left out, with alternating signs from + on.
std::array<DoubleDouble, 4> signedMinors3(const double (&row)[4], const std::array<DoubleDouble, 6>& pair) {
  return {(row[1] * pair[5] - row[2] * pair[4]) + row[3] * pair[3],
          -((row[0] * pair[5] - row[2] * pair[2]) + row[3] * pair[1]),
          (row[0] * pair[4] - row[1] * pair[2]) + row[3] * pair[0],
          -((row[0] * pair[3] - row[1] * pair[1]) + row[2] * pair[0])};
}

// Laplace's expansion over the row pairs (0, 1) and (2, 3).
Cofactors<4> cofactors(const double (&m)[4][4]) {
  const auto upper = rowPairMinors(m[0], m[1]);
  const auto lower = rowPairMinors(m[2], m[3]);
  const std::array<DoubleDouble, 4> columns[4] = {signedMinors3(m[1], lower), signedMinors3(m[0], lower),
                                                  signedMinors3(m[3], upper), signedMinors3(m[2], upper)};
  Cofactors<4> result;
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) result.adjugate[j][i] = i % 2 == 0 ? columns[i][j] : -columns[i][j];
  }
  result.determinant = (upper[0] * lower[5] + upper[5] * lower[0]) - (upper[1] * lower[4] + upper[4] * lower[1]) +
                       (upper[2] * lower[3] + upper[3] * lower[2]);
  return result;
}

template <int Size>
std::int32_t invert(const double (*matrix)[Size], double (*inverse)[Size]) {
  if (!allFinite<Size>(matrix)) return 0;
  const Scaled<Size> scaled = scaledByPowersOfTwo<Size>(matrix);
  const Cofactors<Size> parts = cofactors(scaled.entries);
  if (parts.determinant.hi == 0.0) return 0;
  for (int i = 0; i < Size; ++i) {
    for (int j = 0; j < Size; ++j) {
      inverse[i][j] = std::ldexp(roundedQuotient(parts.adjugate[i][j], parts.determinant),
                                 scaled.columnExponents[i] + scaled.rowExponents[j]);
    }
  }
  return allFinite<Size>(inverse);
}

}  // namespace

std::int32_t qmMathMat3Inv(const double matrix[3][3], double inverse[3][3]) noexcept {
  return invert<3>(matrix, inverse);
}

std::int32_t qmMathMat4Inv(const double matrix[4][4], double inverse[4][4]) noexcept {
  return invert<4>(matrix, inverse);
}

std::int32_t qmMathMat4MultMat4(const double a[4][4], const double b[4][4], double product[4][4]) noexcept {
  double result[4][4];
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < 4; ++j) {
      result[i][j] = ((a[i][0] * b[0][j] + a[i][1] * b[1][j]) + a[i][2] * b[2][j]) + a[i][3] * b[3][j];
    }
  }
  std::memcpy(product, result, sizeof result);
  return allFinite<4>(result);
}

std::int32_t qmMathMat4MultPoint(const double matrix[4][4], const double point[3], double out[4]) noexcept {
  const double x = point[0], y = point[1], z = point[2];
  double result[4];
  bool finite = true;
  for (int i = 0; i < 4; ++i) {
    result[i] = ((matrix[i][0] * x + matrix[i][1] * y) + matrix[i][2] * z) + matrix[i][3];
    finite = finite && std::isfinite(result[i]);
  }
  std::memcpy(out, result, sizeof result);
  return finite;
}

std::int32_t qmMathUnitVec3(const double in[3], double out[3]) noexcept {
  return quelplatform::unitVector(in, out) ? 1 : 0;
}

void qmMathCopyVec2ToVec2(const double from[2], double to[2]) noexcept { std::memmove(to, from, 2 * sizeof(double)); }

void qmMathCopyVec3ToVec3(const double from[3], double to[3]) noexcept { std::memmove(to, from, 3 * sizeof(double)); }

void qmMathCopyMat4ToMat4(const double from[4][4], double to[4][4]) noexcept {
  std::memmove(to, from, 16 * sizeof(double));
}

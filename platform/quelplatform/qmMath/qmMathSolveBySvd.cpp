#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "quelplatform/qmMath/powerOfTwo.h"
#include "quelplatform/qmMath/qmMathSolve.h"

namespace {

using quelplatform::binaryExponent;
using quelplatform::powerOfTwo;

constexpr int kMost = 8;
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr int kMostSweeps = 60;

// The system scaled by powers of two: at[i][j] = 2^matrixShift matrix[i][j] and so on, the largest entry about 1. Most
// of the room stays unset: systems are small.
struct System {
  int rows, columns;
  double at[kMost][kMost];
  double right[kMost];
  int matrixShift, rightShift;
};

// Takes `largest` to between 1 and 2; 0 for 0.
int shiftFor(double largest) { return largest == 0.0 ? 0 : -binaryExponent(largest); }

// False when an entry is not finite.
bool load(double* const* matrix, const double* right, System* system) {
  double largest = 0.0, largestRight = 0.0;
  for (int i = 0; i < system->rows; ++i) {
    if (matrix[i] == nullptr || !std::isfinite(right[i])) return false;
    largestRight = std::max(largestRight, std::abs(right[i]));
    for (int j = 0; j < system->columns; ++j) {
      if (!std::isfinite(matrix[i][j])) return false;
      largest = std::max(largest, std::abs(matrix[i][j]));
    }
  }
  system->matrixShift = shiftFor(largest);
  system->rightShift = shiftFor(largestRight);
  for (int i = 0; i < system->rows; ++i) {
    system->right[i] = std::ldexp(right[i], system->rightShift);
    for (int j = 0; j < system->columns; ++j) system->at[i][j] = std::ldexp(matrix[i][j], system->matrixShift);
  }
  return true;
}

// A symmetric 3x3, its lower triangle row by row, and a right-hand side.
struct Symmetric {
  double a00, a10, a11, a20, a21, a22;
  double right0, right1, right2;
};

// x = (L Lt)^-1 right; false when the pivots are not large enough.
inline bool solvePositive(const Symmetric& s, double x[3]) {
  const double least = quelplatform::kCholeskyPivot * std::max(std::max(s.a00, s.a11), s.a22);
  const double d0 = s.a00;
  if (!(d0 > least)) return false;
  const double l10 = s.a10 / d0, l20 = s.a20 / d0;
  const double d1 = s.a11 - l10 * s.a10;
  if (!(d1 > least)) return false;
  const double rest21 = s.a21 - l20 * s.a10;
  const double l21 = rest21 / d1;
  const double d2 = (s.a22 - l20 * s.a20) - l21 * rest21;
  if (!(d2 > least)) return false;
  const double y0 = s.right0;
  const double y1 = s.right1 - l10 * y0;
  const double y2 = (s.right2 - l20 * y0) - l21 * y1;
  x[2] = y2 / d2;
  x[1] = y1 / d1 - l21 * x[2];
  x[0] = (y0 / d0 - l10 * x[1]) - l20 * x[2];
  return true;
}

// False when the system is no symmetric 3x3 with pivots large enough.
bool solveByCholesky(const System& system, double x[kMost]) {
  const auto& a = system.at;
  if (system.rows != 3 || system.columns != 3) return false;
  if (a[0][1] != a[1][0] || a[0][2] != a[2][0] || a[1][2] != a[2][1]) return false;
  return solvePositive(
      {a[0][0], a[1][0], a[1][1], a[2][0], a[2][1], a[2][2], system.right[0], system.right[1], system.right[2]}, x);
}

double largestOf(double a, double b, double c) { return std::max(std::max(std::abs(a), std::abs(b)), std::abs(c)); }

// Sizes at which a scale is a normal number, and so is what undoes it.
bool isModest(double size) { return size > 0x1p-500 && size < 0x1p500; }

// The same for a system of modest size, without a `System`: what fits ask for. False as well for all that is not
// finite.
bool solveModestByCholesky(double* const* m, const double* right, double x[3]) {
  if (m[0] == nullptr || m[1] == nullptr || m[2] == nullptr) return false;
  const double a00 = m[0][0], a10 = m[1][0], a11 = m[1][1], a20 = m[2][0], a21 = m[2][1], a22 = m[2][2];
  if (m[0][1] != a10 || m[0][2] != a20 || m[1][2] != a21) return false;
  const double most = std::max(largestOf(a00, a11, a22), largestOf(a10, a20, a21));
  const double mostRight = largestOf(right[0], right[1], right[2]);
  if (!isModest(most) || !isModest(mostRight)) return false;
  const int matrixShift = shiftFor(most), rightShift = shiftFor(mostRight);
  const double f = powerOfTwo(matrixShift), r = powerOfTwo(rightShift), back = powerOfTwo(matrixShift - rightShift);
  if (!solvePositive({a00 * f, a10 * f, a11 * f, a20 * f, a21 * f, a22 * f, right[0] * r, right[1] * r, right[2] * r},
                     x)) {
    return false;
  }
  for (int i = 0; i < 3; ++i) x[i] *= back;
  return std::isfinite(x[0]) && std::isfinite(x[1]) && std::isfinite(x[2]);
}

// Columns of equal length, rotated until they are orthogonal: then U S = A V.
struct Rotated {
  int length, count;
  double column[kMost][kMost];  // column[j] is the j-th column of U S
  double v[kMost][kMost];       // v[j] is the j-th column of V
};

double dot(const double* a, const double* b, int n) {
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += a[i] * b[i];
  return sum;
}

void rotate(double* a, double* b, double cosine, double sine, int n) {
  for (int i = 0; i < n; ++i) {
    const double before = a[i];
    a[i] = cosine * before - sine * b[i];
    b[i] = sine * before + cosine * b[i];
  }
}

// Makes columns p and q orthogonal; false when they already are.
bool orthogonalise(Rotated* m, int p, int q) {
  double* a = m->column[p];
  double* b = m->column[q];
  const double aa = dot(a, a, m->length), bb = dot(b, b, m->length), ab = dot(a, b, m->length);
  if (!(std::abs(ab) > 0.5 * kEpsilon * std::sqrt(aa) * std::sqrt(bb))) return false;
  const double zeta = (bb - aa) / (2.0 * ab);
  const double tangent = std::copysign(1.0, zeta) / (std::abs(zeta) + std::hypot(1.0, zeta));
  const double cosine = 1.0 / std::sqrt(1.0 + tangent * tangent);
  rotate(a, b, cosine, cosine * tangent, m->length);
  rotate(m->v[p], m->v[q], cosine, cosine * tangent, m->count);
  return true;
}

void orthogonaliseAll(Rotated* m) {
  for (int sweep = 0, rotated = 1; rotated != 0 && sweep < kMostSweeps; ++sweep) {
    rotated = 0;
    for (int p = 0; p < m->count; ++p) {
      for (int q = p + 1; q < m->count; ++q) rotated += orthogonalise(m, p, q) ? 1 : 0;
    }
  }
}

Rotated rotated(const System& system) {
  Rotated m{system.rows, system.columns, {}, {}};
  for (int j = 0; j < m.count; ++j) {
    for (int i = 0; i < m.length; ++i) m.column[j][i] = system.at[i][j];
    m.v[j][j] = 1.0;
  }
  orthogonaliseAll(&m);
  return m;
}

// x = sum of v_j (u_j . right) / s_j over the singular values that count.
void solveByRotations(const System& system, double x[kMost]) {
  const Rotated m = rotated(system);
  double singular[kMost];
  for (int j = 0; j < m.count; ++j) singular[j] = std::sqrt(dot(m.column[j], m.column[j], m.length));
  const double least =
      quelplatform::kNoSingularValue * std::max(m.length, m.count) * *std::max_element(singular, singular + m.count);
  std::fill(x, x + m.count, 0.0);
  for (int j = 0; j < m.count; ++j) {
    if (!(singular[j] > least)) continue;
    const double weight = dot(m.column[j], system.right, m.length) / singular[j] / singular[j];
    for (int i = 0; i < m.count; ++i) x[i] += weight * m.v[j][i];
  }
}

}  // namespace

double** qmMathMatStaticInit(std::int32_t rows, std::int32_t columns, double** rowPointers, double* buffer) noexcept {
  if (rowPointers == nullptr || buffer == nullptr || rows <= 0 || columns <= 0) return nullptr;
  for (std::int32_t i = 0; i < rows; ++i) rowPointers[i] = buffer + static_cast<std::ptrdiff_t>(i) * columns;
  return rowPointers;
}

std::int32_t qmMathSolveBySvd(double* const* matrix, std::int32_t rows, std::int32_t columns,
                              const double* rightHandSide, std::int32_t, std::int32_t, double* solution) noexcept {
  if (matrix == nullptr || rightHandSide == nullptr || solution == nullptr) return 0;
  if (rows < 1 || rows > kMost || columns < 1 || columns > kMost) return 0;
  if (rows == 3 && columns == 3) {
    double x[3];
    if (solveModestByCholesky(matrix, rightHandSide, x)) {
      std::copy(x, x + 3, solution);
      return 1;
    }
  }
  System system;
  system.rows = rows;
  system.columns = columns;
  if (!load(matrix, rightHandSide, &system)) return 0;
  double x[kMost];
  if (!solveByCholesky(system, x)) solveByRotations(system, x);
  for (int j = 0; j < columns; ++j) {
    x[j] = std::ldexp(x[j], system.matrixShift - system.rightShift);
    if (!std::isfinite(x[j])) return 0;
  }
  std::copy(x, x + columns, solution);
  return 1;
}

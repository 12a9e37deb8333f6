#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "quelplatform/qmMath/qmMathSolve.h"

namespace {

constexpr int kMost = 8;
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr int kMostSweeps = 60;

// The system scaled by powers of two: at[i][j] = 2^matrixShift matrix[i][j] and so on, the largest entry about 1.
struct System {
  int rows, columns;
  double at[kMost][kMost];
  double right[kMost];
  int matrixShift = 0, rightShift = 0;
};

// Takes `largest` to between 1 and 2; 0 for 0.
int shiftFor(double largest) { return largest == 0.0 ? 0 : -std::ilogb(largest); }

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

// x = (L Lt)^-1 right; false when the matrix is not a symmetric 3x3 with pivots large enough.
bool solveByCholesky(const System& system, double x[kMost]) {
  const auto& a = system.at;
  if (system.rows != 3 || system.columns != 3) return false;
  if (a[0][1] != a[1][0] || a[0][2] != a[2][0] || a[1][2] != a[2][1]) return false;
  const double least = quelplatform::kCholeskyPivot * std::max({a[0][0], a[1][1], a[2][2]});
  const double d0 = a[0][0];
  if (!(d0 > least)) return false;
  const double l10 = a[1][0] / d0, l20 = a[2][0] / d0;
  const double d1 = a[1][1] - l10 * a[1][0];
  if (!(d1 > least)) return false;
  const double rest21 = a[2][1] - l20 * a[1][0];
  const double l21 = rest21 / d1;
  const double d2 = (a[2][2] - l20 * a[2][0]) - l21 * rest21;
  if (!(d2 > least)) return false;
  const double y0 = system.right[0];
  const double y1 = system.right[1] - l10 * y0;
  const double y2 = (system.right[2] - l20 * y0) - l21 * y1;
  x[2] = y2 / d2;
  x[1] = y1 / d1 - l21 * x[2];
  x[0] = (y0 / d0 - l10 * x[1]) - l20 * x[2];
  return true;
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
  System system{rows, columns, {}, {}};
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

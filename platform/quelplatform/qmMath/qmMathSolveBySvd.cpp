#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "quelplatform/qmMath/powerOfTwo.h"
#include "quelplatform/qmMath/qmMathSolve.h"

namespace {

using quelplatform::binaryExponent;

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

// x = (L Lt)^-1 right; false, with x untouched, when the pivots are not large enough.
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
  const double x2 = y2 / d2;
  const double x1 = y1 / d1 - l21 * x2;
  x[2] = x2;
  x[1] = x1;
  x[0] = (y0 / d0 - l10 * x1) - l20 * x2;
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

// What fits ask for, a symmetric 3x3 of modest entries, is solved without a `System` and as it stands: a scale is a
// power of two, so it changes no bit where nothing leaves the range of a double on the way. That holds for entries from
// 1 / kModest to kModest: pivots are at least `kCholeskyPivot` of that, quotients and products of the entries, and the
// lowest bits that their differences can have, lie between 2^-900 and 2^400.
constexpr double kModest = 0x1p40;

// Whether all nine are within these sizes, and so not 0 and finite. The sum would tell of a NaN.
bool areModest(const Symmetric& s) {
  double sum = 0.0, least = kModest;
  for (const double entry : {s.a00, s.a10, s.a11, s.a20, s.a21, s.a22, s.right0, s.right1, s.right2}) {
    sum += std::abs(entry);
    least = std::min(std::abs(entry), least);
  }
  return sum <= kModest && least >= 1.0 / kModest;
}

bool haveEqualBits(double a, double b) { return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b); }

bool solveModestByCholesky(double* const* m, const double* right, double x[3]) {
  const double *m0 = m[0], *m1 = m[1], *m2 = m[2];
  if (m0 == nullptr || m1 == nullptr || m2 == nullptr) return false;
  if (!haveEqualBits(m0[1], m1[0]) || !haveEqualBits(m0[2], m2[0]) || !haveEqualBits(m1[2], m2[1])) return false;
  const Symmetric s = {m0[0], m1[0], m1[1], m2[0], m2[1], m2[2], right[0], right[1], right[2]};
  return areModest(s) && solvePositive(s, x);
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

// Apart from the door, so that what it needs of stack and registers costs only those who come here.
[[gnu::noinline]] std::int32_t solveAnySystem(double* const* matrix, int rows, int columns, const double* right,
                                              double* solution) {
  System system;
  system.rows = rows;
  system.columns = columns;
  if (!load(matrix, right, &system)) return 0;
  double x[kMost];
  if (!solveByCholesky(system, x)) solveByRotations(system, x);
  for (int j = 0; j < columns; ++j) {
    x[j] = std::ldexp(x[j], system.matrixShift - system.rightShift);
    if (!std::isfinite(x[j])) return 0;
  }
  std::copy(x, x + columns, solution);
  return 1;
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
  if (rows == 3 && columns == 3 && solveModestByCholesky(matrix, rightHandSide, solution)) return 1;
  return solveAnySystem(matrix, rows, columns, rightHandSide, solution);
}

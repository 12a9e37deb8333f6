#include "quelplatform/qmMath/quartic/ClearRoots.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "quelplatform/qmMath/exact/DoubleDouble.h"
#include "quelplatform/qmMath/quartic/middle.h"

namespace quelplatform {
namespace {

// Between two neighbours among the roots of its first and second derivative a polynomial is monotone and bends one way,
// so it has one root there or none, as its signs at the two ends tell. Those derivatives are of low degree and solved
// in the same manner. The places need not be exact: what counts is that the polynomial is far from 0 at each of them.

constexpr double kClear = 0x1p-44;  // |p| above this part of the sum of |c[i] x^i|: sign beyond rounding and tolerance
constexpr double kCloseCut = 0x1p-20;   // relative step after which a root of a derivative is good enough
constexpr double kCloseRoot = 0x1p-26;  // relative step after which doubled precision takes over
constexpr double kLastStep = 0x1p-42;   // relative step after which a root is right to rounding
constexpr int kNewtonSteps = 24;
constexpr int kMostSteps = 160;

// The places that cut the real line into pieces, ascending.
struct Cuts {
  int count = 0;
  double at[6];
  bool critical[6];  // a root of the first derivative, not of the second

  void insert(double x, bool isCritical) {
    int i = count++;
    for (; i > 0 && at[i - 1] > x; --i) at[i] = at[i - 1], critical[i] = critical[i - 1];
    at[i] = x;
    critical[i] = isCritical;
  }
};

template <int N>
double valueAt(const double* c, double x) {
  double value = c[N];
  for (int i = N - 1; i >= 0; --i) value = value * x + c[i];
  return value;
}

// The sum of |c[i] x^i|.
template <int N>
double sizeAt(const double* c, double x) {
  const double distance = std::abs(x);
  double size = std::abs(c[N]);
  for (int i = N - 1; i >= 0; --i) size = size * distance + std::abs(c[i]);
  return size;
}

// p^(K) / K!, rounded.
template <int N, int K>
std::array<double, N - K + 1> derivative(const double* c) {
  std::array<double, N - K + 1> result;
  for (int i = K; i <= N; ++i) result[i - K] = kBinomial[i][K] * c[i];
  return result;
}

// A place beyond the root that lies outside the outermost cut: there all terms of the expansion about the cut have the
// sign of the leading one, so the root is nearer than where any single one of them outweighs the value at the cut.
template <int N>
double outerStart(const double* c, double cut, double direction) {
  double a[N + 1];
  std::copy(c, c + N + 1, a);
  for (int k = 0; k < N; ++k) {
    for (int i = N - 1; i >= k; --i) a[i] += cut * a[i + 1];
  }
  double step = std::numeric_limits<double>::infinity();
  if (a[1] * direction * a[0] < 0.0) step = std::abs(a[0] / a[1]);
  if (a[2] * a[0] < 0.0) step = std::min(step, std::sqrt(-a[0] / a[2]));
  if constexpr (N == 3) step = std::min(step, std::cbrt(std::abs(a[0] / a[3])));
  if constexpr (N == 4) step = std::min(step, std::sqrt(std::sqrt(std::abs(a[0] / a[4]))));
  return cut + direction * step;
}

// A place near the root between two cuts: on the parabola through both values that is level at the critical cut.
double innerStart(double a, double valueA, bool criticalA, double b, double valueB, bool criticalB) {
  if (criticalA && criticalB) (std::abs(valueA) < std::abs(valueB) ? criticalB : criticalA) = false;
  if (criticalA) return a + (b - a) * std::sqrt(valueA / (valueA - valueB));
  if (criticalB) return b - (b - a) * std::sqrt(valueB / (valueB - valueA));
  return a + (b - a) * (valueA / (valueA - valueB));
}

// Newton's method from `x`, kept within a and b, until a step is at most `close` of x; not a number if it takes too
// long. The root is the only one there, and the value at `a` is negative or not as `negativeAtA` says.
template <int N>
double newton(const double* c, double a, double b, bool negativeAtA, double x, double close) {
  for (int step = 0; step < kMostSteps; ++step) {
    double value = c[N], slope = 0.0;
    for (int i = N - 1; i >= 0; --i) {
      slope = slope * x + value;
      value = value * x + c[i];
    }
    ((value < 0.0) == negativeAtA ? a : b) = x;
    const double change = value / slope;
    const double next = x - change;
    if (std::abs(change) <= close * std::abs(x)) return std::clamp(next, a, b);
    const bool keep = next > a && next < b && (step < kNewtonSteps || step % 2 == 0);
    x = keep ? next : middle(a, b);
  }
  return std::numeric_limits<double>::quiet_NaN();
}

// Newton's method with values of twice the precision (compensated Horner scheme), so that the root is rounded once.
template <int N>
bool polish(const double* c, double a, double b, double* root) {
  double x = *root;
  for (int step = 0; step < 8; ++step) {
    double value = c[N], rest = 0.0, slope = 0.0;
    for (int i = N - 1; i >= 0; --i) {
      slope = slope * x + value;
      const DoubleDouble product = exactProduct(value, x);
      const DoubleDouble sum = exactSum(product.hi, c[i]);
      value = sum.hi;
      rest = rest * x + (product.lo + sum.lo);
    }
    const double change = (value + rest) / slope;
    x -= change;
    if (!(x >= a && x <= b)) return false;
    if (std::abs(change) <= kLastStep * std::abs(x)) {
      *root = x;
      return true;
    }
  }
  return false;
}

// Calls found(a, b, negativeAtA, start) for each piece that holds a root.
template <int N, typename Found>
bool eachRoot(const double* c, const Cuts& cuts, const double* values, double bound, Found found) {
  bool negative = (c[N] < 0.0) == (N % 2 == 0);
  for (int i = 0; i <= cuts.count; ++i) {
    const bool last = i == cuts.count;
    const bool next = last ? c[N] < 0.0 : values[i] < 0.0;
    if (next != negative) {
      const double a = i == 0 ? -bound : cuts.at[i - 1], b = last ? bound : cuts.at[i];
      double start;
      if (i > 0 && !last) {
        start = innerStart(a, values[i - 1], cuts.critical[i - 1], b, values[i], cuts.critical[i]);
      } else {
        start = last ? outerStart<N>(c, a, 1.0) : outerStart<N>(c, b, -1.0);
      }
      if (!(start > a && start < b)) start = middle(a, b);
      if (!found(a, b, negative, start)) return false;
    }
    negative = next;
  }
  return true;
}

// The two roots of c2 x^2 + c1 x + c0, the smaller one without cancellation; none if they are not real and distinct.
void insertQuadraticRoots(const double* c, bool critical, Cuts* cuts) {
  const double half = 0.5 * c[1];
  const double square = half * half - c[2] * c[0];
  if (!(square > 0.0)) return;
  const double q = -(half + std::copysign(std::sqrt(square), half));
  cuts->insert(q / c[2], critical);
  cuts->insert(c[0] / q, critical);
}

void insertCubicRoots(const double* c, const Cuts& inner, double bound, Cuts* cuts) {
  double values[6];
  for (int i = 0; i < inner.count; ++i) values[i] = valueAt<3>(c, inner.at[i]);
  eachRoot<3>(c, inner, values, bound, [&](double a, double b, bool negativeAtA, double start) {
    cuts->insert(newton<3>(c, a, b, negativeAtA, start, kCloseCut), true);
    return true;
  });
}

template <int N>
Cuts cutsOf(const double* c, double bound) {
  Cuts cuts;
  if constexpr (N == 2) {
    cuts.insert(-0.5 * c[1] / c[2], true);
  } else if constexpr (N == 3) {
    insertQuadraticRoots(derivative<3, 1>(c).data(), true, &cuts);
    cuts.insert(-c[2] / (3.0 * c[3]), false);
  } else {
    const auto second = derivative<4, 2>(c);
    Cuts inner;
    insertQuadraticRoots(second.data(), true, &inner);
    for (int i = 0; i < inner.count; ++i) cuts.insert(inner.at[i], false);
    inner.insert(-0.25 * c[3] / c[4], false);
    insertCubicRoots(derivative<4, 1>(c).data(), inner, bound, &cuts);
  }
  return cuts;
}

template <int N>
bool clearRootsOf(const double* c, double bound, RealRoots* roots) {
  const Cuts cuts = cutsOf<N>(c, bound);
  double values[6];
  for (int i = 0; i < cuts.count; ++i) {
    values[i] = valueAt<N>(c, cuts.at[i]);
    if (!(std::abs(values[i]) > kClear * sizeAt<N>(c, cuts.at[i]))) return false;
  }
  *roots = {};
  return eachRoot<N>(c, cuts, values, bound, [&](double a, double b, bool negativeAtA, double start) {
    double root = newton<N>(c, a, b, negativeAtA, start, kCloseRoot);
    if (!polish<N>(c, a, b, &root)) return false;
    roots->at[roots->count++] = root;
    return true;
  });
}

}  // namespace

bool clearRoots(const SmallPolynomial& polynomial, double bound, RealRoots* roots) {
  if (polynomial.degree == 4) return clearRootsOf<4>(polynomial.c, bound, roots);
  if (polynomial.degree == 3) return clearRootsOf<3>(polynomial.c, bound, roots);
  return clearRootsOf<2>(polynomial.c, bound, roots);
}

}  // namespace quelplatform

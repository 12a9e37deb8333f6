#include "quelplatform/qmMath/quartic/MergeRoots.h"

#include <algorithm>
#include <cmath>

namespace quelplatform {
namespace {

// A root of multiplicity m near z asks for changes of the coefficients, and a step h, after which the derivatives of
// orders 0 to m - 1 vanish at z + h. To first order these are m linear conditions; the last one gives h, which leaves
// one to three on the changes. Where the polynomial is so flat that h runs away, the root is pinned: h = 0. Among the
// changes that meet the conditions one with the smallest largest change, counted in tolerances, is found by Lawson's
// iteration: least squares, each weight multiplied by the size of what it let through.

constexpr int kMostConditions = 4;
constexpr int kMostIterations = 60;
constexpr int kMostMoves = 4;
constexpr double kRounding = 0x1p-60;  // part of a coefficient's terms that counts as none

struct Conditions {
  int count = 0;
  double row[kMostConditions][5] = {};  // what a change of each coefficient by its tolerance does
  double wanted[kMostConditions] = {};
};

// Adds `factor` times the vanishing of p^(order) / order! at x.
void addVanishing(const BandedPolynomial& polynomial, int order, double x, double factor, double row[5],
                  double* wanted) {
  const BandedPolynomial level = derivative(polynomial, order);
  double power = factor;
  for (int i = 0; i <= level.degree; ++i, power *= x) row[i + order] += level.tolerance[i] * power;
  *wanted -= factor * valueAt(level, x).hi;
}

Conditions conditionsFor(const BandedPolynomial& polynomial, const MergedRoot* merged, int groups, bool pinned) {
  Conditions result;
  for (int g = 0; g < groups; ++g) {
    const double x = merged[g].at;
    const int last = merged[g].multiplicity - 1;
    const double lastSlope = slopeAt(derivative(polynomial, last), x);
    for (int order = 0; order < last + (pinned ? 1 : 0); ++order) {
      const BandedPolynomial level = derivative(polynomial, order);
      const double band = bandAt(level, x);
      if (band == 0.0) continue;
      double* row = result.row[result.count];
      double* wanted = &result.wanted[result.count++];
      addVanishing(polynomial, order, x, 1.0 / band, row, wanted);
      if (!pinned) addVanishing(polynomial, last, x, -slopeAt(level, x) / lastSlope / band, row, wanted);
    }
  }
  return result;
}

// Solves the symmetric system in place; a direction that the system does not determine gets 0.
void solveSymmetric(double m[kMostConditions][kMostConditions], double* x, int n) {
  bool used[kMostConditions] = {};
  for (int step = 0; step < n; ++step) {
    int pivot = -1;
    for (int i = 0; i < n; ++i) {
      if (!used[i] && (pivot < 0 || m[i][i] > m[pivot][pivot])) pivot = i;
    }
    used[pivot] = true;
    if (!(m[pivot][pivot] > 1e-13)) {
      x[pivot] = 0.0;
      for (int i = 0; i < n; ++i) m[i][pivot] = m[pivot][i] = 0.0;
      continue;
    }
    const double inverse = 1.0 / m[pivot][pivot];
    for (int j = 0; j < n; ++j) m[pivot][j] *= inverse;
    x[pivot] *= inverse;
    for (int i = 0; i < n; ++i) {
      if (i == pivot) continue;
      const double factor = m[i][pivot];
      for (int j = 0; j < n; ++j) m[i][j] -= factor * m[pivot][j];
      x[i] -= factor * x[pivot];
    }
  }
}

// The changes that meet the conditions with the least weighted sum of squares.
void leastSquares(const Conditions& conditions, const double weight[5], double change[5]) {
  double m[kMostConditions][kMostConditions] = {}, x[kMostConditions];
  for (int i = 0; i < conditions.count; ++i) {
    x[i] = conditions.wanted[i];
    for (int j = 0; j < conditions.count; ++j) {
      for (int k = 0; k < 5; ++k) m[i][j] += conditions.row[i][k] * conditions.row[j][k] / weight[k];
    }
  }
  solveSymmetric(m, x, conditions.count);
  for (int k = 0; k < 5; ++k) {
    change[k] = 0.0;
    for (int i = 0; i < conditions.count; ++i) change[k] += conditions.row[i][k] * x[i] / weight[k];
  }
}

double largest(const double change[5]) {
  double result = 0.0;
  for (int k = 0; k < 5; ++k) result = std::max(result, std::abs(change[k]));
  return result;
}

// No changes that meet the conditions have a largest one below this: `change` has the least weighted mean square.
double lowerBound(const double weight[5], const double change[5]) {
  double sum = 0.0, weights = 0.0;
  for (int k = 0; k < 5; ++k) sum += weight[k] * change[k] * change[k], weights += weight[k];
  return std::sqrt(sum / weights);
}

// Changes in tolerances, and the largest of them; above 1 if no smaller ones were found.
double smallestChanges(const Conditions& conditions, double change[5]) {
  double weight[5] = {1.0, 1.0, 1.0, 1.0, 1.0};
  for (int iteration = 0;; ++iteration) {
    leastSquares(conditions, weight, change);
    const double most = largest(change);
    if (!(most > 1.0) || iteration == kMostIterations || lowerBound(weight, change) > kAlmostOne) return most;
    double top = 0.0;
    for (int k = 0; k < 5; ++k) top = std::max(top, weight[k] *= std::abs(change[k]));
    for (double& w : weight) w = std::max(w / top, 1e-9);
  }
}

// Changes the polynomial so that it has the merged roots, and tells the largest change in tolerances.
double change(const MergedRoot* merged, int groups, bool pinned, BandedPolynomial* polynomial) {
  double changes[5];
  const double most = smallestChanges(conditionsFor(*polynomial, merged, groups, pinned), changes);
  for (int i = 0; i <= polynomial->degree; ++i) {
    polynomial->c[i] = polynomial->c[i] + DoubleDouble{changes[i] * polynomial->tolerance[i], 0.0};
  }
  return most;
}

DoubleDouble quotient(DoubleDouble a, DoubleDouble b) {
  const double first = a.hi / b.hi;
  return quickSum(first, (a - first * b).hi / b.hi);
}

// Divides by x - z, dropping the remainder. Each coefficient of the quotient is had from the leading one down or from
// the constant up, whichever passes through the smaller terms: the other way would drown it in rounding.
void divideOut(BandedPolynomial* polynomial, DoubleDouble z) {
  DoubleDouble* c = polynomial->c;
  const int n = polynomial->degree--;
  DoubleDouble fromTop[5], fromBottom[5];
  double above[5] = {}, below[5] = {};
  fromTop[n - 1] = c[n];
  for (int i = n - 2; i >= 0; --i) fromTop[i] = c[i + 1] + z * fromTop[i + 1];
  fromBottom[0] = -quotient(c[0], z);
  for (int i = 1; i < n; ++i) fromBottom[i] = quotient(fromBottom[i - 1] - c[i], z);
  double power = 1.0;
  for (int i = 0; i <= n; ++i, power *= std::abs(z.hi)) {
    for (int j = 0; j < n; ++j) (j < i ? above : below)[j] += std::abs(c[i].hi) * power;
  }
  for (int i = 0; i < n; ++i) c[i] = above[i] <= below[i] ? fromTop[i] : fromBottom[i];
  c[n] = {};
}

struct Factored {
  BandedPolynomial rest;
  int groups = 0;
  DoubleDouble root[2];
  int multiplicity[2];
};

// Whether the product lies within the tolerances about `polynomial`, but for rounding in doubled precision.
bool isWithin(const Factored& factored, const BandedPolynomial& polynomial) {
  DoubleDouble product[5];
  double size[5] = {};
  for (int i = 0; i <= factored.rest.degree; ++i) {
    product[i] = factored.rest.c[i];
    size[i] = std::abs(product[i].hi);
  }
  int degree = factored.rest.degree;
  for (int g = 0; g < factored.groups; ++g) {
    for (int m = 0; m < factored.multiplicity[g]; ++m, ++degree) {
      for (int i = degree + 1; i >= 0; --i) {
        const DoubleDouble lower = i > 0 ? product[i - 1] : DoubleDouble{};
        product[i] = lower - factored.root[g] * product[i];
        size[i] = (i > 0 ? size[i - 1] : 0.0) + std::abs(factored.root[g].hi) * size[i];
      }
    }
  }
  for (int i = 0; i <= polynomial.degree; ++i) {
    const double off = std::abs((product[i] - polynomial.c[i]).hi);
    if (!(off <= polynomial.tolerance[i] * kAlmostOne + kRounding * size[i])) return false;
  }
  return true;
}

// Splits the merged roots off; each, unless pinned, first moves to where its derivative of order multiplicity - 1
// vanishes now.
bool factor(const BandedPolynomial& changed, const BandedPolynomial& polynomial, const MergedRoot* merged, int groups,
            bool pinned, Factored* result) {
  result->rest = changed;
  result->groups = groups;
  for (int g = 0; g < groups; ++g) {
    const BandedPolynomial level = derivative(changed, merged[g].multiplicity - 1);
    const double x = merged[g].at;
    result->root[g] = {x, 0.0};
    if (!pinned) result->root[g] = exactSum(x, -valueAt(level, x).hi / slopeAt(level, x));
    result->multiplicity[g] = merged[g].multiplicity;
    for (int m = 0; m < merged[g].multiplicity; ++m) divideOut(&result->rest, result->root[g]);
  }
  return isWithin(*result, polynomial);
}

// Factors a polynomial within the tolerances, and tells its largest change.
bool factorNearby(const BandedPolynomial& polynomial, const MergedRoot* merged, int groups, bool pinned,
                  Factored* result, double* most) {
  MergedRoot places[2];
  std::copy(merged, merged + groups, places);
  for (int move = 0; move < (pinned ? 1 : kMostMoves); ++move) {
    BandedPolynomial changed = polynomial;
    *most = change(places, groups, pinned, &changed);
    if (!(*most <= kAlmostOne)) return false;
    if (factor(changed, polynomial, places, groups, pinned, result)) return true;
    for (int g = 0; g < groups; ++g) places[g].at = result->root[g].hi;
  }
  return false;
}

DoubleDouble squareRoot(DoubleDouble a) {
  const double root = std::sqrt(a.hi);
  if (root == 0.0) return {};
  return quickSum(root, (a - exactProduct(root, root)).hi / (2.0 * root));
}

// Real roots of what remains: of degree 0 to 2.
void insertRest(const BandedPolynomial& rest, RealRoots* roots) {
  const DoubleDouble* c = rest.c;
  if (rest.degree == 1) roots->insert(-roundedQuotient(c[0], c[1]));
  if (rest.degree != 2) return;
  const DoubleDouble half = 0.5 * c[1];
  const DoubleDouble square = half * half - c[2] * c[0];
  if (square.hi < 0.0) return;
  const DoubleDouble root = squareRoot(square);
  const DoubleDouble q = half.hi < 0.0 ? root - half : -(root + half);
  roots->insert(roundedQuotient(q, c[2]));
  roots->insert(roundedQuotient(c[0], q));
}

// The real roots of what was factored with changes up to `most` tolerances, if they are enough.
bool takeRoots(const Factored& factored, double most, int expected, RealRoots* roots) {
  RealRoots found;
  for (int g = 0; g < factored.groups; ++g) {
    for (int m = 0; m < factored.multiplicity[g]; ++m) found.insert(factored.root[g].hi);
  }
  insertRest(factored.rest, &found);
  if (found.count < expected) return false;
  found.change = kUnits * std::min(most, 1.0);
  *roots = found;
  return true;
}

}  // namespace

bool mergeRoots(const BandedPolynomial& polynomial, const MergedRoot* merged, int groups, int expected,
                RealRoots* roots) {
  Factored factored;
  double most = 0.0;
  if (!factorNearby(polynomial, merged, groups, false, &factored, &most) &&
      !factorNearby(polynomial, merged, groups, true, &factored, &most)) {
    return false;
  }
  return takeRoots(factored, most, expected, roots);
}

bool mergeRootsAt(const BandedPolynomial& polynomial, const MergedRoot& merged, int expected, RealRoots* roots) {
  Factored factored;
  double most = 0.0;
  return factorNearby(polynomial, &merged, 1, true, &factored, &most) && takeRoots(factored, most, expected, roots);
}

}  // namespace quelplatform

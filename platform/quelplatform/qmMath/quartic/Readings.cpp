#include "quelplatform/qmMath/quartic/Readings.h"

#include <bit>
#include <cmath>

#include "quelplatform/qmMath/exact/Expansion.h"
#include "quelplatform/qmMath/quartic/middle.h"

namespace quelplatform {
namespace {

constexpr int kMostSteps = 200;
constexpr double kRoundingOfValue = 0x1p-45;  // bounds that of doubled precision, as part of the band

bool negativeAtLeftEnd(const Level& level) {
  return (level.polynomial.c[level.polynomial.degree].hi < 0.0) == (level.polynomial.degree % 2 == 0);
}

// Cuts at one place merge together; exact zeros always, decided ones never.
bool mayMerge(const Level& level, unsigned merged) {
  for (int i = 0; i < level.count; ++i) {
    if (bit(merged, i) ? !level.cuts[i].undecided : level.cuts[i].exactZero) return false;
    if (i > 0 && level.cuts[i].x == level.cuts[i - 1].x && bit(merged, i) != bit(merged, i - 1)) return false;
  }
  return true;
}

int signChanges(const Level& level, unsigned negative) {
  const int n = level.count;
  int changes = 0;
  bool last = negativeAtLeftEnd(level);
  for (int i = 0; i < n; ++i) {
    changes += bit(negative, i) != last ? 1 : 0;
    last = bit(negative, i);
  }
  return changes + ((level.polynomial.c[level.polynomial.degree].hi < 0.0) != last ? 1 : 0);
}

// The reading of a set of merged cuts with the most roots.
Reading bestReading(const Level& level, unsigned merged) {
  unsigned decided = 0;
  for (int i = 0; i < level.count; ++i) decided |= (level.cuts[i].negative ? 1U : 0U) << i;
  Reading best{-1, merged, 0};
  for (unsigned signs = 0; signs < (1U << level.count); ++signs) {
    if (((signs ^ decided) & ~merged) != 0) continue;
    const int count = signChanges(level, signs);
    if (count > best.count) best.count = count, best.negative = signs;
  }
  return best;
}

bool comesBefore(const Reading& a, const Reading& b) {
  return a.count != b.count ? a.count > b.count : std::popcount(a.merged) < std::popcount(b.merged);
}

void insert(const Reading& reading, Readings* readings) {
  int i = readings->count++;
  for (; i > 0 && comesBefore(reading, readings->at[i - 1]); --i) readings->at[i] = readings->at[i - 1];
  readings->at[i] = reading;
}

// The root between a and b, at which the values differ in sign: Newton's method on values of doubled precision, with
// bisection when that is slow; the last step is between neighbouring doubles.
double bracketedRoot(const BandedPolynomial& polynomial, double a, double b, bool negativeAtA) {
  double x = middle(a, b);
  for (int step = 0; step < kMostSteps; ++step) {
    const double value = valueAt(polynomial, x).hi;
    if (value == 0.0) return x;
    ((value < 0.0) == negativeAtA ? a : b) = x;
    const double next = x - value / slopeAt(polynomial, x);
    if (next == x) return x;
    const bool keep = next > a && next < b && (step < 20 || step % 2 == 0);
    x = keep ? next : middle(a, b);
    if (x == a || x == b) break;
  }
  const double valueA = std::abs(valueAt(polynomial, a).hi), valueB = std::abs(valueAt(polynomial, b).hi);
  return valueA < valueB ? a : b;
}

// The reading that merges nothing but exact zeros.
Reading plainReading(const Level& level) {
  unsigned zeros = 0;
  for (int i = 0; i < level.count; ++i) zeros |= (level.cuts[i].exactZero ? 1U : 0U) << i;
  return bestReading(level, zeros);
}

// The value, with its sign beyond doubt.
double decidedValueAt(const BandedPolynomial& polynomial, double x) {
  const double value = valueAt(polynomial, x).hi;
  return std::abs(value) > kRoundingOfValue * bandAt(polynomial, x) ? value : exactValueAt(polynomial, x);
}

}  // namespace

double exactValueAt(const BandedPolynomial& polynomial, double x) {
  Expansion value;
  for (int i = polynomial.degree; i >= 0; --i) {
    value = value * x + Expansion(polynomial.c[i].hi) + Expansion(polynomial.c[i].lo);
  }
  return value.rounded();
}

Level levelOf(const BandedPolynomial& polynomial, const RealRoots& cuts) {
  Level level;
  level.polynomial = polynomial;
  level.count = cuts.count;
  for (int i = 0; i < cuts.count; ++i) {
    const double value = decidedValueAt(polynomial, cuts.at[i]);
    level.cuts[i] = {cuts.at[i], value < 0.0, value == 0.0, std::abs(value) <= bandAt(polynomial, cuts.at[i])};
  }
  return level;
}

Readings readingsOf(const Level& level) {
  Readings result;
  for (unsigned merged = 0; merged < (1U << level.count); ++merged) {
    if (mayMerge(level, merged)) insert(bestReading(level, merged), &result);
  }
  return result;
}

RealRoots rootsOf(const Level& level, const Reading& reading, double bound, int cutOf[4]) {
  RealRoots roots;
  bool negative = negativeAtLeftEnd(level);
  for (int i = 0; i <= level.count; ++i) {
    const bool last = i == level.count;
    const bool next = last ? level.polynomial.c[level.polynomial.degree].hi < 0.0 : bit(reading.negative, i);
    if (next != negative) {
      const bool atLeft = i > 0 && bit(reading.merged, i - 1), atRight = !last && bit(reading.merged, i);
      const double a = i == 0 ? -bound : level.cuts[i - 1].x, b = last ? bound : level.cuts[i].x;
      cutOf[roots.count] = atLeft ? i - 1 : atRight ? i : kNoCut;
      roots.at[roots.count++] = atLeft ? a : atRight ? b : bracketedRoot(level.polynomial, a, b, negative);
    }
    negative = next;
  }
  return roots;
}

RealRoots derivativeRoots(const BandedPolynomial& polynomial, int order, double bound, bool most) {
  RealRoots roots;
  for (int above = polynomial.degree - 1; above >= order; --above) {
    const Level level = levelOf(derivative(polynomial, above), roots);
    int cutOf[4];
    roots = rootsOf(level, most ? readingsOf(level).at[0] : plainReading(level), bound, cutOf);
  }
  return roots;
}

}  // namespace quelplatform

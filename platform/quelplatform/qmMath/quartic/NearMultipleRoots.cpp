#include "quelplatform/qmMath/quartic/NearMultipleRoots.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "quelplatform/qmMath/quartic/BandedPolynomial.h"
#include "quelplatform/qmMath/quartic/MergeRoots.h"
#include "quelplatform/qmMath/quartic/middle.h"

namespace quelplatform {
namespace {

// The roots of a derivative cut the real line into monotone pieces. At such a cut the value has a sign beyond doubt, or
// it lies within the band that the coefficients leave open: then the two roots next to the cut may be taken as equal,
// both at the cut. The cuts are found in the same way from the next derivative, so a cluster of three or four roots is
// seen as a double or triple root of the first derivative.

constexpr int kMostCuts = 3;
constexpr int kMostSteps = 200;

struct Cut {
  double x = 0.0;
  bool negative = false;   // the sign of the value itself
  bool exactZero = false;  // the value is 0
  bool undecided = false;  // the value lies within the band
};

struct Level {
  BandedPolynomial polynomial;
  int count = 0;
  Cut cuts[kMostCuts];
};

// One way to read the cuts: which of them are taken as double roots, and what sign that leaves between the others.
struct Reading {
  int count = 0;  // real roots
  unsigned merged = 0;
  unsigned negative = 0;
};

struct Readings {
  int count = 0;
  Reading at[1 << kMostCuts];

  // Keeps them in order: first those with the most roots, among them first those that merge least.
  void insert(const Reading& reading) {
    int i = count++;
    for (; i > 0 && comesBefore(reading, at[i - 1]); --i) at[i] = at[i - 1];
    at[i] = reading;
  }

 private:
  static bool comesBefore(const Reading& a, const Reading& b) {
    return a.count != b.count ? a.count > b.count : std::popcount(a.merged) < std::popcount(b.merged);
  }
};

bool negativeAtLeftEnd(const Level& level) {
  return (level.polynomial.c[level.polynomial.degree].hi < 0.0) == (level.polynomial.degree % 2 == 0);
}

bool bit(unsigned mask, int i) { return ((mask >> i) & 1U) != 0; }

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

Readings readingsOf(const Level& level) {
  Readings result;
  for (unsigned merged = 0; merged < (1U << level.count); ++merged) {
    if (mayMerge(level, merged)) result.insert(bestReading(level, merged));
  }
  return result;
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

constexpr int kNoCut = -9;

// The roots of a reading; `cutOf` says at which merged cut each lies, if at any.
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

Level levelOf(const BandedPolynomial& polynomial, const RealRoots& cuts) {
  Level level;
  level.polynomial = polynomial;
  level.count = cuts.count;
  for (int i = 0; i < cuts.count; ++i) {
    const double value = valueAt(polynomial, cuts.at[i]).hi;
    level.cuts[i] = {cuts.at[i], value < 0.0, value == 0.0, std::abs(value) <= bandAt(polynomial, cuts.at[i])};
  }
  return level;
}

// The reading that merges nothing but exact zeros.
Reading plainReading(const Level& level) {
  unsigned zeros = 0;
  for (int i = 0; i < level.count; ++i) zeros |= (level.cuts[i].exactZero ? 1U : 0U) << i;
  return bestReading(level, zeros);
}

// The level of the polynomial itself, its cuts found from the highest derivative down: the most that the tolerances
// allow, or those of the given derivatives.
Level lowestLevel(const BandedPolynomial& polynomial, double bound, bool mostCuts) {
  RealRoots cuts;
  for (int order = polynomial.degree - 1; order > 0; --order) {
    const Level level = levelOf(derivative(polynomial, order), cuts);
    int cutOf[4];
    cuts = rootsOf(level, mostCuts ? readingsOf(level).at[0] : plainReading(level), bound, cutOf);
  }
  return levelOf(polynomial, cuts);
}

// A place for a root of the given multiplicity near `at`: where the derivative that must be 0 there without more is 0.
MergedRoot placed(const BandedPolynomial& polynomial, double at, int multiplicity) {
  const BandedPolynomial level = derivative(polynomial, multiplicity - 1);
  const double x = at - valueAt(level, at).hi / slopeAt(level, at);
  return {std::isfinite(x) ? x : at, multiplicity};
}

// The roots of a reading as those of one polynomial within the tolerances. Merged roots at one cut become one multiple
// root; with `join`, so do those at neighbouring cuts.
bool realise(const Level& level, const Reading& reading, double bound, bool join, RealRoots* roots) {
  int cutOf[4];
  *roots = rootsOf(level, reading, bound, cutOf);
  MergedRoot merged[2];
  int groups = 0;
  for (int i = 0, next; i < roots->count; i = next) {
    double sum = roots->at[i];
    for (next = i + 1; next < roots->count && cutOf[i] != kNoCut; ++next) {
      const bool together = roots->at[next] == roots->at[i] || (join && cutOf[next] - cutOf[next - 1] <= 1);
      if (cutOf[next] == kNoCut || !together) break;
      sum += roots->at[next];
    }
    if (next - i < 2) continue;
    merged[groups++] = join ? placed(level.polynomial, sum / (next - i), next - i) : MergedRoot{roots->at[i], next - i};
  }
  return groups == 0 || mergeRoots(level.polynomial, merged, groups, reading.count, roots);
}

// A power of two beyond all roots, and so beyond those of all derivatives (Fujiwara's bound).
double rootBound(const SmallPolynomial& polynomial) {
  const int n = polynomial.degree, lead = std::ilogb(polynomial.c[n]);
  double exponent = -1000.0;
  for (int i = 0; i < n; ++i) {
    if (polynomial.c[i] == 0.0) continue;
    exponent = std::max(exponent, static_cast<double>(std::ilogb(polynomial.c[i]) - lead + 1) / (n - i));
  }
  return std::ldexp(1.0, static_cast<int>(std::ceil(exponent)) + 1);
}

}  // namespace

RealRoots nearMultipleRoots(const SmallPolynomial& polynomial) {
  const double bound = rootBound(polynomial);
  RealRoots best, roots;
  best.count = -1;
  for (const bool mostCuts : {true, false}) {
    const Level level = lowestLevel(banded(polynomial), bound, mostCuts);
    const Readings readings = readingsOf(level);
    for (int i = 0; i < 2 * readings.count && best.count < readings.at[0].count; ++i) {
      const bool realised = realise(level, readings.at[i / 2], bound, i % 2 == 1, &roots);
      if (realised && roots.count > best.count) best = roots;
    }
  }
  return best.count < 0 ? roots : best;
}

}  // namespace quelplatform

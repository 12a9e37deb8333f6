#include "quelplatform/qmMath/quartic/NearMultipleRoots.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/quartic/FurtherPlaces.h"
#include "quelplatform/qmMath/quartic/MergeRoots.h"
#include "quelplatform/qmMath/quartic/Readings.h"

namespace quelplatform {
namespace {

constexpr double kIllConditioned = 0x1p13;   // times the band: above, rounding in doubled precision does not show
constexpr double kFarthestPolish = 0x1p-40;  // relative; a root is never that wrong, unless there is none

// A place for a root of the given multiplicity near `at`: where the derivative that must be 0 there without more is 0.
MergedRoot placed(const BandedPolynomial& polynomial, double at, int multiplicity) {
  const BandedPolynomial level = derivative(polynomial, multiplicity - 1);
  const double x = at - valueAt(level, at).hi / slopeAt(level, at);
  return {std::isfinite(x) ? x : at, multiplicity};
}

// A root that depends so much on the value that doubled precision does not round it right: by a step of Newton's
// method from the exact value.
double polished(const BandedPolynomial& polynomial, double x) {
  const double slope = valueAt(derivative(polynomial, 1), x).hi;
  if (bandAt(polynomial, x) * kIllConditioned <= std::abs(slope * x)) return x;
  const double change = exactValueAt(polynomial, x) / slope;
  return std::abs(change) <= kFarthestPolish * std::abs(x) ? x - change : x;
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
    if (next - i < 2) {
      // One root of a pair that the reading takes as merged, unless the cut is a root by itself.
      if (cutOf[i] != kNoCut && !level.cuts[cutOf[i]].exactZero) return false;
      continue;
    }
    merged[groups++] = join ? placed(level.polynomial, sum / (next - i), next - i) : MergedRoot{roots->at[i], next - i};
  }
  if (groups > 0) return mergeRoots(level.polynomial, merged, groups, reading.count, roots);
  for (int i = 0; i < roots->count; ++i) roots->at[i] = polished(level.polynomial, roots->at[i]);
  return true;
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
  const BandedPolynomial given = banded(polynomial);
  for (const bool mostCuts : {true, false}) {
    const Level level = levelOf(given, derivativeRoots(given, 1, bound, mostCuts));
    const Readings readings = readingsOf(level);
    for (int i = 0; i < 2 * readings.count && best.count < readings.at[0].count; ++i) {
      const bool realised = realise(level, readings.at[i / 2], bound, i % 2 == 1, &roots);
      if (realised && roots.count > best.count) best = roots;
    }
  }
  if (best.count < 0) best = roots;
  if (best.count < polynomial.degree) offerFurtherPlaces(given, bound, &best);
  return best;
}

}  // namespace quelplatform

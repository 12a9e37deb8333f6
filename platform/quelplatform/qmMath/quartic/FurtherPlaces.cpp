#include "quelplatform/qmMath/quartic/FurtherPlaces.h"

#include <algorithm>
#include <cmath>

#include "quelplatform/qmMath/quartic/MergeRoots.h"
#include "quelplatform/qmMath/quartic/Readings.h"

namespace quelplatform {
namespace {

constexpr int kMostDescents = 8;
constexpr double kWorthATry = 2.0;  // a place that misses the band by less may lie beside one that does not

// Whether a number that rounds to x is a root of a polynomial within the tolerances.
bool isRootNearby(const BandedPolynomial& polynomial, double x) {
  const double size = std::abs(x), halfUnit = 0.5 * (std::nextafter(size, HUGE_VAL) - size);
  const double rounding = halfUnit * std::abs(slopeAt(polynomial, x));
  return std::abs(valueAt(polynomial, x).hi) <= bandAt(polynomial, x) + rounding;
}

// The roots of one polynomial within the tolerances with a root of that multiplicity near x, if they are more.
void offer(const BandedPolynomial& polynomial, double x, int multiplicity, RealRoots* best) {
  if (multiplicity > polynomial.degree) return;
  const MergedRoot place = {x, multiplicity};
  const int more = best->count + 1;
  RealRoots roots;
  if (!mergeRoots(polynomial, &place, 1, more, &roots) && !mergeRootsAt(polynomial, place, more, &roots)) return;
  const auto isNearby = [&](double root) { return isRootNearby(polynomial, root); };
  if (std::all_of(roots.at, roots.at + roots.count, isNearby)) *best = roots;
}

double partOfBand(const BandedPolynomial& polynomial, double x) {
  return valueAt(polynomial, x).hi / bandAt(polynomial, x);
}

// The polynomial less the part of the tolerances, used by all coefficients alike, that makes it 0 at x.
BandedPolynomial zeroAt(const BandedPolynomial& polynomial, double x) {
  const double part = partOfBand(polynomial, x);
  BandedPolynomial result = polynomial;
  for (int i = 0; i <= result.degree; ++i) {
    result.c[i] = result.c[i] - DoubleDouble{(x < 0.0 && i % 2 == 1 ? -part : part) * result.tolerance[i], 0.0};
  }
  return result;
}

// The smallest part of the tolerances that, used by all coefficients alike, gives the polynomial a double root: each
// step takes the part that it needs at x away and goes to where what is left is level (Dinkelbach's method). For a
// polynomial without real roots no smaller change gives it any.
void offerNearestDoubles(const BandedPolynomial& polynomial, double bound, double x, RealRoots* best) {
  for (int step = 0; step < kMostDescents; ++step) {
    const RealRoots level = derivativeRoots(zeroAt(polynomial, x), 1, bound, false);
    double next = x, least = HUGE_VAL;
    for (int i = 0; i < level.count && best->count < polynomial.degree; ++i) {
      const double at = level.at[i], part = std::abs(partOfBand(polynomial, at));
      offer(polynomial, at, 2, best);
      if (part < least) least = part, next = at;
    }
    if (next == x) break;
    x = next;
  }
}

// A place in a cluster itself, for two roots or for three: where it is flat enough the tolerances may turn the
// polynomial there either way.
void offerPlaceItself(const BandedPolynomial& polynomial, double x, RealRoots* best) {
  offer(polynomial, x, 2, best);
  offer(polynomial, x, 3, best);
}

}  // namespace

void offerFurtherPlaces(const BandedPolynomial& polynomial, double bound, RealRoots* best) {
  for (int order = polynomial.degree - 1; order > 0; --order) {
    const RealRoots places = derivativeRoots(polynomial, order, bound, false);
    for (int i = 0; i < places.count && best->count < polynomial.degree; ++i) {
      if (!(std::abs(partOfBand(polynomial, places.at[i])) < kWorthATry)) continue;
      offerPlaceItself(polynomial, places.at[i], best);
      offerNearestDoubles(polynomial, bound, places.at[i], best);
    }
  }
}

}  // namespace quelplatform

// Which band of the table of colours a deviation has: the arithmetic of the tool, operation by operation.
'use strict';

// The first whole number from `from` on, below `end`, for which `holds`, which then holds for all that follow.
function firstFor(from, end, holds) {
  while (from < end) {
    const middle = from + Math.floor((end - from) / 2);
    if (holds(middle)) end = middle;
    else from = middle + 1;
  }
  return from;
}

class Grading {
  // `bounds` of the bands in percent, ascending.
  constructor(bounds, isOneSided) {
    this.bounds = bounds;
    this.isOneSided = isOneSided;
  }

  // Of a tolerance: 0 in its middle, 100 at either limit.
  percentOf(limits, deviation) {
    const {lower, upper} = limits;
    if (Math.abs(upper - lower) < Grading.LEAST_TOLERANCE) return Grading.NO_TOLERANCE;
    const share = this.isOneSided ? deviation / upper : (lower + upper - 2 * deviation) / (upper - lower);
    return Math.abs(share) * 100;
  }

  // Beyond the last bound the last band holds. A percentage stops at the largest that a bound can be.
  bandOf(percent) {
    const whole = percent < Grading.MOST ? Math.trunc(percent) : Grading.MOST;
    const last = this.bounds.length - 1;
    return Math.min(firstFor(0, last, (band) => this.bounds[band] > whole), last);
  }

  // Where percentages are 0.
  middleOf(limits) {
    return this.isOneSided ? 0 : (limits.lower + limits.upper) / 2;
  }

  // The deviation above the middle at which a percentage is reached.
  reachOf(limits, percent) {
    return (this.isOneSided ? Math.abs(limits.upper) : (limits.upper - limits.lower) / 2) * percent / 100;
  }
}

Grading.LEAST_TOLERANCE = 1e-6;
Grading.NO_TOLERANCE = 1000;
Grading.MOST = 65535;

// Deviations as whole steps from a centre; the bands between which they lie are then whole numbers, by which a graphics card
// grades as exactly as the tool.
class Steps {
  constructor(centre, step) {
    this.centre = centre;
    this.step = step;
  }

  valueOf(steps) {
    return this.centre + steps * this.step;
  }

  // For each band but the last: from which steps on, and up to which below the middle, a deviation has a higher one.
  bandEnds(grading, limits) {
    const middle = Math.ceil((grading.middleOf(limits) - this.centre) / this.step);
    const from = Math.min(Math.max(middle, -Steps.MOST), Steps.MOST);
    const bandOf = (steps) => grading.bandOf(grading.percentOf(limits, this.valueOf(steps)));
    return grading.bounds.slice(0, -1).map((bound, band) => {
      const above = firstFor(from, Steps.MOST, (steps) => bandOf(steps) > band);
      const below = -firstFor(1 - from, Steps.MOST, (steps) => bandOf(-steps) > band);
      return {below: -Steps.inSinglePrecision(-below), above: Steps.inSinglePrecision(above)};
    });
  }

  // From which steps on a deviation is no longer below, and from which on it is above the limits.
  limitEnds(limits) {
    return {
      lower: firstFor(-Steps.MOST, Steps.MOST, (steps) => this.valueOf(steps) >= limits.lower),
      upper: firstFor(-Steps.MOST, Steps.MOST, (steps) => this.valueOf(steps) > limits.upper),
    };
  }

  // The least number of single precision that is no less: deviations in steps are such numbers.
  static inSinglePrecision(steps) {
    const near = Math.fround(steps);
    return near >= steps ? near : Math.fround(near + Math.abs(steps) * Math.pow(2, -23));
  }
}

// More steps than any deviation has.
Steps.MOST = Math.pow(2, 31);

// Deviations in steps, ascending, of which any question how many is a search.
class Counter {
  constructor(steps) {
    this.sorted = Float32Array.from(steps).sort();
  }

  get count() {
    return this.sorted.length;
  }

  below(steps) {
    return firstFor(0, this.sorted.length, (i) => this.sorted[i] >= steps);
  }

  between(from, end) {
    return this.below(end) - this.below(from);
  }

  // How many each band has.
  bands(ends) {
    const higher = ends.map((end) => this.count - this.between(end.below + 0.5, end.above));
    return [this.count, ...higher].map((count, band) => count - (band < higher.length ? higher[band] : 0));
  }

  // How many lie below, within and above the limits.
  places(ends) {
    const below = this.below(ends.lower);
    const notAbove = this.below(ends.upper);
    return {below, within: notAbove - below, above: this.count - notAbove};
  }
}

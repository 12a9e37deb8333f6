// Numbers as people read and type them.
'use strict';

const MINUS = '\u2212';

function withMinus(text) {
  return text.replace('-', MINUS);
}

function shareText(count, all) {
  return all === 0 ? '' : (100 * count / all).toFixed(2) + ' %';
}

function pointsText(count) {
  return count + (count === 1 ? ' point' : ' points');
}

// Lengths in the unit that the page shows; all others are in millimetres.
class Lengths {
  constructor(unit) {
    this.unit = unit;
  }

  in(millimetres) {
    return millimetres * this.unit.perMillimetre;
  }

  // With the digits that somebody types.
  typed(millimetres) {
    return withMinus(String(Number(this.in(millimetres).toPrecision(12))));
  }

  // With as many decimals as tell steps apart.
  inSteps(millimetres, step) {
    const decimals = Math.min(Math.max(Math.ceil(-Math.log10(this.in(step)) - 1e-9), 0), 12);
    const text = this.in(millimetres).toFixed(decimals);
    return withMinus(Number(text) === 0 ? text.replace('-', '') : text);
  }

  signedInSteps(millimetres, step) {
    const text = this.inSteps(millimetres, step);
    return text.startsWith(MINUS) || !/[1-9]/.test(text) ? text : '+' + text;
  }

  withUnit(text) {
    return text + ' ' + this.unit.name;
  }

  // The length that was typed, with a point or a comma; NaN where it is none.
  parsed(text) {
    const plain = text.trim().replace(MINUS, '-').replace(',', '.');
    return /^[+-]?(\d+\.?\d*|\.\d+)([eE][+-]?\d+)?$/.test(plain) ? Number(plain) / this.unit.perMillimetre : NaN;
  }
}

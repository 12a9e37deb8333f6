// The tolerance by which the page grades: as given, or as somebody chooses by the slider or by typing.
'use strict';

class ToleranceControl {
  // Calls `onChange(limits)`, with lengths in millimetres, for every tolerance that can be.
  constructor(given, isOneSided, lengths, onChange) {
    this.given = given;
    this.limits = given;
    this.isOneSided = isOneSided;
    this.lengths = lengths;
    this.onChange = onChange;
    this.slider = document.getElementById('factor');
    this.fields = {lower: document.getElementById('lower'), upper: document.getElementById('upper')};
    this.slider.addEventListener('input', () => this.scale());
    for (const field of Object.values(this.fields)) field.addEventListener('change', () => this.type());
    document.getElementById('given').addEventListener('click', () => this.restore());
    this.show();
  }

  isGiven() {
    return this.limits.lower === this.given.lower && this.limits.upper === this.given.upper;
  }

  restore() {
    this.slider.value = '0';
    this.change(this.given);
  }

  scale() {
    const factor = Math.pow(10, Number(this.slider.value) / 100);
    this.change(factor === 1 ? this.given : this.scaled(factor));
  }

  // From zero where the tolerance holds it, else from its middle.
  scaled(factor) {
    const {lower, upper} = this.given;
    const from = this.isOneSided || (lower <= 0 && upper >= 0) ? 0 : (lower + upper) / 2;
    const moved = (limit) => Number((from + factor * (limit - from)).toPrecision(6));
    const limits = {lower: moved(lower), upper: moved(upper)};
    return limits.lower < limits.upper ? limits : this.given;
  }

  type() {
    const limits = {lower: this.typed('lower'), upper: this.typed('upper')};
    const fault = this.whyNot(limits);
    document.getElementById('fault').textContent = fault;
    for (const field of Object.values(this.fields)) field.setAttribute('aria-invalid', String(fault !== ''));
    if (fault === '') this.change(limits);
  }

  // A limit whose text was left as it is stays as it is.
  typed(name) {
    const text = this.fields[name].value;
    return text === this.lengths.typed(this.limits[name]) ? this.limits[name] : this.lengths.parsed(text);
  }

  whyNot(limits) {
    if (!Number.isFinite(limits.upper - limits.lower)) return 'The limits must be numbers.';
    if (!(limits.lower < limits.upper)) return 'The lower limit must lie below the upper one.';
    return this.isOneSided && limits.upper === 0 ? 'An upper limit of 0 has no share.' : '';
  }

  change(limits) {
    this.limits = limits;
    this.show();
    this.onChange(limits);
  }

  show() {
    for (const name of ['lower', 'upper']) {
      this.fields[name].value = this.lengths.typed(this.limits[name]);
      this.fields[name].setAttribute('aria-invalid', 'false');
    }
    document.getElementById('fault').textContent = '';
    this.slider.setAttribute('aria-valuetext', this.caption());
  }

  caption() {
    const {lower, upper} = this.limits;
    return this.lengths.withUnit(this.lengths.typed(lower) + ' to ' + this.lengths.typed(upper));
  }
}

// The legend of colours: what each band holds, and how many points it has at the tolerance that is chosen.
'use strict';

class Legend {
  constructor(table, grading, lengths, onChoose) {
    this.rows = [...table.querySelectorAll('tr[data-band]')].map((row) => new LegendRow(row, onChoose));
    this.grading = grading;
    this.lengths = lengths;
  }

  show(limits, counts, all) {
    for (const row of this.rows) row.show(this.rangeOf(row.band, limits), counts[row.band], all);
  }

  // The deviations of a band, on both sides of the middle of the tolerance.
  rangeOf(band, limits) {
    const bounds = this.grading.bounds;
    const middle = this.grading.middleOf(limits);
    const at = (sign, percent) => {
      const length = middle + sign * this.grading.reachOf(limits, percent);
      return withMinus(String(Number(this.lengths.in(length).toPrecision(6))));
    };
    if (bounds.length === 1 || limits.upper - limits.lower < Grading.LEAST_TOLERANCE) return 'all';
    const unit = ' ' + this.lengths.unit.name;
    if (band === 0) return at(-1, bounds[0]) + ' to ' + at(1, bounds[0]) + unit;
    const inner = bounds[band - 1];
    if (band === bounds.length - 1) return '< ' + at(-1, inner) + ', > ' + at(1, inner) + unit;
    return at(-1, bounds[band]) + ' to ' + at(-1, inner) + ', ' + at(1, inner) + ' to ' + at(1, bounds[band]) + unit;
  }

  mark(band) {
    for (const row of this.rows) row.mark(row.band === band);
  }
}

// A row whose name becomes a button.
class LegendRow {
  constructor(row, onChoose) {
    this.band = Number(row.dataset.band);
    this.row = row;
    const head = row.querySelector('th');
    this.button = document.createElement('button');
    this.button.type = 'button';
    this.button.append(...head.childNodes);
    this.length = document.createElement('span');
    this.length.className = 'range length';
    this.button.appendChild(this.length);
    head.appendChild(this.button);
    this.button.addEventListener('click', () => onChoose(this.band));
    this.mark(false);
  }

  show(range, count, all) {
    this.length.textContent = range;
    this.row.querySelector('.count').textContent = count;
    this.row.querySelector('.share').textContent = shareText(count, all);
  }

  mark(isChosen) {
    this.button.setAttribute('aria-pressed', String(isChosen));
  }
}

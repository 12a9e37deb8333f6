// How often deviations are how large. A bar that is chosen shows its points in the cloud.
'use strict';

class Histogram {
  // `usual` are the deviations in steps between which nearly all lie; what lies beyond is in the outermost bars.
  constructor(element, ends, steps, lengths, counter, onChoose) {
    this.element = element;
    this.steps = steps;
    this.lengths = lengths;
    this.edges = Histogram.edgesOf(ends);
    const last = this.edges.length - 2;
    this.bars = this.edges.slice(0, -1).map((edge, i) => {
      const from = i === 0 ? -EVERY : edge;
      const end = i === last ? EVERY : this.edges[i + 1];
      return {from, end, middle: (edge + this.edges[i + 1]) / 2, count: counter.between(from, end)};
    });
    this.build(onChoose);
    this.marks = ['lower', 'upper'].map(() => this.addMark());
  }

  static edgesOf([low, high]) {
    const edges = [];
    for (let i = 0; i <= Histogram.BARS; ++i) edges.push(low + (high - low) * i / Histogram.BARS);
    return edges;
  }

  build(onChoose) {
    const most = Math.max(1, ...this.bars.map((bar) => bar.count));
    this.bars.forEach((bar, i) => {
      bar.button = document.createElement('button');
      bar.button.type = 'button';
      bar.button.tabIndex = i === Math.floor(this.bars.length / 2) ? 0 : -1;
      bar.button.setAttribute('aria-label', this.captionOf(bar) + ': ' + pointsText(bar.count));
      bar.button.title = bar.button.getAttribute('aria-label');
      bar.fill = document.createElement('span');
      bar.fill.style.height = bar.count === 0 ? '0' : Math.max(100 * bar.count / most, 1.5).toFixed(2) + '%';
      bar.button.appendChild(bar.fill);
      bar.button.addEventListener('click', () => onChoose(i));
      bar.button.addEventListener('keydown', (event) => this.key(event, i));
      this.element.appendChild(bar.button);
    });
  }

  // Arrows go from bar to bar, as within one control.
  key(event, i) {
    const to = {ArrowLeft: i - 1, ArrowRight: i + 1, Home: 0, End: this.bars.length - 1}[event.key];
    if (to === undefined || !this.bars[to]) return;
    this.bars[i].button.tabIndex = -1;
    this.bars[to].button.tabIndex = 0;
    this.bars[to].button.focus();
    event.preventDefault();
  }

  textOf(steps) {
    return this.lengths.signedInSteps(this.steps.valueOf(steps), this.steps.step);
  }

  captionOf(bar) {
    const unit = ' ' + this.lengths.unit.name;
    if (bar.from === -EVERY) return 'below ' + this.textOf(bar.end) + unit;
    if (bar.end === EVERY) return 'from ' + this.textOf(bar.from) + unit;
    return this.textOf(bar.from) + ' to ' + this.textOf(bar.end) + unit;
  }

  addMark() {
    const mark = document.createElement('div');
    mark.className = 'limit';
    this.element.appendChild(mark);
    return mark;
  }

  // Each bar has the colour of its middle; lines stand at the limits.
  show(limits, colourOf) {
    for (const bar of this.bars) bar.fill.style.backgroundColor = colourOf(this.steps.valueOf(bar.middle));
    const [low, high] = [this.edges[0], this.edges[Histogram.BARS]];
    [limits.lower, limits.upper].forEach((limit, i) => {
      const share = ((limit - this.steps.centre) / this.steps.step - low) / (high - low);
      this.marks[i].hidden = !(share >= 0 && share <= 1);
      this.marks[i].style.left = (100 * share).toFixed(3) + '%';
    });
  }

  mark(chosen) {
    this.bars.forEach((bar, i) => bar.button.setAttribute('aria-pressed', String(i === chosen)));
  }

  // The range that the bars show: what is usual, and the limits, with some room.
  static rangeOf(usual, limits, steps) {
    const at = [limits.lower, limits.upper].map((limit) => (limit - steps.centre) / steps.step);
    const low = Math.min(usual[0], ...at);
    const high = Math.max(usual[1], ...at);
    const room = 0.04 * (high - low);
    return [low - room, high + room];
  }
}

Histogram.BARS = 48;

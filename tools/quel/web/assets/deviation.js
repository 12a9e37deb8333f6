// The page of deviations: its cloud, legend, histogram and the point that is chosen, by one tolerance.
'use strict';

class DeviationPage {
  constructor(data, page) {
    this.data = data;
    this.page = page;
    this.view = page.view;
    this.lengths = new Lengths(data.unit);
    this.steps = new Steps(data.centre, data.step);
    this.grading = new Grading(data.bands.map((band) => band.bound), data.oneSided);
    this.point = null;
  }

  async load() {
    this.graded = await readGraded(this.data.graded);
    this.ungraded = await readUngraded(this.data.ungraded);
    this.counter = new Counter(this.graded.steps);
    const given = {lower: this.data.lower, upper: this.data.upper};
    this.tolerance = new ToleranceControl(given, this.data.oneSided, this.lengths, () => this.grade());
    this.legend = new Legend(document.getElementById('legend'), this.grading, this.lengths, (i) => this.chooseBand(i));
    this.buildHistogram(given);
    this.text = new PointText(document.getElementById('point'));
    if (this.view) this.buildView();
    this.connect();
    this.choose({kind: 'none'});
    this.choosePoint(null);
    this.grade();
  }

  buildHistogram(given) {
    const range = Histogram.rangeOf(this.data.usual, given, this.steps);
    this.histogram = new Histogram(document.getElementById('histogram'), range, this.steps, this.lengths, this.counter,
      (i) => this.chooseBar(i));
    const ends = document.querySelectorAll('#histogram-ends span');
    range.forEach((end, i) => { ends[i].textContent = this.lengths.withUnit(this.histogram.textOf(end)); });
  }

  buildView() {
    const box = boxOf([this.graded, this.ungraded]);
    const spacing = spacingOf(this.data.graded + this.data.ungraded, box);
    this.points = new GradedPoints(this.graded, spacing, this.data.bands);
    this.others = new UngradedPoints(this.ungraded.cells, spacing);
    this.points.grade(this.steps.bandEnds(this.grading, this.tolerance.limits));
    this.view.addLayer(this.points);
    this.view.addLayer(this.others);
    this.ring = new Ring(document.getElementById('stage'), this.view);
    new ScaleBar(document.getElementById('scale'), this.view, this.lengths, this.data.cell);
    this.view.begin(box);
    if (this.data.points === 0) this.page.say('There are no points to show.');
    this.view.onTap((x, y, isRough) => this.tap(x, y, isRough));
  }

  connect() {
    const on = (id, type, act) => document.getElementById(id).addEventListener(type, act);
    on('smallest', 'click', () => this.choosePoint(this.extreme(-1)));
    on('largest', 'click', () => this.choosePoint(this.extreme(1)));
    on('no-point', 'click', () => this.choosePoint(null));
    const box = document.getElementById('ungraded-shown');
    if (box) box.addEventListener('change', () => this.showOthers(box.checked));
  }

  // Counts are those of the tool as long as its tolerance holds: they are of all points.
  grade() {
    const limits = this.tolerance.limits;
    const ends = this.steps.bandEnds(this.grading, limits);
    const isGiven = this.tolerance.isGiven();
    const counts = isGiven ? this.data.counts : this.counter.places(this.steps.limitEnds(limits));
    const all = counts.below + counts.within + counts.above;
    this.legend.show(limits, isGiven ? counts.bands : this.counter.bands(ends), all);
    this.histogram.show(limits, (deviation) => this.data.bands[this.bandOf(deviation)].colour);
    document.getElementById('within-share').textContent = shareText(counts.within, all);
    document.getElementById('places').textContent =
      'within ' + this.tolerance.caption() + ', ' + counts.below + ' below, ' + counts.above + ' above';
    this.describePoint();
    if (!this.view) return;
    this.points.grade(ends);
    this.view.moved();
  }

  bandOf(deviation) {
    return this.grading.bandOf(this.grading.percentOf(this.tolerance.limits, deviation));
  }

  chooseBand(band) {
    this.toggle({kind: 'band', index: band, from: -EVERY, end: EVERY, band, caption: this.data.bands[band].name});
  }

  chooseBar(i) {
    const bar = this.histogram.bars[i];
    const caption = this.histogram.captionOf(bar) + ': ' + pointsText(bar.count);
    this.toggle({kind: 'bar', index: i, from: bar.from, end: bar.end, band: -1, caption});
  }

  // Chosen once more, nothing is.
  toggle(choice) {
    const isSame = choice.kind === this.choice.kind && choice.index === this.choice.index;
    this.choose(isSame ? {kind: 'none'} : choice);
  }

  choose(choice) {
    this.choice = choice;
    this.legend.mark(choice.kind === 'band' ? choice.index : -1);
    this.histogram.mark(choice.kind === 'bar' ? choice.index : -1);
    document.getElementById('highlight').textContent =
      choice.kind === 'none' ? 'Choose a bar, or a band above, to see its points.' : 'Shown: ' + choice.caption;
    if (!this.view) return;
    if (choice.kind === 'none') this.points.choose(-EVERY, EVERY, -1);
    else this.points.choose(choice.from, choice.end, choice.band);
    this.view.moved();
  }

  showOthers(isShown) {
    if (!this.view) return;
    this.others.object.visible = isShown;
    this.view.moved();
  }

  // A finger covers more than a pointer.
  tap(x, y, isRough) {
    const {clientWidth, clientHeight} = this.view.canvas;
    const radius = (isRough ? 16 : 6) / clientHeight;
    const at = (layer, isShown) => pointAt(this.view, layer, x / clientWidth, y / clientHeight, radius, isShown);
    const i = at(this.points, (k) => this.points.isChosen(k, (steps) => this.bandOf(this.steps.valueOf(steps))));
    const other = i < 0 && this.others.object.visible ? at(this.others, () => true) : -1;
    if (i >= 0) this.choosePoint({group: this.graded, i});
    else this.choosePoint(other >= 0 ? {group: this.ungraded, i: other} : null);
  }

  extreme(sign) {
    const i = extremeOf(this.graded.steps, sign);
    return i < 0 ? null : {group: this.graded, i};
  }

  choosePoint(point) {
    this.point = point;
    if (this.ring) this.ring.follow(point && cellOf(point.group.cells, point.i));
    this.describePoint();
  }

  describePoint() {
    this.text.show(this.point === null ? [['None chosen', '']] : [...this.placeRows(), ...this.deviationRows()]);
  }

  placeRows() {
    const {group, i} = this.point;
    return ['X', 'Y', 'Z'].map((name, axis) => {
      const millimetres = this.data.origin[axis] + group.cells[4 * i + axis] * this.data.cell;
      return [name, this.lengths.withUnit(this.lengths.inSteps(millimetres, this.data.cell))];
    });
  }

  deviationRows() {
    if (this.point.group === this.ungraded) return [['Deviation', 'none']];
    const deviation = this.steps.valueOf(this.graded.steps[this.point.i]);
    const percent = this.grading.percentOf(this.tolerance.limits, deviation);
    return [
      ['Deviation', this.lengths.withUnit(this.lengths.signedInSteps(deviation, this.data.step))],
      ['Share of the tolerance', Math.floor(percent) + ' %'],
      ['Band', this.data.bands[this.bandOf(deviation)].name],
    ];
  }
}

const deviationPage = new DeviationPage(pageJson('data'), new Page());
deviationPage.load().catch((error) => {
  deviationPage.page.say('The points of this page cannot be read: ' + error.message);
  throw error;
}).finally(() => { document.documentElement.dataset.state = 'ready'; });

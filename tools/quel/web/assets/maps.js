// Fields over a plane: painted by colours on a canvas, and read out where somebody points.
'use strict';

function rgbOf(hex) {
  return [1, 3, 5].map((at) => parseInt(hex.slice(at, at + 2), 16));
}

class PageMap {
  // `colours` go from the least value to the greatest.
  constructor(plan, colours) {
    this.plan = plan;
    this.colours = colours.map(rgbOf);
    this.figure = document.getElementById(plan.id);
    this.steps = new Uint16Array(plan.columns * plan.rows);
  }

  async load() {
    const columns = new Columns(await pageBytes(this.plan.id + '-values'), this.steps.length);
    columns.read16((i, steps) => { this.steps[i] = steps; });
    this.paint();
    const stack = this.figure.querySelector('.map-stack');
    stack.addEventListener('pointermove', (event) => this.point(event, stack));
    stack.addEventListener('pointerleave', () => this.tell(''));
  }

  // NaN where there is no value.
  valueAt(column, row) {
    const {columns, rows, least, greatest} = this.plan;
    if (column < 0 || row < 0 || column >= columns || row >= rows) return NaN;
    const steps = this.steps[row * columns + column];
    return steps === PageMap.NONE ? NaN : least + (greatest - least) * steps / PageMap.LAST;
  }

  text(value) {
    const {factor, unit} = this.plan;
    return Number.isNaN(value) ? 'no value' : Number((factor * value).toPrecision(3)) + ' ' + unit;
  }

  // Red, green, blue and opacity of each node, row by row from the first one.
  pixels() {
    const bytes = new Uint8ClampedArray(4 * this.steps.length);
    this.steps.forEach((steps, i) => {
      if (steps === PageMap.NONE) return;
      const colour = this.colours[Math.round((this.colours.length - 1) * steps / PageMap.LAST)];
      bytes.set([...colour, 255], 4 * i);
    });
    return bytes;
  }

  paint() {
    const {columns, rows, rises} = this.plan;
    const bytes = this.pixels();
    const image = new ImageData(columns, rows);
    for (let row = 0; row < rows; ++row) {
      const from = 4 * columns * (rises ? rows - 1 - row : row);
      image.data.set(bytes.subarray(from, from + 4 * columns), 4 * columns * row);
    }
    this.figure.querySelector('canvas').getContext('2d').putImageData(image, 0, 0);
  }

  point(event, stack) {
    const {columns, rows, rises} = this.plan;
    const box = stack.getBoundingClientRect();
    const column = Math.floor(columns * (event.clientX - box.left) / box.width);
    const row = Math.floor(rows * (event.clientY - box.top) / box.height);
    this.tell(this.text(this.valueAt(column, rises ? rows - 1 - row : row)));
  }

  tell(text) {
    this.figure.querySelector('output').textContent = text;
  }
}

PageMap.NONE = 65535;
PageMap.LAST = 65534;

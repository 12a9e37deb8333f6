// What lies over a view: its axes, a scale, and a ring around a chosen point.
'use strict';

const SVG = 'http://www.w3.org/2000/svg';

function svgElement(name, attributes, parent) {
  const element = document.createElementNS(SVG, name);
  for (const key of Object.keys(attributes)) element.setAttribute(key, attributes[key]);
  parent.appendChild(element);
  return element;
}

// The axes of the scene as they are turned.
class Triad {
  constructor(svg, view) {
    this.view = view;
    this.axes = ['X', 'Y', 'Z'].map((name, i) => {
      const group = svgElement('g', {class: 'axis axis-' + i}, svg);
      const line = svgElement('line', {x1: 0, y1: 0}, group);
      const text = svgElement('text', {'text-anchor': 'middle', 'dominant-baseline': 'central'}, group);
      text.textContent = name;
      return {line, text, direction: new THREE.Vector3().setComponent(i, 1)};
    });
    view.onDrawn(() => this.update());
  }

  update() {
    const back = this.view.pose.rotation.clone().inverse();
    for (const axis of this.axes) {
      const seen = axis.direction.clone().applyQuaternion(back);
      axis.line.setAttribute('x2', (24 * seen.x).toFixed(2));
      axis.line.setAttribute('y2', (-24 * seen.y).toFixed(2));
      axis.text.setAttribute('x', (33 * seen.x).toFixed(2));
      axis.text.setAttribute('y', (-33 * seen.y).toFixed(2));
    }
  }
}

// A bar of a round length.
class ScaleBar {
  // `millimetres` is what a length of 1 of the scene measures.
  constructor(element, view, lengths, millimetres) {
    this.element = element;
    this.text = element.querySelector('span');
    this.view = view;
    this.lengths = lengths;
    this.millimetres = millimetres;
    element.hidden = false;
    view.onDrawn(() => this.update());
  }

  update() {
    const height = this.lengths.in(this.view.pose.height * this.millimetres);
    const length = ScaleBar.round(height / 5);
    const share = length / height / this.view.aspect;
    this.element.style.width = (100 * share).toFixed(3) + '%';
    this.text.textContent = Number(length.toPrecision(3)) + ' ' + this.lengths.unit.name;
  }

  // The largest of 1, 2 and 5 times a power of ten that is at most `length`.
  static round(length) {
    const power = Math.pow(10, Math.floor(Math.log10(length)));
    return [5, 2, 1].find((factor) => factor * power <= length || factor === 1) * power;
  }
}

// A ring that follows a point of the scene.
class Ring {
  constructor(stage, view) {
    this.element = document.createElement('div');
    this.element.className = 'ring';
    this.element.hidden = true;
    stage.appendChild(this.element);
    this.view = view;
    this.point = null;
    view.onDrawn(() => this.update());
  }

  // Null for none.
  follow(point) {
    this.point = point;
    this.element.hidden = point === null;
    this.update();
  }

  update() {
    if (this.point === null) return;
    const place = this.view.placeOf(this.point);
    this.element.hidden = place.x < 0 || place.x > 1 || place.y < 0 || place.y > 1;
    this.element.style.left = (100 * place.x).toFixed(3) + '%';
    this.element.style.top = (100 * place.y).toFixed(3) + '%';
  }
}

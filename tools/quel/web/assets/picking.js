// The point that is seen at a place of the view.
'use strict';

// Its position within a layer; -1 where there is none within `radius` shares of the picture's height. Of points that hide one
// another the foremost counts, and of those that lie as far in front the nearest to the place.
function pointAt(view, layer, x, y, radius, isShown) {
  const candidates = pointsAround(view, layer, x, y, radius, isShown);
  const depth = Math.min(...candidates.map((candidate) => candidate.depth)) + 3 * radius * view.pose.height;
  let best = {i: -1, distance: Infinity};
  for (const candidate of candidates) {
    if (candidate.depth <= depth && candidate.distance < best.distance) best = candidate;
  }
  return best.i;
}

// `x` and `y` are shares of the picture, from its upper left corner.
function pointsAround(view, layer, x, y, radius, isShown) {
  const m = view.camera.matrixWorldInverse.getInverse(view.camera.matrixWorld).clone()
    .multiply(layer.object.matrixWorld).elements;
  const atX = (x - 0.5) * view.pose.height * view.aspect;
  const atY = (0.5 - y) * view.pose.height;
  const reach = radius * view.pose.height;
  const {cells, count} = layer;
  const found = [];
  for (let i = 0; i < count; ++i) {
    const [a, b, c] = [cells[4 * i], cells[4 * i + 1], cells[4 * i + 2]];
    const dx = m[0] * a + m[4] * b + m[8] * c + m[12] - atX;
    const dy = m[1] * a + m[5] * b + m[9] * c + m[13] - atY;
    const square = dx * dx + dy * dy;
    if (square > reach * reach || !isShown(i)) continue;
    found.push({i, distance: square, depth: -(m[2] * a + m[6] * b + m[10] * c + m[14])});
  }
  return found;
}

// Where the largest deviation is, or the smallest with a `sign` of -1; -1 where there is none.
function extremeOf(steps, sign) {
  let best = -1;
  for (let i = 0; i < steps.length; ++i) {
    if (best < 0 || sign * steps[i] > sign * steps[best]) best = i;
  }
  return best;
}

// What is said of a chosen point.
class PointText {
  constructor(list) {
    this.list = list;
  }

  show(rows) {
    this.list.replaceChildren();
    for (const [name, value] of rows) {
      this.list.append(this.element('dt', name), this.element('dd', value));
    }
  }

  element(tag, text) {
    const element = document.createElement(tag);
    element.textContent = text;
    return element;
  }
}

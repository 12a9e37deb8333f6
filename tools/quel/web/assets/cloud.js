// Points of the cloud, drawn by the graphics card, which also colours them: a new tolerance is a few numbers for it.
'use strict';

const VERTEX_SHADER = `#version 300 es
precision highp float;
precision highp int;
precision highp sampler2D;
in vec3 position;
in float steps;
uniform mat4 modelViewMatrix;
uniform mat4 projectionMatrix;
uniform float size;
uniform sampler2D ends;     // of the bands: below, above
uniform sampler2D colours;  // of the bands
uniform int last;           // band
uniform vec2 chosen;        // steps, from and up to
uniform int chosenBand;     // -1: any
uniform vec3 paleColour;    // of all that is not chosen
flat out vec3 colour;

ivec2 texel(int band) { return ivec2(band & 255, band >> 8); }

bool isHigher(int band) {
  vec4 end = texelFetch(ends, texel(band), 0);
  return steps <= end.x || steps >= end.y;
}

int bandOfSteps() {
  int from = 0;
  int to = last;
  while (from < to) {
    int middle = (from + to) / 2;
    if (isHigher(middle)) from = middle + 1;
    else to = middle;
  }
  return from;
}

void main() {
  int band = bandOfSteps();
  bool isChosen = steps >= chosen.x && steps < chosen.y && (chosenBand < 0 || chosenBand == band);
  colour = isChosen ? texelFetch(colours, texel(band), 0).rgb : paleColour;
  gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
  if (!isChosen) gl_Position.z += 0.002;  // What is chosen shows among its neighbours.
  gl_PointSize = size;
}`;

const PLAIN_VERTEX_SHADER = `#version 300 es
precision highp float;
in vec3 position;
uniform mat4 modelViewMatrix;
uniform mat4 projectionMatrix;
uniform float size;
uniform vec3 paleColour;
flat out vec3 colour;

void main() {
  colour = paleColour;
  gl_Position = projectionMatrix * modelViewMatrix * vec4(position, 1.0);
  gl_PointSize = size;
}`;

// Large points are round.
const FRAGMENT_SHADER = `#version 300 es
precision highp float;
flat in vec3 colour;
uniform float size;
out vec4 pixel;

void main() {
  vec2 off = 2.0 * gl_PointCoord - 1.0;
  if (size > 4.0 && dot(off, off) > 1.0) discard;
  pixel = vec4(colour, 1.0);
}`;

function shader(vertexShader, uniforms) {
  const all = Object.assign({size: {value: 1}, paleColour: {value: new THREE.Vector3()}}, uniforms);
  return new THREE.RawShaderMaterial({vertexShader, fragmentShader: FRAGMENT_SHADER, uniforms: all});
}

// Cells of points in the order in which they are drawn, four numbers each, of which the last is 0.
function readCells(columns) {
  const turns = evenTurns(columns.rows);
  const cells = new Uint16Array(4 * columns.rows);
  for (let axis = 0; axis < 3; ++axis) columns.read16((row, cell) => { cells[4 * turns[row] + axis] = cell; });
  return {cells, turns};
}

async function readGraded(rows) {
  const columns = new Columns(await pageBytes('graded'), rows);
  const {cells, turns} = readCells(columns);
  const steps = new Float32Array(rows);
  columns.read32((row, value) => { steps[turns[row]] = value; });
  return {cells, steps};
}

async function readUngraded(rows) {
  return {cells: readCells(new Columns(await pageBytes('ungraded'), rows)).cells};
}

// Usual distance of neighbours, in cells, of so many points on a surface that fills the box.
function spacingOf(count, box) {
  const size = box.getSize(new THREE.Vector3()).toArray().sort((a, b) => b - a);
  return count === 0 ? 0 : Math.sqrt(size[0] * Math.max(size[1], 1) / count);
}

function cellOf(cells, i) {
  return new THREE.Vector3().fromArray(cells, 4 * i);
}

function boxOf(groups) {
  const box = new THREE.Box3();
  const point = new THREE.Vector3();
  for (const {cells} of groups) {
    for (let i = 0; i < cells.length; i += 4) box.expandByPoint(point.set(cells[i], cells[i + 1], cells[i + 2]));
  }
  return box.isEmpty() ? box.expandByPoint(new THREE.Vector3()) : box;
}

// A layer of the view: points whose neighbours lie `spacing` apart.
class Points {
  constructor(cells, spacing, material) {
    this.cells = cells;
    this.count = cells.length / 4;
    this.spacing = spacing;
    this.uniforms = material.uniforms;
    this.geometry = new THREE.BufferGeometry();
    this.geometry.setAttribute('position', new THREE.BufferAttribute(cells, 4));
    this.object = new THREE.Points(this.geometry, material);
    this.object.frustumCulled = false;
  }

  // Fewer points are larger, so that a surface stays closed.
  prepare(view, from, end, all) {
    const first = Math.ceil(from * this.count);
    const size = 1.7 * this.spacing * view.pixelsPerLength / Math.sqrt(all);
    const least = this.count < Points.FEW ? Points.LEAST_OF_FEW : Points.LEAST;
    this.uniforms.size.value = Math.min(Math.max(size, least * view.pixelRatio), Points.MOST * view.pixelRatio);
    this.geometry.setDrawRange(first, Math.ceil(end * this.count) - first);
  }
}

// Sides of a drawn point in CSS pixels.
Points.LEAST = 2;
Points.LEAST_OF_FEW = 7;
Points.FEW = 1000;
Points.MOST = 14;

class UngradedPoints extends Points {
  constructor(cells, spacing) {
    super(cells, spacing, shader(PLAIN_VERTEX_SHADER, {}));
  }

  prepare(view, from, end, all) {
    super.prepare(view, from, end, all);
    this.uniforms.paleColour.value.fromArray(view.theme.shares('--ungraded'));
  }
}

class GradedPoints extends Points {
  constructor({cells, steps}, spacing, bands) {
    super(cells, spacing, shader(VERTEX_SHADER, {
      ends: {value: bandTexture(bands.length, Float32Array, THREE.FloatType)},
      colours: {value: bandTexture(bands.length, Uint8Array, THREE.UnsignedByteType)},
      last: {value: bands.length - 1},
      chosen: {value: new THREE.Vector2(-EVERY, EVERY)},
      chosenBand: {value: -1},
    }));
    this.steps = steps;
    this.geometry.setAttribute('steps', new THREE.BufferAttribute(steps, 1));
    const colours = this.uniforms.colours.value.image.data;
    bands.forEach((band, i) => colours.set([1, 3, 5].map((at) => parseInt(band.colour.slice(at, at + 2), 16)), 4 * i));
  }

  prepare(view, from, end, all) {
    super.prepare(view, from, end, all);
    this.uniforms.paleColour.value.fromArray(view.theme.shares('--unchosen'));
  }

  grade(ends) {
    const texture = this.uniforms.ends.value;
    ends.forEach(({below, above}, band) => texture.image.data.set([below, above], 4 * band));
    texture.needsUpdate = true;
  }

  // The others become pale. A band of -1 is any.
  choose(from, end, band) {
    this.uniforms.chosen.value.set(from, end);
    this.uniforms.chosenBand.value = band;
  }

  isChosen(i, bandOf) {
    const {chosen, chosenBand} = this.uniforms;
    if (this.steps[i] < chosen.value.x || this.steps[i] >= chosen.value.y) return false;
    return chosenBand.value < 0 || bandOf(this.steps[i]) === chosenBand.value;
  }
}

// Beyond all deviations in steps.
const EVERY = 1e38;

// Rows of 256 bands.
function bandTexture(bands, Numbers, type) {
  const rows = Math.ceil(bands / 256);
  const texture = new THREE.DataTexture(new Numbers(4 * 256 * rows), 256, rows, THREE.RGBAFormat, type);
  texture.needsUpdate = true;
  return texture;
}

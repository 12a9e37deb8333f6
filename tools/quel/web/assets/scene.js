// A head in space: what its cameras see, the volume in which it measures, and sections through that.
'use strict';

function vectorOf(numbers) {
  return new THREE.Vector3(...numbers);
}

// Triangles without light; `corners` are three a triangle.
function meshOf(corners, material) {
  const geometry = new THREE.BufferGeometry();
  const positions = new Float32Array(3 * corners.length);
  corners.forEach((corner, i) => corner.toArray(positions, 3 * i));
  geometry.setAttribute('position', new THREE.BufferAttribute(positions, 3));
  return new THREE.Mesh(geometry, material);
}

function plainMaterial(opacity) {
  return new THREE.MeshBasicMaterial({
    side: THREE.DoubleSide, transparent: opacity < 1, opacity, depthWrite: opacity === 1,
  });
}

// What is drawn as it is, however many points others draw; lines of it go to the SVG over the view.
class SceneLayer {
  constructor(className, isShown = true) {
    this.object = new THREE.Group();
    this.count = 0;
    this.className = className;
    this.isShown = isShown;
    this.lines = [];   // Places that a line goes through.
    this.labels = [];  // {at, text}
    this.tinted = [];  // Materials that have the colour of the page's variable `tint`.
    this.tint = null;
  }

  // Pictures may be made in pieces; all of this belongs to the first.
  prepare(view, from) {
    this.object.visible = this.isShown && from === 0;
    if (this.tint) this.tinted.forEach((material) => material.color.setRGB(...view.theme.shares(this.tint)));
  }
}

// A camera's body, near its place, and the field that it sees.
class CameraLayer extends SceneLayer {
  constructor(camera, steps) {
    super('camera camera-' + camera.number);
    this.tint = '--camera-' + camera.number;
    this.place = vectorOf(camera.place);
    this.rim = camera.rim.map(vectorOf);
    this.corners = this.rim.filter((_, i) => i % steps === 0);
    this.labels.push({at: this.place, text: 'Camera ' + camera.number});
    if (this.rim.length > 0) this.build();
  }

  build() {
    const near = this.corners.map((corner) => this.place.clone().lerp(corner, CameraLayer.BODY));
    const body = plainMaterial(1);
    this.tinted.push(body);
    this.object.add(meshOf(this.sides(near), body));
    this.body = near;
    this.lines.push([...near, near[0]]);
    near.forEach((corner) => this.lines.push([this.place, corner]));
  }

  // Triangles from the camera to the neighbours of a closed line.
  sides(line) {
    return line.flatMap((point, i) => [this.place, point, line[(i + 1) % line.length]]);
  }
}

CameraLayer.BODY = 0.07;  // Of the way to where its field ends.

class FieldLayer extends SceneLayer {
  constructor(camera) {
    super('field ' + camera.className);
    this.tint = camera.tint;
    if (camera.rim.length === 0) return;
    const material = plainMaterial(0.07);
    this.tinted.push(material);
    this.object.add(meshOf(camera.sides(camera.rim), material));
    this.lines.push([...camera.rim, camera.rim[0]]);
    camera.corners.forEach((corner) => this.lines.push([camera.place, corner]));
  }
}

class VolumeLayer extends SceneLayer {
  constructor(volume, lengths) {
    super('volume');
    this.centre = vectorOf(volume.centre);
    this.size = vectorOf(volume.size);
    for (let axis = 0; axis < 3; ++axis) this.addEdges(axis);
    volume.size.forEach((size, axis) => this.labels.push({
      at: this.at(...[0, 1, 2].map((i) => (i === axis ? 0 : 0.5))),
      text: 'XYZ'[axis] + ' ' + Number(lengths.in(size).toPrecision(4)) + ' ' + lengths.unit.name,
    }));
  }

  // By shares from -0.5 to 0.5.
  at(x, y, z) {
    return new THREE.Vector3(x, y, z).multiply(this.size).add(this.centre);
  }

  addEdges(axis) {
    for (let side = 0; side < 4; ++side) {
      const end = (along) => {
        const shares = [0, 0, 0];
        shares[axis] = along;
        shares[(axis + 1) % 3] = (side & 1) - 0.5;
        shares[(axis + 2) % 3] = (side >> 1) - 0.5;
        return this.at(...shares);
      };
      this.lines.push([end(-0.5), end(0.5)]);
    }
  }
}

// A section through the middle of the volume with the colours of its map.
class SectionLayer extends SceneLayer {
  constructor(section, volume, map) {
    super('section');
    this.section = section;
    this.volume = volume;
    this.map = map;
    const corners = [[-0.5, -0.5], [0.5, -0.5], [0.5, 0.5], [-0.5, 0.5]].map(([u, v]) => this.at(u, v));
    const mesh = meshOf([0, 1, 2, 0, 2, 3].map((i) => corners[i]), this.material());
    const places = new Float32Array([0, 0, 1, 0, 1, 1, 0, 0, 1, 1, 0, 1]);
    mesh.geometry.setAttribute('uv', new THREE.BufferAttribute(places, 2));
    mesh.renderOrder = 1;  // After the fields of view, which would tinge its colours.
    this.object.add(mesh);
    this.lines.push([...corners, corners[0]]);
  }

  at(u, v) {
    const shares = [0, 0, 0];
    shares[this.section.u] = u;
    shares[this.section.v] = v;
    return this.volume.at(...shares);
  }

  material() {
    const {columns, rows} = this.map.plan;
    const texture = new THREE.DataTexture(new Uint8Array(this.map.pixels().buffer), columns, rows, THREE.RGBAFormat);
    texture.magFilter = THREE.NearestFilter;
    texture.minFilter = THREE.NearestFilter;
    texture.needsUpdate = true;
    return new THREE.MeshBasicMaterial({map: texture, side: THREE.DoubleSide, alphaTest: 0.5, transparent: true});
  }

  // Where a ray meets it at a place with a value; null where it does not.
  meetingWith(ray) {
    const across = 3 - this.section.u - this.section.v;
    const slope = ray.direction.getComponent(across);
    if (Math.abs(slope) < 1e-6) return null;
    const distance = (this.volume.centre.getComponent(across) - ray.origin.getComponent(across)) / slope;
    const point = ray.at(distance, new THREE.Vector3());
    const value = this.valueAt(point);
    return Number.isNaN(value) ? null : {map: this.map, distance, point, value};
  }

  // NaN where there is none, and beyond the section.
  valueAt(point) {
    const shares = point.clone().sub(this.volume.centre).divide(this.volume.size).toArray();
    const {columns, rows} = this.map.plan;
    const node = (share, count) => Math.floor((share + 0.5) * count);
    return this.map.valueAt(node(shares[this.section.u], columns), node(shares[this.section.v], rows));
  }
}

// Lines and labels of layers over the view: as crisp on paper as on the screen.
class SceneLines {
  constructor(stage, view, layers) {
    this.view = view;
    this.svg = svgElement('svg', {class: 'lines', preserveAspectRatio: 'none', 'aria-hidden': 'true'}, stage);
    stage.insertBefore(this.svg, view.canvas.nextSibling);
    this.entries = layers.map((layer) => this.entryOf(layer));
    view.onDrawn(() => this.update());
  }

  entryOf(layer) {
    const group = svgElement('g', {class: layer.className}, this.svg);
    const path = svgElement('path', {}, group);
    const texts = layer.labels.map((label) => {
      const text = svgElement('text', {'text-anchor': 'middle'}, group);
      text.textContent = label.text;
      return text;
    });
    return {layer, group, path, texts};
  }

  update() {
    this.width = this.view.canvas.clientWidth || this.width;
    this.height = this.view.canvas.clientHeight || this.height;
    this.svg.setAttribute('viewBox', `0 0 ${this.width} ${this.height}`);
    for (const entry of this.entries) this.updateEntry(entry);
  }

  updateEntry({layer, group, path, texts}) {
    group.style.display = layer.isShown ? '' : 'none';
    if (!layer.isShown) return;
    path.setAttribute('d', layer.lines.map((line) => 'M' + line.map((point) => this.text(point)).join('L')).join(''));
    texts.forEach((text, i) => {
      const {x, y} = this.placeOf(layer.labels[i].at);
      text.setAttribute('x', x.toFixed(2));
      text.setAttribute('y', (y - 8).toFixed(2));
    });
  }

  placeOf(point) {
    const {x, y} = this.view.placeOf(point);
    return {x: x * this.width, y: y * this.height};
  }

  text(point) {
    const {x, y} = this.placeOf(point);
    return x.toFixed(2) + ' ' + y.toFixed(2);
  }
}

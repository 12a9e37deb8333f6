// The page of a head: its view, the maps below it, and what is chosen to be seen.
'use strict';

class HeadPage {
  constructor(data, page) {
    this.data = data;
    this.page = page;
    this.view = page.view;
    this.lengths = new Lengths(data.unit);
    this.maps = new Map();
    this.place = document.getElementById('place');
  }

  async load() {
    for (const plan of [...this.data.sectionMaps, ...this.data.lensMaps]) {
      const map = new PageMap(plan, this.data.colours);
      await map.load();
      this.maps.set(plan.id, map);
    }
    this.showPlace(null);
    if (this.view && this.data.scene.cameras.length > 0) this.buildView();
    else if (this.view) this.page.say('This block holds no cameras that could be shown. The notes below say why.');
  }

  buildView() {
    this.layers = this.layersOf(this.data.scene);
    for (const layer of this.layers) this.view.addLayer(layer);
    const stage = document.getElementById('stage');
    this.ring = new Ring(stage, this.view);
    this.overlay = new SceneLines(stage, this.view, this.layers);
    new ScaleBar(document.getElementById('scale'), this.view, this.lengths, 1);
    this.view.pose.outline = this.places();
    this.view.begin(new THREE.Box3().setFromPoints(this.view.pose.outline));
    this.beginBeside(this.data.scene.cameras);
    this.connect();
  }

  layersOf({cameras, rimSteps, volume}) {
    this.cameras = cameras.map((camera) => new CameraLayer(camera, rimSteps));
    this.fields = this.cameras.map((camera) => new FieldLayer(camera));
    this.volume = volume && new VolumeLayer(volume, this.lengths);
    this.sections = this.data.sections.map((section) =>
      new SectionLayer(section, this.volume, this.maps.get(section.map)));
    return [...this.sections, ...(this.volume ? [this.volume] : []), ...this.fields, ...this.cameras];
  }

  // Every place that the view shows.
  places() {
    return this.layers.flatMap((layer) => [...layer.lines.flat(), ...layer.labels.map((label) => label.at)]);
  }

  // From the side of the head and a little above it, as one sees it who stands beside it: up is where camera 0 is.
  beginBeside(cameras) {
    const mean = (key) => cameras.reduce((sum, camera) => sum.add(vectorOf(camera[key])), new THREE.Vector3());
    const forward = mean('forward').normalize();
    const up = new THREE.Vector3(0, 1, 0).addScaledVector(forward, -forward.y);
    if (up.length() < 0.1) up.copy(mean('down').negate());
    up.normalize();
    const side = new THREE.Vector3().crossVectors(up, forward);
    this.look(side.addScaledVector(up, 0.45).addScaledVector(forward, -0.55), up);
  }

  look(eye, up) {
    this.view.pose.rotation.setFromRotationMatrix(new THREE.Matrix4().lookAt(eye, new THREE.Vector3(), up));
    this.view.fit();
  }

  // As the image of a camera lies.
  lookThrough(number) {
    const camera = this.data.scene.cameras[number];
    this.look(vectorOf(camera.forward).negate(), vectorOf(camera.down).negate());
  }

  connect() {
    for (const box of document.querySelectorAll('[data-show]')) {
      box.addEventListener('change', () => this.show(box.dataset.show, box.checked));
    }
    for (const button of document.querySelectorAll('[data-camera]')) {
      button.addEventListener('click', () => this.lookThrough(Number(button.dataset.camera)));
    }
    this.view.onTap((x, y) => this.tap(x, y));
  }

  show(what, isShown) {
    for (const layer of this.layersNamed(what)) layer.isShown = isShown;
    this.view.moved();
  }

  layersNamed(what) {
    if (what === 'fields') return this.fields;
    if (what === 'volume') return [this.volume];
    return this.sections.filter((layer) => layer.section.map === what);
  }

  // The nearest place of the sections that are shown.
  tap(x, y) {
    const {clientWidth, clientHeight} = this.view.canvas;
    const ray = new THREE.Raycaster();
    ray.setFromCamera({x: 2 * x / clientWidth - 1, y: 1 - 2 * y / clientHeight}, this.view.camera);
    const meetings = this.sections.filter((layer) => layer.isShown)
      .map((layer) => layer.meetingWith(ray.ray))
      .filter((meeting) => meeting !== null)
      .sort((a, b) => a.distance - b.distance);
    this.showPlace(meetings[0] || null);
  }

  showPlace(meeting) {
    if (!this.place) return;
    if (this.ring) this.ring.follow(meeting && meeting.point);
    const rows = meeting ? this.rowsOf(meeting) : [['Place', 'choose one of a section in the view']];
    this.place.replaceChildren(...rows.flatMap(([name, value]) => [this.element('dt', name), this.element('dd', value)]));
  }

  rowsOf({map, point, value}) {
    const places = point.toArray().map((place, axis) =>
      ['XYZ'[axis], this.lengths.withUnit(this.lengths.inSteps(place, 0.1))]);
    return [...places, ['Standard deviation', map.text(value)]];
  }

  element(name, text) {
    const element = document.createElement(name);
    element.textContent = text;
    return element;
  }
}

const headPage = new HeadPage(pageJson('data'), new Page());
headPage.load().catch((error) => {
  headPage.page.say('The content of this page cannot be read: ' + error.message);
  throw error;
}).finally(() => { document.documentElement.dataset.state = 'ready'; });

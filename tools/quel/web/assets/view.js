// A view in 3D: the canvas, what is drawn on it and when. Layers are what it shows:
//   object            of three.js, in the scene
//   count             points that it can leave out while the view moves
//   prepare(view, from, end, all)   before points from this share to that one are drawn, of `all` that the picture gets
'use strict';

class View {
  // Throws where the browser has no WebGL 2.
  constructor(canvas, theme) {
    const context = canvas.getContext('webgl2', {antialias: false, alpha: false});
    if (!context) throw new Error('no WebGL 2');
    this.canvas = canvas;
    this.theme = theme;
    this.renderer = new THREE.WebGLRenderer({canvas, context});
    this.scene = new THREE.Scene();
    this.camera = new THREE.OrthographicCamera(-1, 1, 1, -1, 0, 1);
    this.pose = new Pose();
    this.pacer = new Pacer();
    this.layers = [];
    this.drawnListeners = [];
    this.tapListeners = [];
    this.still = new Still(this);
    this.isStill = false;    // All is drawn that there is.
    this.isRunning = false;  // Frames follow.
    this.isChanged = false;
    this.drewAt = null;
    this.movedAt = 0;
    this.isFitted = true;    // Nobody has moved or zoomed since all was in the picture.
    new ResizeObserver(() => this.resize()).observe(canvas);
    theme.onChange(() => this.moved());
  }

  get aspect() {
    return this.canvas.width / this.canvas.height;
  }

  // Pixels of the canvas for a length of the scene.
  get pixelsPerLength() {
    return this.canvas.height / this.pose.height;
  }

  get pixelRatio() {
    return Math.min(window.devicePixelRatio || 1, 2);
  }

  addLayer(layer) {
    this.layers.push(layer);
    this.scene.add(layer.object);
  }

  // Shows what lies in `box` of the scene, from where it begins.
  begin(box) {
    this.pose.box.copy(box);
    this.pacer.begin(this.layers.reduce((sum, layer) => sum + layer.count, 0));
    this.resize();
    this.pose.begin(this.aspect);
    this.moved();
  }

  fit() {
    this.pose.fit(this.aspect);
    this.isFitted = true;
    this.moved();
  }

  // Along an axis of the scene; once more, from its other end.
  lookAlong(axis) {
    this.pose.lookAlong(axis, this.pose.isAlong(axis));
    this.fit();
  }

  resize() {
    const width = Math.round(this.canvas.clientWidth * this.pixelRatio);
    const height = Math.round(this.canvas.clientHeight * this.pixelRatio);
    const isSame = this.canvas.width === width && this.canvas.height === height;
    if (isSame || width === 0 || height === 0) return;
    this.renderer.setSize(width, height, false);
    if (this.isFitted) this.pose.fit(this.aspect);
    this.draw(this.pacer.share);
    this.moved();
  }

  // Somebody turned, moved or zoomed it.
  movedByHand() {
    this.isFitted = false;
    this.moved();
  }

  // The pose, or what is shown, has changed: frames follow, and at rest a picture of everything.
  moved() {
    this.isChanged = true;
    this.isStill = false;
    this.movedAt = performance.now();
    if (this.isRunning) return;
    this.isRunning = true;
    requestAnimationFrame((now) => this.tick(now));
  }

  tick(now) {
    if (this.drewAt !== null) this.pacer.took(now - this.drewAt);
    this.drewAt = null;
    if (this.isChanged) this.drawMoving(now);
    else if (performance.now() - this.movedAt > View.REST) this.drawResting();
    this.isRunning = !this.isStill;
    if (this.isRunning) requestAnimationFrame((next) => this.tick(next));
  }

  drawMoving(now) {
    this.isChanged = false;
    this.draw(this.pacer.share);
    this.drewAt = now;
    this.isResting = false;
  }

  drawResting() {
    if (!this.isResting) this.still.begin();
    this.isResting = true;
    this.isStill = this.still.step();
    if (this.isStill) this.tellDrawn(1);
  }

  // At once, a share of all points.
  draw(share) {
    this.prepare(0, share, share);
    this.renderer.render(this.scene, this.camera);
    this.tellDrawn(share);
  }

  prepare(from, end, all) {
    this.renderer.setClearColor(new THREE.Color(...this.theme.shares('--paper')));
    this.pose.applyTo(this.camera, this.aspect);
    for (const layer of this.layers) layer.prepare(this, from, end, all);
  }

  tellDrawn(share) {
    for (const listener of this.drawnListeners) listener(share);
  }

  onDrawn(listener) {
    this.drawnListeners.push(listener);
  }

  // With the place in CSS pixels, and whether it is one of a finger or of the middle.
  onTap(listener) {
    this.tapListeners.push(listener);
  }

  tapped(x, y, isRough) {
    for (const listener of this.tapListeners) listener(x, y, isRough);
  }

  // Where a place of the scene is seen, in shares of the canvas from its upper left corner.
  placeOf(point) {
    const seen = point.clone().project(this.camera);
    return {x: (1 + seen.x) / 2, y: (1 - seen.y) / 2};
  }

  // Everything, at once, on another canvas.
  drawOnto(paper) {
    this.draw(1);
    paper.width = this.canvas.width;
    paper.height = this.canvas.height;
    paper.getContext('2d').drawImage(this.canvas, 0, 0);
    this.moved();
  }
}

// A view rests once nothing has changed for so many milliseconds.
View.REST = 200;

// Turns, moves and zooms a view by mouse, touch, pen and keyboard.
'use strict';

class Controls {
  constructor(view) {
    this.view = view;
    this.pose = view.pose;
    this.canvas = view.canvas;
    this.pointers = new Map();  // Where each pressed pointer was last.
    this.travelled = 0;         // By the pointers since the first was pressed, in pixels.
    this.listen('pointerdown', (event) => this.press(event));
    this.listen('pointermove', (event) => this.drag(event));
    this.listen('pointerup', (event) => this.release(event, true));
    this.listen('pointercancel', (event) => this.release(event, false));
    this.listen('wheel', (event) => this.wheel(event));
    this.listen('keydown', (event) => this.key(event));
    this.listen('contextmenu', (event) => event.preventDefault());
  }

  listen(type, act) {
    this.canvas.addEventListener(type, act, {passive: false});
  }

  press(event) {
    if (this.pointers.size === 0) this.travelled = 0;
    else this.travelled = Infinity;  // Two fingers never tap.
    this.pointers.set(event.pointerId, {x: event.clientX, y: event.clientY});
    this.canvas.setPointerCapture(event.pointerId);
    this.canvas.focus({preventScroll: true});
    event.preventDefault();
  }

  drag(event) {
    const last = this.pointers.get(event.pointerId);
    if (!last) return;
    const before = this.spread();
    const dx = event.clientX - last.x;
    const dy = event.clientY - last.y;
    this.pointers.set(event.pointerId, {x: event.clientX, y: event.clientY});
    this.travelled += Math.hypot(dx, dy);
    if (this.travelled < Controls.TAP) return;
    if (this.pointers.size > 1) this.pinch(before, this.spread());
    else this.dragOne(dx, dy, event.buttons > 1 || event.shiftKey);
    this.view.movedByHand();
  }

  dragOne(dx, dy, moves) {
    const height = this.canvas.clientHeight;
    if (moves) this.pose.move(dx / height, -dy / height);
    else this.pose.turn(Math.PI * dx / height, Math.PI * dy / height);
  }

  // Middle and distance of the first two pointers.
  spread() {
    const [a, b] = [...this.pointers.values()];
    if (!b) return null;
    return {x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, distance: Math.hypot(a.x - b.x, a.y - b.y)};
  }

  pinch(before, after) {
    const height = this.canvas.clientHeight;
    this.pose.move((after.x - before.x) / height, (before.y - after.y) / height);
    if (before.distance > 0 && after.distance > 0) this.zoomAt(after.distance / before.distance, after.x, after.y);
  }

  zoomAt(factor, clientX, clientY) {
    const box = this.canvas.getBoundingClientRect();
    const right = (clientX - box.left - box.width / 2) / box.height;
    const up = (box.top + box.height / 2 - clientY) / box.height;
    this.pose.zoom(factor, right, up);
  }

  release(event, mayTap) {
    if (!this.pointers.delete(event.pointerId)) return;
    if (mayTap && this.pointers.size === 0 && this.travelled < Controls.TAP && event.button === 0) {
      const box = this.canvas.getBoundingClientRect();
      this.view.tapped(event.clientX - box.left, event.clientY - box.top, event.pointerType === 'touch');
    }
  }

  wheel(event) {
    const pixels = event.deltaY * (event.deltaMode === WheelEvent.DOM_DELTA_LINE ? 16 : 1);
    this.zoomAt(Math.exp(-0.0015 * Math.min(Math.max(pixels, -400), 400)), event.clientX, event.clientY);
    this.view.movedByHand();
    event.preventDefault();
  }

  key(event) {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    const act = this.actOf(event.key, event.shiftKey);
    if (!act) return;
    this.view.movedByHand();
    act();
    event.preventDefault();
  }

  actOf(key, moves) {
    const arrow = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]}[key];
    if (arrow && moves) return () => this.pose.move(0.05 * arrow[0], -0.05 * arrow[1]);
    if (arrow) return () => this.pose.turn(0.1 * arrow[0], 0.1 * arrow[1]);
    switch (key) {
      case '+':
      case '=': return () => this.pose.zoom(1.25);
      case '-': return () => this.pose.zoom(0.8);
      case 'f':
      case 'F': return () => this.view.fit();
      case 'Enter': return () => this.view.tapped(this.canvas.clientWidth / 2, this.canvas.clientHeight / 2, true);
      default: return null;
    }
  }
}

// A press that moves less than that, in pixels, chooses a point.
Controls.TAP = 4;

// From where a scene is seen, in parallel projection: parts keep their proportions wherever they lie.
'use strict';

class Pose {
  constructor() {
    this.rotation = new THREE.Quaternion();  // From the eye's axes to those of the scene.
    this.target = new THREE.Vector3();       // In the middle of the picture.
    this.height = 1;                         // Of the picture, in lengths of the scene.
    this.outline = null;                     // Places that a whole picture shows; without them, the corners of the box.
    this.box = new THREE.Box3(new THREE.Vector3(-0.5, -0.5, -0.5), new THREE.Vector3(0.5, 0.5, 0.5));
  }

  // About the picture's own axes, in radians.
  turn(right, down) {
    const about = (x, y, angle) => new THREE.Quaternion().setFromAxisAngle(new THREE.Vector3(x, y, 0), angle);
    this.rotation.multiply(about(0, 1, -right)).multiply(about(1, 0, -down)).normalize();
  }

  // By shares of the picture's height.
  move(right, up) {
    const by = new THREE.Vector3(-right * this.height, -up * this.height, 0).applyQuaternion(this.rotation);
    const middle = this.box.getCenter(new THREE.Vector3());
    const off = this.target.clone().add(by).sub(middle);
    this.target.copy(middle).add(off.clampLength(0, this.diagonal()));  // The scene stays within reach.
  }

  diagonal() {
    return this.box.getSize(new THREE.Vector3()).length() || 1;
  }

  // Makes things `factor` times as large; what lies `right` and `up` of the middle, in shares of the height, stays there.
  zoom(factor, right = 0, up = 0) {
    const height = Math.min(Math.max(this.height / factor, this.diagonal() * 1e-5), this.diagonal() * 20);
    const rest = 1 - height / this.height;
    this.move(-right * rest, -up * rest);
    this.height = height;
  }

  // Looks along an axis of the scene from its positive end, or from the negative one.
  lookAlong(axis, fromNegative) {
    const eye = new THREE.Vector3().setComponent(axis, fromNegative ? -1 : 1);
    const up = axis === 2 ? new THREE.Vector3(0, 1, 0) : new THREE.Vector3(0, 0, 1);
    this.rotation.setFromRotationMatrix(new THREE.Matrix4().lookAt(eye, new THREE.Vector3(), up));
  }

  // True where the scene is seen along that axis, from its positive end.
  isAlong(axis) {
    return this.direction().getComponent(axis) > 0.9999;
  }

  // Towards the eye.
  direction() {
    return new THREE.Vector3(0, 0, 1).applyQuaternion(this.rotation);
  }

  // Shows the whole of the outline, or of the box, in a picture `aspect` times as wide as high.
  fit(aspect) {
    const seen = this.seenBox();
    const size = seen.getSize(new THREE.Vector3());
    this.height = 1.1 * Math.max(size.y, size.x / aspect, 1e-3 * this.diagonal());
    seen.getCenter(this.target).applyQuaternion(this.rotation);
  }

  // Of what a whole picture shows, along the picture's axes.
  seenBox() {
    const back = this.rotation.clone().inverse();
    if (!this.outline) return this.box.clone().applyMatrix4(new THREE.Matrix4().makeRotationFromQuaternion(back));
    return new THREE.Box3().setFromPoints(this.outline.map((place) => place.clone().applyQuaternion(back)));
  }

  // Over the broadest side of the box, a little from the side.
  begin(aspect) {
    const size = this.box.getSize(new THREE.Vector3()).toArray();
    this.lookAlong(size.lastIndexOf(Math.min(...size)), false);
    this.turn(-0.45, -0.5);
    this.fit(aspect);
  }

  applyTo(camera, aspect) {
    const far = 4 * this.diagonal();
    camera.quaternion.copy(this.rotation);
    camera.position.copy(this.direction()).multiplyScalar(far / 2).add(this.target);
    camera.top = this.height / 2;
    camera.bottom = -camera.top;
    camera.right = camera.top * aspect;
    camera.left = -camera.right;
    camera.near = 0;
    camera.far = far;
    camera.updateProjectionMatrix();
    camera.updateMatrixWorld();
  }
}

// A picture of everything that a view has, made piece by piece beside the canvas, which keeps what it shows until the picture is
// complete: a cloud of millions of points stops nobody from turning it on.
'use strict';

class Still {
  constructor(view) {
    this.view = view;
    this.target = new THREE.WebGLRenderTarget(1, 1, {
      minFilter: THREE.NearestFilter, magFilter: THREE.NearestFilter, generateMipmaps: false, stencilBuffer: false,
    });
    this.scene = new THREE.Scene();
    this.camera = new THREE.OrthographicCamera(-1, 1, 1, -1, 0, 1);
    this.scene.add(Still.copyOf(this.target.texture));
    this.pacer = new Pacer();
    this.drawn = 0;
  }

  // What puts the pixels of the picture on the canvas as they are.
  static copyOf(texture) {
    const material = new THREE.RawShaderMaterial({
      vertexShader: `#version 300 es
        in vec3 position;
        void main() { gl_Position = vec4(position.xy, 0.0, 1.0); }`,
      fragmentShader: `#version 300 es
        precision highp float;
        uniform highp sampler2D picture;
        out vec4 pixel;
        void main() { pixel = texelFetch(picture, ivec2(gl_FragCoord.xy), 0); }`,
      uniforms: {picture: {value: texture}},
      depthTest: false,
      depthWrite: false,
    });
    const copy = new THREE.Mesh(new THREE.PlaneBufferGeometry(2, 2), material);
    copy.frustumCulled = false;
    return copy;
  }

  begin() {
    const {canvas, pacer} = this.view;
    this.target.setSize(canvas.width, canvas.height);
    this.pacer.follow(pacer);
    this.drawn = 0;
  }

  // Draws the next piece. True once the picture is complete, and on the canvas.
  step() {
    const began = performance.now();
    const {renderer, scene, camera} = this.view;
    const end = Math.min(this.drawn + this.pacer.share, 1);
    this.view.prepare(this.drawn, end, 1);
    renderer.setRenderTarget(this.target);
    renderer.autoClear = this.drawn === 0;
    renderer.render(scene, camera);
    renderer.readRenderTargetPixels(this.target, 0, 0, 1, 1, new Uint8Array(4));  // Waits until it is drawn.
    renderer.setRenderTarget(null);
    renderer.autoClear = true;
    this.drawn = end;
    this.pacer.took(performance.now() - began);
    if (end < 1) return false;
    renderer.render(this.scene, this.camera);
    return true;
  }
}

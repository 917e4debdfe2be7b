// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The eye of the page, the same for both ways of drawing: it circles a target.

const limit = Math.PI / 2 - 0.01;

export class Camera {
  constructor() {
    this.target = [0, 0.9, 0];
    this.yaw = 0.6; // about Y; 0 looks along -Z, from the front
    this.pitch = 0.25;
    this.distance = 5;
    this.fieldOfView = 35; // degrees, from top to bottom
  }

  get eye() {
    const flat = this.distance * Math.cos(this.pitch);
    return [
      this.target[0] + flat * Math.sin(this.yaw),
      this.target[1] + this.distance * Math.sin(this.pitch),
      this.target[2] + flat * Math.cos(this.yaw),
    ];
  }

  /** To the right, upwards and back towards the eye, as the viewer sees them. */
  axes() {
    const [sy, cy, sp, cp] = [Math.sin(this.yaw), Math.cos(this.yaw), Math.sin(this.pitch), Math.cos(this.pitch)];
    return { right: [cy, 0, -sy], up: [-sy * sp, cp, -cy * sp], back: [sy * cp, sp, cy * cp] };
  }

  orbit(dx, dy) {
    this.yaw -= dx * 0.008;
    this.pitch = Math.max(-limit, Math.min(limit, this.pitch + dy * 0.008));
  }

  pan(dx, dy, height) {
    const scale = (2 * this.distance * Math.tan((this.fieldOfView * Math.PI) / 360)) / height;
    const { right, up } = this.axes();
    for (let i = 0; i < 3; i++) this.target[i] += scale * (-dx * right[i] + dy * up[i]);
  }

  zoom(factor) {
    this.distance = Math.max(0.2, Math.min(500, this.distance * factor));
  }

  look(view) {
    [this.yaw, this.pitch] = { front: [0, 0.05], side: [Math.PI / 2, 0.05], top: [0, limit], free: [0.6, 0.25] }[view];
  }

  /** So near that all of a box is seen. */
  frame(low, high, aspect) {
    for (let i = 0; i < 3; i++) this.target[i] = (low[i] + high[i]) / 2;
    const radius = Math.max(0.3, Math.hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]) / 2);
    const half = (this.fieldOfView * Math.PI) / 360;
    const narrow = Math.atan(Math.tan(half) * Math.min(1, aspect));
    this.distance = (0.85 * radius) / Math.sin(narrow);
  }

  /** Where a point is on a screen of this size, in pixels from its upper left corner; null behind the eye. */
  project(point, width, height) {
    const eye = this.eye;
    const { right, up, back } = this.axes();
    const way = [point[0] - eye[0], point[1] - eye[1], point[2] - eye[2]];
    const along = (axis) => way[0] * axis[0] + way[1] * axis[1] + way[2] * axis[2];
    const depth = -along(back);
    if (depth < 0.01) return null;
    const scale = height / 2 / Math.tan((this.fieldOfView * Math.PI) / 360) / depth;
    return [width / 2 + along(right) * scale, height / 2 - along(up) * scale, depth];
  }
}

/** Drags, wheels and pinches on an element move the camera. */
export function steer(element, camera, changed) {
  const pointers = new Map();
  const middle = () => {
    const all = [...pointers.values()];
    return [all.reduce((sum, one) => sum + one.x, 0) / all.length, all.reduce((sum, one) => sum + one.y, 0) / all.length];
  };
  const spread = () => {
    const [a, b] = [...pointers.values()];
    return Math.hypot(a.x - b.x, a.y - b.y);
  };
  element.addEventListener('pointerdown', (event) => {
    element.setPointerCapture(event.pointerId);
    pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
  });
  element.addEventListener('pointermove', (event) => {
    if (!pointers.has(event.pointerId)) return;
    const before = middle();
    const wide = pointers.size === 2 ? spread() : 0;
    pointers.set(event.pointerId, { x: event.clientX, y: event.clientY });
    const after = middle();
    const [dx, dy] = [after[0] - before[0], after[1] - before[1]];
    if (pointers.size === 2) {
      camera.zoom(wide / Math.max(1, spread()));
      camera.pan(dx, dy, element.clientHeight);
    } else if (event.shiftKey || event.buttons === 2 || event.buttons === 4) {
      camera.pan(dx, dy, element.clientHeight);
    } else {
      camera.orbit(dx, dy);
    }
    changed();
  });
  for (const name of ['pointerup', 'pointercancel']) {
    element.addEventListener(name, (event) => pointers.delete(event.pointerId));
  }
  element.addEventListener('contextmenu', (event) => event.preventDefault());
  element.addEventListener(
    'wheel',
    (event) => {
      event.preventDefault();
      camera.zoom(Math.exp(Math.max(-100, Math.min(100, event.deltaY)) * 0.002));
      changed();
    },
    { passive: false },
  );
}

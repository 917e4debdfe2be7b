// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The same scene as a stick figure on a plain canvas, for browsers without WebGL.

export class FlatScene {
  constructor(canvas) {
    this.canvas = canvas;
    this.context = canvas.getContext('2d');
    this.middle = [0, 0];
  }

  paint(theme) {
    this.theme = theme;
  }

  centre(x, z) {
    this.middle = [x, z];
  }

  resize(width, height, ratio) {
    [this.width, this.height, this.ratio] = [width, height, ratio];
    this.canvas.width = Math.round(width * ratio);
    this.canvas.height = Math.round(height * ratio);
  }

  begin() {
    this.strokes = [];
  }

  joint(at, radius, shade) {
    this.strokes.push({ from: at, radius, shade });
  }

  dot(at, radius, shade) {
    this.joint(at, radius, shade);
  }

  bone(from, to, width, shade) {
    this.strokes.push({ from, to, width: Math.max(0.012, width), shade });
  }

  line(from, to, shade) {
    this.strokes.push({ from, to, width: 0, shade });
  }

  end(camera) {
    const { context, width, height } = this;
    context.setTransform(this.ratio, 0, 0, this.ratio, 0, 0);
    context.fillStyle = this.theme.background;
    context.fillRect(0, 0, width, height);
    const [x, z] = this.middle;
    for (let i = -10; i <= 10; i++) {
      const shade = i ? this.theme.grid : this.theme.axis;
      this.stroke(camera, [x + i, 0, z - 10], [x + i, 0, z + 10], shade);
      this.stroke(camera, [x - 10, 0, z + i], [x + 10, 0, z + i], shade);
    }
    const near = (one) => camera.project(one.from, width, height)?.[2] ?? -1;
    const sorted = this.strokes.map((one) => ({ ...one, depth: near(one) })).sort((a, b) => b.depth - a.depth);
    context.lineCap = 'round';
    for (const one of sorted) {
      if (one.to) {
        this.stroke(camera, one.from, one.to, one.shade, one.width);
        continue;
      }
      const at = camera.project(one.from, width, height);
      if (!at) continue;
      context.fillStyle = one.shade;
      context.beginPath();
      context.arc(at[0], at[1], Math.max(1.5, this.pixels(camera, one.radius, at[2])), 0, 2 * Math.PI);
      context.fill();
    }
  }

  pixels(camera, length, depth) {
    return (length * this.height) / 2 / Math.tan((camera.fieldOfView * Math.PI) / 360) / depth;
  }

  stroke(camera, from, to, shade, width = 0) {
    const a = camera.project(from, this.width, this.height);
    const b = camera.project(to, this.width, this.height);
    if (!a || !b) return;
    this.context.strokeStyle = shade;
    this.context.lineWidth = width ? Math.max(1.5, 1.4 * this.pixels(camera, width, a[2])) : 1;
    this.context.beginPath();
    this.context.moveTo(a[0], a[1]);
    this.context.lineTo(b[0], b[1]);
    this.context.stroke();
  }
}

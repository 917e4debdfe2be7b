// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What is seen at a moment: bodies, ghosts, markers and trails, given to either way of drawing.

import { frameAt } from './data.js';

// Colours that the colour-blind tell apart, too.
export const palette = ['#0072b2', '#d55e00', '#009e73', '#a4509a', '#b08900', '#3f8fc0', '#8a4b2a', '#5b6770'];

/** How a page shows a performer. */
export class Shown {
  constructor(performer, index) {
    this.performer = performer;
    this.colour = palette[index % palette.length];
    this.isVisible = true;
    this.isGhost = false;
    this.offset = 0; // seconds by which it is later
    this.bones = performer.nodes
      .map((node, i) => ({ from: node.parent, to: i }))
      .filter((bone) => bone.from >= 0);
  }

  frameAt(seconds) {
    return frameAt(this.performer, seconds - this.offset);
  }
}

const channels = (hex) => [1, 3, 5].map((at) => parseInt(hex.slice(at, at + 2), 16));

export function mix(a, b, share) {
  const [from, to] = [channels(a), channels(b)];
  return '#' + from.map((one, i) => Math.round(one + (to[i] - one) * share).toString(16).padStart(2, '0')).join('');
}

/** Green for a marker where the body has it, by yellow to red for one 30 mm off. */
export function residualColour(metres) {
  const share = Math.min(1, metres / 0.03);
  return share < 0.5 ? mix('#2a9d6f', '#e3b419', share * 2) : mix('#e3b419', '#d1242f', share * 2 - 1);
}

export class Stage {
  constructor(take) {
    this.take = take;
    this.shown = take.performers.map((one, i) => new Shown(one, i));
    this.chosen = []; // joints: { shown, node, colour, curve }
    this.trails = false;
    this.onTop = true;
    this.labels = []; // what can be pointed at: { name, at }
  }

  counts() {
    const sum = (list) => list.reduce((total, one) => total + one, 0);
    return {
      bones: sum(this.shown.map((one) => one.bones.length)),
      joints: sum(this.shown.map((one) => one.performer.nodes.length)),
      dots: sum(this.take.clouds.map((one) => one.markers.length)),
    };
  }

  /** By how much a ghost is moved along the ground to stand on the first performer that is none. */
  shiftOf(shown) {
    const other = this.shown.find((one) => !one.isGhost);
    if (!shown.isGhost || !this.onTop || !other) return [0, 0, 0];
    const first = (one) => {
      const frame = one.performer.presence ? Math.max(0, one.performer.presence.indexOf(1)) : 0;
      return one.performer.has(frame) ? one.performer.placeOf(0, frame) : [0, 0, 0];
    };
    const [a, b] = [first(other), first(shown)];
    return [a[0] - b[0], 0, a[2] - b[2]];
  }

  /** The places of a performer's nodes at a moment; null where there is no body. */
  placesOf(shown, seconds) {
    const frame = shown.frameAt(seconds);
    if (!shown.performer.has(frame)) return null;
    shown.performer.pose(frame);
    const shift = this.shiftOf(shown);
    const p = shown.performer.positions;
    return shown.performer.nodes.map((_, i) => [p[3 * i] + shift[0], p[3 * i + 1], p[3 * i + 2] + shift[2]]);
  }

  draw(scene, camera, seconds, theme) {
    scene.begin();
    this.labels = [];
    for (const shown of this.shown) if (shown.isVisible) this.drawBody(scene, shown, seconds, theme);
    for (const cloud of this.take.clouds) this.drawCloud(scene, cloud, seconds, theme);
    if (this.trails) for (const joint of this.chosen) this.drawTrail(scene, joint, seconds);
    scene.end(camera);
  }

  drawBody(scene, shown, seconds, theme) {
    const places = this.placesOf(shown, seconds);
    if (!places) return;
    const shade = shown.isGhost ? mix(shown.colour, theme.background, 0.62) : shown.colour;
    const knob = mix(shade, theme.background, 0.15);
    for (const { from, to } of shown.bones) {
      const [a, b] = [places[from], places[to]];
      const length = Math.hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
      if (length > 1e-4) scene.bone(a, b, Math.max(0.006, Math.min(0.06, 0.16 * length)), shade);
    }
    places.forEach((at, i) => {
      const isEnd = shown.performer.nodes[i].end;
      scene.joint(at, isEnd ? 0.007 : 0.016, knob);
      if (!isEnd) this.labels.push({ name: shown.performer.name + ': ' + shown.performer.nodes[i].name, at });
    });
  }

  drawCloud(scene, cloud, seconds, theme) {
    const frame = frameAt(cloud, seconds);
    cloud.markers.forEach((name, marker) => {
      if (!cloud.has(marker, frame)) return;
      const at = cloud.placeOf(marker, frame);
      const off = cloud.residualOf(marker, frame);
      scene.dot(at, 0.014, off === null ? theme.marker : residualColour(off));
      this.labels.push({ name: off === null ? name : name + ', ' + (1000 * off).toFixed(1) + ' mm off', at });
    });
  }

  drawTrail(scene, { shown, node, colour }, seconds) {
    if (!shown.isVisible) return;
    const chain = shown.performer.chainOf(node);
    const shift = this.shiftOf(shown);
    const count = 60; // two seconds, half of them to come
    let before = null;
    for (let i = 0; i <= count; i++) {
      const frame = shown.frameAt(seconds + (i / count) * 2 - 1);
      const at = shown.performer.has(frame) ? shown.performer.placeOf(node, frame, chain) : null;
      if (at) for (let axis = 0; axis < 3; axis++) at[axis] += shift[axis];
      if (at && before) scene.line(before, at, colour);
      before = at;
    }
  }

  /** The box around everything over the whole take. */
  bounds() {
    const low = [Infinity, 0, Infinity];
    const high = [-Infinity, 1, -Infinity];
    const include = (at) => {
      for (let axis = 0; axis < 3; axis++) {
        low[axis] = Math.min(low[axis], at[axis]);
        high[axis] = Math.max(high[axis], at[axis]);
      }
    };
    const samples = 60;
    for (const { performer } of this.shown) {
      for (let i = 0; i < samples; i++) {
        const frame = Math.floor((i / samples) * performer.frames);
        if (!performer.has(frame)) continue;
        performer.pose(frame);
        const p = performer.positions;
        for (let n = 0; n < p.length; n += 3) include([p[n], p[n + 1], p[n + 2]]);
      }
      if (!performer.frames && performer.nodes[0].at) include(performer.nodes[0].at.map((one) => one * performer.step));
    }
    for (const cloud of this.take.clouds) {
      for (let i = 0; i < samples; i++) {
        const frame = Math.floor((i / samples) * cloud.frames);
        cloud.markers.forEach((_, marker) => {
          if (cloud.has(marker, frame)) include(cloud.placeOf(marker, frame));
        });
      }
    }
    return low[0] > high[0] ? [[-1, 0, -1], [1, 1.8, 1]] : [low, high];
  }
}

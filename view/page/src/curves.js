// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Curves of chosen joints below the timeline: how high they are, and how fast.

import { frameAt } from './data.js';

/** Height and speed of a joint over the whole take, at most `most` samples. */
export function curveOf(performer, node, take, most = 1500) {
  const count = Math.min(most, take.frames);
  const chain = performer.chainOf(node);
  const heights = new Float32Array(count).fill(NaN);
  const paces = new Float32Array(count).fill(NaN);
  for (let i = 0; i < count; i++) {
    const seconds = ((i / count) * take.frames) / take.framesPerSecond;
    const frame = frameAt(performer, seconds);
    if (!performer.has(frame)) continue;
    const here = performer.placeOf(node, frame, chain);
    heights[i] = here[1];
    const span = Math.max(1, Math.round(performer.framesPerSecond / 30)); // a thirtieth of a second to both sides
    const [before, after] = [Math.max(0, frame - span), Math.min(performer.frames - 1, frame + span)];
    if (after > before && performer.has(before) && performer.has(after)) {
      const a = performer.placeOf(node, before, chain);
      const b = performer.placeOf(node, after, chain);
      const way = Math.hypot(b[0] - a[0], b[1] - a[1], b[2] - a[2]);
      paces[i] = (way * performer.framesPerSecond) / (after - before);
    }
  }
  return { heights, paces };
}

function extent(lists) {
  let [low, high] = [Infinity, -Infinity];
  for (const list of lists) {
    for (const value of list) {
      if (value < low) low = value;
      if (value > high) high = value;
    }
  }
  return low > high ? [0, 1] : [low, Math.max(high, low + 0.1)];
}

/** Draws the curves with a line where the take is. */
export function drawCurves(canvas, curves, share, theme) {
  const ratio = Math.min(2, window.devicePixelRatio || 1);
  const [width, height] = [canvas.clientWidth, canvas.clientHeight];
  if (canvas.width !== Math.round(width * ratio) || canvas.height !== Math.round(height * ratio)) {
    canvas.width = Math.round(width * ratio);
    canvas.height = Math.round(height * ratio);
  }
  const context = canvas.getContext('2d');
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  context.clearRect(0, 0, width, height);
  context.font = '11px system-ui, sans-serif';
  const half = height / 2;
  for (const [row, key, unit] of [[0, 'heights', 'height, m'], [1, 'paces', 'speed, m/s']]) {
    const [low, high] = extent(curves.map((one) => one[key]));
    const top = row * half + 14;
    const tall = half - 18;
    context.strokeStyle = theme.grid;
    context.strokeRect(0.5, top + 0.5, width - 1, tall);
    context.fillStyle = theme.soft;
    context.fillText(curves.length ? unit + ': ' + low.toFixed(2) + ' to ' + high.toFixed(2) : unit, 2, top - 3);
    for (const curve of curves) {
      const list = curve[key];
      context.strokeStyle = curve.colour;
      context.lineWidth = 1.5;
      context.beginPath();
      let isOpen = false;
      for (let i = 0; i < list.length; i++) {
        if (Number.isNaN(list[i])) {
          isOpen = false;
          continue;
        }
        const x = (i / Math.max(1, list.length - 1)) * width;
        const y = top + tall - ((list[i] - low) / (high - low)) * tall;
        if (isOpen) context.lineTo(x, y);
        else context.moveTo(x, y);
        isOpen = true;
      }
      context.stroke();
    }
  }
  context.fillStyle = theme.foreground;
  context.fillRect(Math.round(share * (width - 1)), 0, 1.5, height);
}

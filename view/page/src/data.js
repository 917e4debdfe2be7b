// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What the page was written with: facts, and columns of whole numbers that say what moves.

/** One column after the other, as the writer packed them. */
class ColumnReader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
    this.scratch = new Int32Array(0);
  }

  /** The next column, of `count` numbers, in the smallest array that holds them: it is kept for the whole take. */
  next(count) {
    const { bytes } = this;
    const order = bytes[this.at];
    const planes = bytes[this.at + 1];
    const start = this.at + 2;
    this.at = start + planes * count;
    if (this.at > bytes.length) throw new Error('the data of this page is cut off');
    if (this.scratch.length < count) this.scratch = new Int32Array(count);
    const column = this.scratch.subarray(0, count);
    join(bytes, start, planes, column);
    const [low, high] = order === 0 ? unfold(column) : order === 1 ? sum(column) : sumTwice(column);
    if (low >= -128 && high <= 127) return new Int8Array(column);
    return low >= -32768 && high <= 32767 ? new Int16Array(column) : new Int32Array(column);
  }
}

// Pages open as fast as these loops run, over every number that a page has.

/** Codes out of their bytes, the lowest of all first. */
function join(bytes, start, planes, column) {
  const count = column.length;
  if (planes === 0) column.fill(0);
  for (let i = 0; planes > 0 && i < count; i++) column[i] = bytes[start + i];
  for (let plane = 1; plane < planes; plane++) {
    const from = start + plane * count;
    for (let i = 0; i < count; i++) column[i] |= bytes[from + i] << (8 * plane);
  }
}

/** Makes numbers of codes, and returns the lowest and the highest of them, or 0. */
function unfold(column) {
  let low = 0;
  let high = 0;
  for (let i = 0; i < column.length; i++) {
    const code = column[i];
    const number = (code >>> 1) ^ -(code & 1);
    column[i] = number;
    if (number < low) low = number;
    else if (number > high) high = number;
  }
  return [low, high];
}

/** The same of codes of how much each number differs from the one before. */
function sum(column) {
  let low = 0;
  let high = 0;
  let number = 0;
  for (let i = 0; i < column.length; i++) {
    const code = column[i];
    number = (number + ((code >>> 1) ^ -(code & 1))) | 0;
    column[i] = number;
    if (number < low) low = number;
    else if (number > high) high = number;
  }
  return [low, high];
}

/** The same of codes of how much those differences differ. */
function sumTwice(column) {
  let low = 0;
  let high = 0;
  let number = 0;
  let difference = 0;
  for (let i = 0; i < column.length; i++) {
    const code = column[i];
    difference = (difference + ((code >>> 1) ^ -(code & 1))) | 0;
    number = (number + difference) | 0;
    column[i] = number;
    if (number < low) low = number;
    else if (number > high) high = number;
  }
  return [low, high];
}

function bytesOf(text) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const binary = atob(text.trim());
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < binary.length; i++) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

async function inflated(text) {
  const stream = new DecompressionStream('deflate');
  const writer = stream.writable.getWriter();
  const written = writer.write(bytesOf(text)).then(() => writer.close());
  const [bytes] = await Promise.all([new Response(stream.readable).arrayBuffer(), written]);
  return new Uint8Array(bytes);
}

/** What one performer does: a frame's pose is made from its columns when it is asked for. */
export class Performer {
  constructor(facts, step, columns) {
    Object.assign(this, facts);
    this.step = step;
    this.framesPerSecond = facts.rate[0] / facts.rate[1];
    this.presence = facts.whole ? null : columns.next(facts.frames);
    for (const node of this.nodes) {
      if (node.moves) node.path = [0, 1, 2].map(() => columns.next(facts.frames));
      if (node.turns) node.rotation = Array.from({ length: node.turns }, () => columns.next(facts.frames));
    }
    this.positions = new Float64Array(3 * this.nodes.length);
    this.rotations = new Float64Array(4 * this.nodes.length);
    this.order = this.nodes.map((_, i) => i);
  }

  /** Whether there is a body at a frame. */
  has(frame) {
    return frame >= 0 && frame < this.frames && (!this.presence || this.presence[frame] === 1);
  }

  /** Those of the nodes that a node's place depends on, it among them. */
  chainOf(node) {
    const chain = [];
    for (let i = node; i >= 0; i = this.nodes[i].parent) chain.unshift(i);
    return chain;
  }

  /** Puts nodes (all, if none are named) where they are at a frame: `positions`, in metres, and `rotations`. */
  pose(frame, nodes = this.order) {
    const { positions: p, rotations: r } = this;
    for (const i of nodes) {
      const node = this.nodes[i];
      const from = node.path;
      let x = (from ? from[0][frame] : node.at[0]) * this.step;
      let y = (from ? from[1][frame] : node.at[1]) * this.step;
      let z = (from ? from[2][frame] : node.at[2]) * this.step;
      let a = 0;
      let b = 0;
      let c = 0;
      let d = 1;
      if (node.rotation) {
        const full = 32767;
        a = node.rotation[0][frame] / full;
        b = node.rotation[1][frame] / full;
        c = node.rotation[2][frame] / full;
        d = node.turns === 4 ? node.rotation[3][frame] / full : Math.sqrt(Math.max(0, 1 - a * a - b * b - c * c));
      } else if (node.turn) {
        [a, b, c, d] = node.turn;
      }
      const length = Math.hypot(a, b, c, d) || 1;
      a /= length;
      b /= length;
      c /= length;
      d /= length;
      const o = 4 * node.parent;
      const q = 3 * node.parent;
      if (node.parent >= 0) {
        const A = r[o];
        const B = r[o + 1];
        const C = r[o + 2];
        const D = r[o + 3];
        const tx = 2 * (B * z - C * y);
        const ty = 2 * (C * x - A * z);
        const tz = 2 * (A * y - B * x);
        const X = p[q] + x + D * tx + B * tz - C * ty;
        const Y = p[q + 1] + y + D * ty + C * tx - A * tz;
        const Z = p[q + 2] + z + D * tz + A * ty - B * tx;
        x = X;
        y = Y;
        z = Z;
        [a, b, c, d] = [
          D * a + A * d + B * c - C * b,
          D * b - A * c + B * d + C * a,
          D * c + A * b - B * a + C * d,
          D * d - A * a - B * b - C * c,
        ];
      }
      p[3 * i] = x;
      p[3 * i + 1] = y;
      p[3 * i + 2] = z;
      r[4 * i] = a;
      r[4 * i + 1] = b;
      r[4 * i + 2] = c;
      r[4 * i + 3] = d;
    }
  }

  /** Where a node is at a frame. */
  placeOf(node, frame, chain = this.chainOf(node)) {
    this.pose(frame, chain);
    return [this.positions[3 * node], this.positions[3 * node + 1], this.positions[3 * node + 2]];
  }
}

/** Markers over time. */
export class Cloud {
  constructor(facts, step, columns) {
    Object.assign(this, facts);
    this.step = step;
    this.framesPerSecond = facts.rate[0] / facts.rate[1];
    this.trajectories = this.markers.map(() => ({
      presence: columns.next(facts.frames),
      path: [0, 1, 2].map(() => columns.next(facts.frames)),
      residual: facts.residuals ? columns.next(facts.frames) : null,
    }));
  }

  has(marker, frame) {
    return frame >= 0 && frame < this.frames && this.trajectories[marker].presence[frame] === 1;
  }

  placeOf(marker, frame) {
    return this.trajectories[marker].path.map((column) => column[frame] * this.step);
  }

  /** How far a marker is from where the body has it, in metres; null where that is not known. */
  residualOf(marker, frame) {
    const column = this.trajectories[marker].residual;
    return column && column[frame] > 0 ? (column[frame] - 1) * this.step : null;
  }
}

/** What the page was written with. */
export function factsOf(document) {
  return JSON.parse(document.getElementById('facts').textContent);
}

/**
 * Where the frames of a page come from. Everything else on the page asks this alone:
 * `title`, `performers`, `clouds`, `events`, `notes`, `facts`, and how many frames there are at which rate.
 */
export class StaticTake {
  constructor(facts, bytes) {
    const columns = new ColumnReader(bytes);
    this.facts = facts;
    this.title = facts.title;
    this.events = facts.events;
    this.notes = facts.notes;
    this.performers = facts.performers.map((one) => new Performer(one, facts.step, columns));
    this.clouds = facts.markers.map((one) => new Cloud(one, facts.step, columns));
    const all = [...this.performers, ...this.clouds];
    this.fastest = all.reduce((a, b) => (b.framesPerSecond > a.framesPerSecond ? b : a));
    this.framesPerSecond = this.fastest.framesPerSecond;
    const seconds = Math.max(...all.map((one) => one.frames / one.framesPerSecond));
    this.frames = Math.max(1, Math.round(seconds * this.framesPerSecond));
  }

  static async ofPage(document, facts) {
    const element = document.getElementById('columns');
    const bytes = await inflated(element.textContent);
    element.remove(); // what is read need not be kept twice
    return new StaticTake(facts, bytes);
  }
}

/** The frame of a performer or a cloud that is shown so many seconds after the start. */
export function frameAt(one, seconds) {
  return Math.floor(seconds * one.framesPerSecond + 1e-6);
}

/** "00:00:08:34"; hours go on beyond 24. */
export function timecodeOf(frame, rate) {
  const whole = Math.max(1, Math.round(rate));
  const two = (number) => String(number).padStart(2, '0');
  const seconds = Math.floor(frame / whole);
  return (
    two(Math.floor(seconds / 3600)) + ':' + two(Math.floor(seconds / 60) % 60) + ':' + two(seconds % 60) + ':' +
    two(frame % whole)
  );
}

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Where in the take the page is, and how it goes on.

export const speeds = [0.1, 0.25, 0.5, 1, 2, 4];

export class Player {
  constructor(frames, framesPerSecond) {
    this.frames = frames;
    this.framesPerSecond = framesPerSecond;
    this.seconds = 0; // of the moment that is shown
    this.speed = 1;
    this.isPlaying = false;
    this.loop = { on: true, first: 0, last: frames - 1 };
  }

  get frame() {
    return Math.max(0, Math.min(this.frames - 1, Math.floor(this.seconds * this.framesPerSecond + 1e-6)));
  }

  seek(frame) {
    this.seconds = Math.max(0, Math.min(this.frames - 1, Math.round(frame))) / this.framesPerSecond;
  }

  step(count) {
    this.isPlaying = false;
    this.seek(this.frame + count);
  }

  toggle() {
    this.isPlaying = !this.isPlaying;
    const { loop } = this;
    if (this.isPlaying && !loop.on && this.frame >= this.frames - 1) this.seek(0);
  }

  faster(steps) {
    const at = speeds.findIndex((one) => one >= this.speed - 1e-9);
    this.speed = speeds[Math.max(0, Math.min(speeds.length - 1, (at < 0 ? speeds.length - 1 : at) + steps))];
  }

  /** Time goes by, in seconds. */
  advance(elapsed) {
    if (!this.isPlaying) return;
    this.seconds += elapsed * this.speed;
    const first = (this.loop.on ? this.loop.first : 0) / this.framesPerSecond;
    const end = ((this.loop.on ? this.loop.last : this.frames - 1) + 1) / this.framesPerSecond;
    if (this.seconds < end) return;
    if (this.loop.on) {
      this.seconds = first + ((this.seconds - first) % Math.max(1e-9, end - first));
    } else {
      this.seek(this.frames - 1);
      this.isPlaying = false;
    }
  }
}

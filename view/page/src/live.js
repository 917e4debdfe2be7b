// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// A capture that is running: a page of it shows the newest frame, and no other.

const headSize = 32; // bytes of four numbers
const patience = 2000; // milliseconds until a lost connection is tried again
const mostTries = 5;

/** The number of a message's frame: performers share it, so that it may come more than once. */
const numberIn = (message) => new Float64Array(message, 8, 1)[0];

class LivePerformer {
  constructor(facts, framesPerSecond) {
    Object.assign(this, facts, { framesPerSecond, frames: 0, firstFrame: 0 });
    this.positions = new Float32Array(3 * this.nodes.length).fill(NaN);
  }

  has() {
    return !Number.isNaN(this.positions[0]);
  }

  pose() {} // it is posed as it comes

  placeOf(node) {
    return Array.from(this.positions.subarray(3 * node, 3 * node + 3));
  }
}

class LiveCloud {
  constructor(facts, framesPerSecond) {
    Object.assign(this, facts, { framesPerSecond, frames: 1, firstFrame: 0 });
    this.positions = new Float32Array(3 * this.markers.length).fill(NaN);
  }

  has(marker) {
    return !Number.isNaN(this.positions[3 * marker]);
  }

  placeOf(marker) {
    return Array.from(this.positions.subarray(3 * marker, 3 * marker + 3));
  }

  residualOf() {
    return null;
  }
}

/** The frames of a running capture, as `StaticTake` has those of one that is over: but one at a time. */
export class LiveTake {
  constructor(facts) {
    this.isLive = true;
    this.facts = facts;
    this.title = facts.title;
    this.events = [];
    this.notes = [];
    this.framesPerSecond = facts.rate[0] / facts.rate[1];
    this.frames = 1;
    this.fastest = { firstFrame: 0 };
    this.performers = facts.performers.map((one) => new LivePerformer(one, this.framesPerSecond));
    this.clouds = facts.markers.map((one) => new LiveCloud(one, this.framesPerSecond));
    this.state = 'connecting'; // or live, ended, lost
    this.number = null; // of the frame that is shown
    this.latency = null; // milliseconds
    this.dropped = 0;
    this.passedOver = 0; // came here, but the next was there before it was drawn
    this.newest = null;
    this.tries = 0;
  }

  /** Has `changed` called whenever there is something new. */
  connect(changed) {
    this.socket = new WebSocket('ws://' + location.host + '/frames' + location.search);
    this.socket.binaryType = 'arraybuffer';
    this.socket.onopen = () => {
      this.state = 'live';
      this.tries = 0;
      changed();
    };
    this.socket.onmessage = (event) => {
      if (this.newest && numberIn(this.newest) !== numberIn(event.data)) this.passedOver++;
      this.newest = event.data;
    };
    this.socket.onclose = (event) => {
      this.state = event.code === 1000 ? 'ended' : 'lost';
      changed();
      if (this.state === 'lost' && this.tries++ < mostTries) setTimeout(() => this.connect(changed), patience);
    };
  }

  /** Takes the newest frame up, if there is one that was not; shows it unless the page is held. */
  advance(isHeld) {
    if (!this.newest) return false;
    const message = this.newest;
    this.newest = null;
    const [id, number, dropped, latency] = new Float64Array(message, 0, 4);
    this.dropped = dropped;
    this.latency = latency < 0 ? null : latency;
    if (!isHeld) this.show(number, new Float32Array(message, headSize));
    this.answer = id;
    return true;
  }

  show(number, positions) {
    this.number = number;
    let at = 0;
    for (const one of [...this.performers, ...this.clouds]) {
      one.positions.set(positions.subarray(at, at + one.positions.length));
      at += one.positions.length;
    }
  }

  /** Tells that what was taken up is drawn: more may come. */
  acknowledge() {
    if (this.answer && this.socket.readyState === WebSocket.OPEN) this.socket.send(String(this.answer));
    this.answer = null;
  }

  /** How the capture reaches this page, for people. */
  get report() {
    if (this.state !== 'live') return '';
    const delay = this.latency === null ? '' : this.latency.toFixed(0) + ' ms late, ';
    return delay + (this.dropped + this.passedOver) + ' frames dropped';
  }

  get notice() {
    return { connecting: 'Connecting to the capture …', live: '', ended: 'The capture has ended.',
      lost: 'The connection to the capture is lost.' }[this.state];
  }
}

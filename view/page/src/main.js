// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// The page: what its buttons and keys do.

import { StaticTake, factsOf, timecodeOf } from './data.js';
import { LiveTake } from './live.js';
import { Camera, steer } from './camera.js';
import { SolidScene } from './solid.js';
import { FlatScene } from './flat.js';
import { Player, speeds } from './player.js';
import { Stage, palette } from './stage.js';
import { curveOf, drawCurves } from './curves.js';

const get = (id) => document.getElementById(id);

/** An element with attributes and what is in it; texts are texts, whatever they hold. */
function make(tag, attributes = {}, ...content) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith('on')) element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false) element.setAttribute(name, value);
  }
  element.append(...content);
  return element;
}

class Page {
  constructor(take) {
    this.take = take;
    this.stage = new Stage(take);
    this.player = new Player(take.frames, take.framesPerSecond);
    this.camera = new Camera();
    this.following = -1;
    this.isDirty = true;
    this.makeScene();
    this.fillPanel();
    this.listen();
    this.repaint();
    this.resize();
    this.lookAtAll();
    this.player.isPlaying = location.hash !== '#paused';
    if (take.isLive) take.connect(() => this.update());
    this.update();
    requestAnimationFrame((now) => this.tick(now));
  }

  lookAtAll() {
    this.camera.frame(...this.stage.bounds(), this.size[0] / this.size[1]);
    this.scene.centre(Math.round(this.camera.target[0]), Math.round(this.camera.target[2]));
  }

  makeScene() {
    const canvas = get('scene');
    try {
      if (new URLSearchParams(location.search).has('flat')) throw new Error('asked for');
      this.scene = new SolidScene(canvas, this.stage.counts());
      this.kind = 'solid';
    } catch (error) {
      // A canvas that was asked for WebGL gives no other context.
      const fresh = canvas.cloneNode();
      canvas.replaceWith(fresh);
      this.scene = new FlatScene(fresh);
      this.kind = 'flat';
      get('notice').textContent = 'No WebGL here: a stick figure instead.';
    }
    this.canvas = get('scene');
  }

  repaint() {
    const style = getComputedStyle(document.documentElement);
    const value = (name) => style.getPropertyValue(name).trim();
    this.theme = {
      background: value('--scene'), grid: value('--grid'), axis: value('--axis'), soft: value('--soft'),
      foreground: value('--fg'), marker: value('--soft'),
    };
    this.scene.paint(this.theme);
    this.isDirty = true;
  }

  resize() {
    const { clientWidth, clientHeight } = get('stage');
    this.size = [Math.max(1, clientWidth), Math.max(1, clientHeight)];
    this.scene.resize(...this.size, Math.min(2, window.devicePixelRatio || 1));
    this.isDirty = true;
  }

  // --- What is drawn

  tick(now) {
    const elapsed = Math.min(0.25, (now - (this.last ?? now)) / 1000);
    this.last = now;
    const { player } = this;
    const wasPlaying = player.isPlaying;
    const before = player.frame;
    player.advance(elapsed);
    if (player.frame !== before || player.isPlaying !== wasPlaying) this.update();
    if (this.take.isLive) this.tickLive();
    if (this.isDirty) this.draw();
    if (this.take.isLive) this.take.acknowledge();
    requestAnimationFrame((next) => this.tick(next));
  }

  tickLive() {
    const isFirst = this.take.number === null;
    if (!this.take.advance(!this.player.isPlaying)) return;
    if (isFirst && this.take.number !== null) this.lookAtAll();
    this.update();
  }

  get seconds() {
    return this.player.frame / this.take.framesPerSecond;
  }

  draw() {
    this.isDirty = false;
    const followed = this.stage.shown[this.following];
    const places = followed && this.stage.placesOf(followed, this.seconds);
    if (places) [this.camera.target[0], this.camera.target[2]] = [places[0][0], places[0][2]];
    this.stage.draw(this.scene, this.camera, this.seconds, this.theme);
    const share = this.take.frames > 1 ? this.player.frame / (this.take.frames - 1) : 0;
    if (this.stage.shown.length && !this.take.isLive) drawCurves(get('curves'), this.stage.chosen.map((one) => ({ ...one.curve, colour: one.colour })), share, this.theme);
  }

  /** Brings what the page says in line with where it is. */
  update() {
    const { player, take } = this;
    if (take.isLive) {
      const { number } = take;
      get('time').textContent = number === null ? '' : timecodeOf(number, take.framesPerSecond) + '   frame ' + number;
      get('link').textContent = take.report;
      if (get('notice').textContent !== take.notice) get('notice').textContent = take.notice;
    } else {
      const number = player.frame + take.fastest.firstFrame;
      const code = timecodeOf(player.frame, take.framesPerSecond);
      get('time').textContent = code + '   frame ' + number + ' of ' + (take.frames - 1 + take.fastest.firstFrame);
      get('scrub').value = player.frame;
      get('scrub').setAttribute('aria-valuetext', 'frame ' + number + ', ' + code);
    }
    const play = get('play');
    play.querySelector('path').setAttribute('d', player.isPlaying ? 'M3 2h4v12H3zM9 2h4v12H9z' : 'M4 2l9 6-9 6z');
    play.setAttribute('aria-label', player.isPlaying ? 'Pause' : 'Play');
    get('speed').value = String(player.speed);
    get('loop').setAttribute('aria-pressed', String(player.loop.on));
    get('trails').checked = this.stage.trails;
    get('follow').value = String(this.following);
    this.isDirty = true;
  }

  drawMarks() {
    const canvas = get('marks');
    canvas.width = Math.max(1, canvas.clientWidth);
    canvas.height = 14;
    const context = canvas.getContext('2d');
    const { loop, frames } = this.player;
    const x = (frame) => 8 + (frame / Math.max(1, frames - 1)) * (canvas.width - 16);
    const style = getComputedStyle(document.documentElement);
    context.fillStyle = style.getPropertyValue('--accent');
    context.fillRect(x(loop.first), 9, Math.max(2, x(loop.last) - x(loop.first)), 4);
    context.fillStyle = style.getPropertyValue('--fg');
    for (const event of this.take.events) {
      context.fillRect(x(event.time * this.take.framesPerSecond) - 1, 0, 2, 9);
    }
  }

  // --- What the page does

  seek(frame) {
    this.player.seek(frame);
    this.update();
  }

  view(name) {
    this.camera.look(name);
    this.isDirty = true;
  }

  follow(index) {
    this.following = index;
    this.update();
  }

  setLoop(first, last) {
    const { loop, frames } = this.player;
    loop.first = Math.max(0, Math.min(first, frames - 1));
    loop.last = Math.max(loop.first, Math.min(last, frames - 1));
    loop.on = true;
    this.drawMarks();
    this.update();
  }

  choose(shown, node) {
    if (this.stage.chosen.some((one) => one.shown === shown && one.node === node)) return;
    const used = this.stage.chosen.length;
    const isFirst = !this.stage.chosen.some((one) => one.shown === shown);
    const colour = isFirst ? shown.colour : palette[(this.stage.shown.length + used) % palette.length];
    this.stage.chosen.push({ shown, node, colour, curve: curveOf(shown.performer, node, this.take) });
    this.listChosen();
  }

  ghost(shown, isGhost) {
    shown.isGhost = isGhost;
    this.listPerformers();
    this.isDirty = true;
  }

  shiftGhosts(frames) {
    for (const shown of this.stage.shown) {
      if (shown.isGhost) shown.offset += frames / this.take.framesPerSecond;
    }
    this.listPerformers();
    this.isDirty = true;
  }

  // --- The panel

  fillPanel() {
    const { take, stage } = this;
    get('title').textContent = take.title;
    const scrub = get('scrub');
    scrub.max = take.frames - 1;
    for (const one of speeds) get('speed').append(make('option', { value: one }, one + '×'));
    get('follow').append(make('option', { value: -1 }, 'nobody'));
    stage.shown.forEach((shown, i) => {
      get('follow').append(make('option', { value: i }, shown.performer.name));
      const group = make('optgroup', { label: shown.performer.name });
      shown.performer.nodes.forEach((node, n) => {
        if (!node.end) group.append(make('option', { value: i + ':' + n }, node.name));
      });
      get('joint').append(group);
    });
    this.listPerformers();
    for (const id of ['performerbox', 'jointbox', 'curves', 'followbox']) get(id).hidden = stage.shown.length === 0;
    if (!take.isLive) for (const shown of stage.shown.slice(0, 3)) this.choose(shown, 0);
    get('legend').hidden = !take.clouds.some((one) => one.residuals);
    get('eventbox').hidden = take.events.length === 0;
    for (const event of take.events) {
      const frame = Math.round(event.time * take.framesPerSecond);
      get('events').append(make('li', {}, make('button', { onclick: () => this.seek(frame) },
        event.label + ', ' + event.time.toFixed(2) + ' s')));
    }
    this.fillFacts();
  }

  fillFacts() {
    // Of a live capture nobody knows yet how long it is.
    const frames = (one) => (this.take.isLive ? 'live' : one.frames) + ' at ' +
      one.framesPerSecond.toFixed(3).replace(/\.?0+$/, '') + ' per second';
    const list = get('facts-list');
    const fact = (name, text) => list.append(make('dt', {}, name), make('dd', {}, text));
    const { take } = this;
    for (const one of take.performers) {
      fact('Performer', one.name);
      if (one.source) fact('Source', one.source);
      fact('Frames', frames(one));
      fact('Space', one.unit + ' (unit ' + one.unitIs + ')');
      fact('Joints', String(one.nodes.filter((node) => !node.end).length));
    }
    for (const one of take.clouds) {
      fact('Markers', one.name + ': ' + one.markers.length);
      fact('Frames', frames(one));
    }
    const millimetres = (metres) => (1000 * metres).toFixed(3) + ' mm';
    if (take.performers.length && !take.isLive) fact('Accuracy', 'joints within ' + millimetres(take.facts.largestError) + ' of the take');
    if (take.clouds.length && !take.isLive) fact('Accuracy', 'markers within ' + millimetres(take.facts.largestMarkerError) + ' of the take');
    for (const note of take.notes) get('notes').append(make('li', {}, note));
  }

  listPerformers() {
    const held = document.activeElement?.id;
    get('performers').replaceChildren(
      ...this.stage.shown.map((shown, i) => {
        const box = (id, checked, text, change) =>
          make('label', {}, make('input', { type: 'checkbox', id, checked, onchange: change }), ' ' + text);
        return make('li', { class: 'row' },
          make('span', { class: 'name' }, make('span', { class: 'swatch', style: 'background:' + shown.colour }),
            make('span', {}, shown.performer.name)),
          box('show' + i, shown.isVisible, 'Show', (event) => {
            shown.isVisible = event.target.checked;
            this.isDirty = true;
          }),
          box('ghost' + i, shown.isGhost, 'Ghost', (event) => this.ghost(shown, event.target.checked)),
          make('label', { class: 'recorded' }, 'later by ', make('input', {
            type: 'number', id: 'offset' + i, step: '0.01', value: shown.offset.toFixed(3),
            'aria-label': 'Seconds by which ' + shown.performer.name + ' is later',
            onchange: (event) => {
              shown.offset = Number(event.target.value) || 0;
              this.isDirty = true;
            },
          }), ' s'));
      }),
    );
    if (held) get(held)?.focus();
  }

  listChosen() {
    get('chosen').replaceChildren(
      ...this.stage.chosen.map((one) => {
        const name = one.shown.performer.nodes[one.node].name;
        return make('li', { class: 'row' },
          make('span', { class: 'swatch', style: 'background:' + one.colour }),
          make('span', { style: 'flex:1' }, one.shown.performer.name + ': ' + name),
          make('button', {
            'aria-label': 'Remove ' + name,
            onclick: () => {
              this.stage.chosen = this.stage.chosen.filter((other) => other !== one);
              this.listChosen();
            },
          }, '×'));
      }),
    );
    this.isDirty = true;
  }

  // --- Buttons, keys and pointers

  listen() {
    const { player } = this;
    const on = (id, name, action) => get(id).addEventListener(name, action);
    const then = (action) => () => {
      action();
      this.update();
    };
    on('first', 'click', () => this.seek(0));
    on('last', 'click', () => this.seek(player.frames - 1));
    on('back', 'click', then(() => player.step(-1)));
    on('forth', 'click', then(() => player.step(1)));
    on('play', 'click', then(() => player.toggle()));
    on('scrub', 'input', (event) => this.seek(Number(event.target.value)));
    on('speed', 'change', then(() => (player.speed = Number(get('speed').value))));
    on('loop', 'click', then(() => (player.loop.on = !player.loop.on)));
    on('in', 'click', () => this.setLoop(player.frame, Math.max(player.frame, player.loop.last)));
    on('out', 'click', () => this.setLoop(Math.min(player.loop.first, player.frame), player.frame));
    on('all', 'click', () => this.setLoop(0, player.frames - 1));
    for (const name of ['free', 'front', 'side', 'top']) on(name, 'click', () => this.view(name));
    on('follow', 'change', (event) => this.follow(Number(event.target.value)));
    on('trails', 'change', then(() => (this.stage.trails = get('trails').checked)));
    on('ontop', 'change', then(() => (this.stage.onTop = get('ontop').checked)));
    on('add', 'click', () => {
      const [shown, node] = get('joint').value.split(':').map(Number);
      if (this.stage.shown[shown]) this.choose(this.stage.shown[shown], node);
    });
    steer(this.canvas, this.camera, () => (this.isDirty = true));
    this.canvas.addEventListener('pointermove', (event) => this.point(event.offsetX, event.offsetY));
    this.canvas.addEventListener('pointerleave', () => (get('label').hidden = true));
    document.addEventListener('keydown', (event) => this.press(event));
    new ResizeObserver(() => {
      this.resize();
      this.drawMarks();
    }).observe(get('stage'));
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => {
      this.repaint();
      this.drawMarks();
    });
  }

  press(event) {
    const { target } = event;
    const isField = target.matches('select, input[type="number"]');
    const isPressed = target.matches('button, summary, input[type="checkbox"]') && event.key === ' ';
    if (isField || isPressed || event.ctrlKey || event.metaKey || event.altKey) return;
    const { player, camera, stage } = this;
    const keys = {
      ' ': () => player.toggle(),
      ArrowLeft: () => player.step(event.shiftKey ? -10 : -1),
      ArrowRight: () => player.step(event.shiftKey ? 10 : 1),
      Home: () => player.seek(0),
      End: () => player.seek(player.frames - 1),
      ArrowUp: () => player.faster(1),
      ArrowDown: () => player.faster(-1),
      l: () => (player.loop.on = !player.loop.on),
      i: () => get('in').click(),
      o: () => get('out').click(),
      u: () => get('all').click(),
      0: () => this.view('free'),
      1: () => this.view('front'),
      2: () => this.view('side'),
      3: () => this.view('top'),
      f: () => this.follow(this.following + 1 < stage.shown.length ? this.following + 1 : -1),
      g: () => stage.shown.length && this.ghost(stage.shown.at(-1), !stage.shown.at(-1).isGhost),
      ',': () => this.shiftGhosts(-1),
      '.': () => this.shiftGhosts(1),
      t: () => (stage.trails = !stage.trails),
      w: () => camera.orbit(0, 12),
      s: () => camera.orbit(0, -12),
      a: () => camera.orbit(-12, 0),
      d: () => camera.orbit(12, 0),
      '+': () => camera.zoom(0.9),
      '-': () => camera.zoom(1 / 0.9),
    };
    const action = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    const isOfLive = [' ', '0', '1', '2', '3', 'f', 'g', 'w', 'a', 's', 'd', '+', '-'].includes(event.key.toLowerCase());
    if (!action || (this.take.isLive && !isOfLive)) return;
    event.preventDefault();
    action();
    this.update();
  }

  /** Names what is nearest to the pointer. */
  point(x, y) {
    const [width, height] = this.size;
    let [best, least] = [null, 12];
    for (const label of this.stage.labels) {
      const at = this.camera.project(label.at, width, height);
      const distance = at ? Math.hypot(at[0] - x, at[1] - y) : Infinity;
      if (distance < least) [best, least] = [label, distance];
    }
    const element = get('label');
    element.hidden = !best;
    if (!best) return;
    element.textContent = best.name;
    element.style.left = Math.min(x + 12, width * 0.6) + 'px';
    element.style.top = Math.max(0, y - 26) + 'px';
  }
}

async function takeOf(document) {
  const facts = factsOf(document);
  if (!facts.live) return StaticTake.ofPage(document, facts);
  document.documentElement.dataset.live = 'yes';
  return new LiveTake(facts);
}

takeOf(document).then(
  (take) => {
    // For scripts that look at the page: where it is, and where it shows what.
    window.tarnView = new Page(take);
    document.documentElement.dataset.ready = 'yes';
  },
  (error) => {
    get('notice').textContent = 'This page cannot be shown: ' + error.message;
  },
);

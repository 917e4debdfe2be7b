// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Looks at pages of takes in a real browser. Run by ViewPage_test.py.
//
// usage: view_page.cjs NODE_DIR BROWSER JOB.json
//
// JOB.json: { solid: [{ page, positions }], awkward, markers, broken }: files of pages, and of what `export` says
// of where joints are, an independent witness.

const assert = require('node:assert');
const fs = require('node:fs');
const [nodeDir, program, jobFile] = process.argv.slice(2);
const { launcher, isFirefox, saturations, projected, cameraOf, accessChecker } = require('./view_browser.cjs');
const launch = launcher(nodeDir, program);
const checkAccess = accessChecker(nodeDir);
const job = JSON.parse(fs.readFileSync(jobFile, 'utf8'));

/** A page that was opened paused; whatever it complains of or asks for is a fault. */
async function open(browser, file, { width = 900, height = 700, scheme = 'light' } = {}) {
  const page = await browser.newPage();
  page.faults = [];
  page.on('console', (message) => page.faults.push('console: ' + message.text()));
  page.on('pageerror', (error) => page.faults.push('error: ' + error.message));
  page.on('request', (request) => {
    if (request.url().split('#')[0] !== 'file://' + file && !request.url().startsWith('data:')) {
      page.faults.push('request: ' + request.url());
    }
  });
  await page.setViewport({ width, height });
  if (!isFirefox(program)) await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
  await page.goto('file://' + file + '#paused');
  await page.waitForFunction('document.documentElement.dataset.ready === "yes"', { timeout: 120000 });
  return page;
}

async function close(page) {
  assert.deepStrictEqual(page.faults, [], 'a page that works says nothing and asks for nothing');
  await page.close();
}

/** Seeks, and waits until that has been drawn. */
async function show(page, frame) {
  await page.evaluate((wanted) => {
    tarnView.seek(wanted);
    tarnView.draw();
  }, frame);
  await page.evaluate('new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))');
}

/** At some frames, pixels of joints are coloured where `export` has them, and others are not. */
async function checkPixels(page, witness) {
  const { nodes, poses, scale } = witness;
  for (const frame of [0, Math.floor(poses.length / 3), poses.length - 1]) {
    await show(page, frame);
    const joints = poses[frame].positions.filter((_, i) => !nodes[i].end_site).map((at) => at.map((one) => one * scale));
    const camera = await cameraOf(page);
    const onJoints = await saturations(page, projected(camera, joints));
    const hit = onJoints.filter((one) => one > 40).length / joints.length;
    assert.ok(hit > 0.95, `frame ${frame}: only ${hit} of the joints are where they should be`);
    const beside = joints.map(([x, y, z]) => [x, y + 2.2, z]); // above all heads
    const misses = (await saturations(page, projected(camera, beside))).filter((one) => one > 40).length;
    assert.strictEqual(misses, 0, `frame ${frame}: something is where nobody is`);
  }
}

const state = (page) =>
  page.evaluate(() => ({
    frame: tarnView.player.frame, playing: tarnView.player.isPlaying, frames: tarnView.player.frames,
    speed: tarnView.player.speed,
  }));

async function checkPlaying(page) {
  await show(page, 0);
  await page.focus('#scene');
  await page.keyboard.press(' ');
  assert.ok((await state(page)).playing, 'Space plays');
  await page.waitForFunction('tarnView.player.frame > 3', { timeout: 60000 });
  await page.keyboard.press(' ');
  assert.ok(!(await state(page)).playing, 'Space pauses');
  await show(page, 10);
  for (const [key, frame] of [['ArrowRight', 11], ['ArrowLeft', 10], ['Home', 0], ['End', (await state(page)).frames - 1]]) {
    await page.keyboard.press(key);
    assert.strictEqual((await state(page)).frame, frame, key);
  }
  await page.keyboard.press('ArrowUp');
  assert.strictEqual((await state(page)).speed, 2, 'ArrowUp is faster');
  await page.keyboard.press('ArrowDown');
  await page.click('#play');
  assert.ok((await state(page)).playing, 'the button plays');
  await page.click('#play');
  await page.evaluate(() => {
    const scrub = document.getElementById('scrub');
    scrub.value = 33;
    scrub.dispatchEvent(new Event('input'));
  });
  assert.strictEqual((await state(page)).frame, 33, 'the scrubber seeks');
  const time = await page.$eval('#time', (element) => element.textContent);
  assert.match(time, /^\d\d:\d\d:\d\d:\d\d+\s+frame 33 of \d+$/);
}

async function checkLoop(page) {
  await show(page, 12);
  await page.focus('#scene');
  await page.keyboard.press('i');
  await show(page, 20);
  await page.keyboard.press('o');
  const seen = await page.evaluate(() => {
    const { player } = tarnView;
    const frames = new Set();
    player.isPlaying = true;
    for (let i = 0; i < 2000; i++) {
      player.advance(0.005);
      frames.add(player.frame);
    }
    player.isPlaying = false;
    return [...frames].sort((a, b) => a - b);
  });
  assert.deepStrictEqual(seen, [12, 13, 14, 15, 16, 17, 18, 19, 20], 'a loop stays in its range');
  await page.keyboard.press('u');
  await page.keyboard.press('l');
  const end = await page.evaluate(() => {
    const { player } = tarnView;
    player.isPlaying = true;
    for (let i = 0; i < 10000; i++) player.advance(0.25);
    return [player.frame, player.isPlaying];
  });
  assert.deepStrictEqual(end, [(await state(page)).frames - 1, false], 'without a loop the end is the end');
  await page.keyboard.press('l');
}

async function checkGhost(page) {
  const roots = () =>
    page.evaluate(() => tarnView.stage.shown.map((one) => tarnView.stage.placesOf(one, 0)?.[0] ?? null));
  const [one, other] = await roots();
  assert.ok(Math.hypot(one[0] - other[0], one[2] - other[2]) > 0.3, 'the dancers start apart');
  await page.focus('#scene');
  await page.keyboard.press('g');
  const [first, ghost] = await roots();
  assert.ok(Math.hypot(first[0] - ghost[0], first[2] - ghost[2]) < 0.001, 'a ghost stands on top of the first');
  await page.keyboard.press('.');
  const offset = await page.evaluate(() => tarnView.stage.shown[1].offset * tarnView.take.framesPerSecond);
  assert.ok(Math.abs(offset - 1) < 1e-6, 'a ghost is shifted by a frame');
  assert.strictEqual((await roots())[1], null, 'it has not started yet');
  await page.keyboard.press(',');
  await page.keyboard.press('g');
}

async function checkViews(page) {
  for (const [key, axis] of [['1', 2], ['2', 0], ['3', 1]]) {
    await page.keyboard.press(key);
    const { eye, target } = await cameraOf(page);
    const way = eye.map((one, i) => Math.abs(one - target[i]));
    assert.strictEqual(way.indexOf(Math.max(...way)), axis, 'view ' + key);
  }
  await page.keyboard.press('f');
  await show(page, 100);
  const followed = await page.evaluate(() => [
    tarnView.camera.target[0], tarnView.stage.placesOf(tarnView.stage.shown[0], tarnView.seconds)[0][0]]);
  assert.ok(Math.abs(followed[0] - followed[1]) < 1e-9, 'the eye follows');
  await page.keyboard.press('f');
  await page.keyboard.press('f');
  await page.keyboard.press('0');
  await page.keyboard.press('t');
  await show(page, 100);
  assert.ok(await page.evaluate(() => tarnView.scene.linePoints.length > 0), 'chosen joints leave trails');
  await page.keyboard.press('t');
}

async function checkLabel(page) {
  await show(page, 5);
  const at = await page.evaluate(() => {
    const label = tarnView.stage.labels[0];
    const [x, y] = tarnView.camera.project(label.at, ...tarnView.size);
    return { x, y, name: label.name };
  });
  await page.mouse.move(at.x, at.y);
  await page.waitForFunction('!document.getElementById("label").hidden', { timeout: 30000 });
  assert.ok((await page.$eval('#label', (element) => element.textContent)).length > 0);
}

/** Ten minutes go by, a picture for each second; what was needed for them is let go of. */
async function checkMemory(page) {
  const heap = () =>
    page.evaluate(() => {
      gc();
      return performance.memory.usedJSHeapSize;
    });
  const play = (seconds) =>
    page.evaluate((count) => {
      tarnView.stage.trails = true;
      tarnView.player.isPlaying = true;
      for (let i = 0; i < count; i++) {
        for (let step = 0; step < 30; step++) tarnView.player.advance(1 / 30);
        tarnView.draw();
      }
      tarnView.player.isPlaying = false;
      tarnView.stage.trails = false;
    }, seconds);
  await play(20);
  const before = await heap();
  await play(600);
  const grown = (await heap()) - before;
  assert.ok(grown < 4e6, `ten minutes of playing keep ${grown} bytes`);
}

/** The same where there may be no WebGL: the library that draws says so, and the page draws without. */
async function openAnywhere(browser, file) {
  const page = await open(browser, file);
  page.faults = page.faults.filter((one) => !/WebGL/.test(one));
  return page;
}

/** Headless, it mostly has no WebGL. */
async function checkFirefox() {
  const browser = await launch();
  for (const { page: file, positions } of job.solid) {
    const page = await openAnywhere(browser, file);
    await checkPixels(page, JSON.parse(fs.readFileSync(positions, 'utf8')));
    await close(page);
  }
  const dance = await openAnywhere(browser, job.dance);
  await checkPlaying(dance);
  await checkLoop(dance);
  await checkGhost(dance);
  await close(dance);
  const markers = await openAnywhere(browser, job.markers);
  await checkLabel(markers);
  await close(markers);
  const awkward = await openAnywhere(browser, job.awkward);
  assert.strictEqual(await awkward.$eval('#title', (element) => element.textContent), job.title);
  assert.strictEqual(await awkward.evaluate('window.broken'), undefined);
  await close(awkward);
  await browser.close();
  console.log('all that the pages should do, they do');
}

async function main() {
  let browser = await launch();
  for (const { page: file, positions } of job.solid) {
    const page = await open(browser, file);
    assert.strictEqual(await page.evaluate('tarnView.kind'), 'solid');
    await checkPixels(page, JSON.parse(fs.readFileSync(positions, 'utf8')));
    await close(page);
  }
  console.log('pixels');
  const page = await open(browser, job.dance);
  await checkPlaying(page);
  await checkLoop(page);
  await checkGhost(page);
  await checkViews(page);
  await checkLabel(page);
  console.log('playing');
  await checkMemory(page);
  await close(page);
  console.log('memory');
  for (const options of [{}, { scheme: 'dark' }, { width: 390, height: 800 }]) {
    const one = await open(browser, job.dance, options);
    await checkAccess(one);
    await one.close(); // what axe does is not the page's doing
  }
  console.log('access');
  const markers = await open(browser, job.markers);
  await checkLabel(markers);
  await close(markers);
  const awkward = await open(browser, job.awkward);
  assert.strictEqual(await awkward.$eval('#title', (element) => element.textContent), job.title);
  assert.strictEqual(await awkward.evaluate('window.broken'), undefined);
  assert.ok(await awkward.evaluate(() => [...document.querySelectorAll('option')].some((one) => one.text.includes('</script>'))));
  await checkAccess(awkward);
  await awkward.close();
  await browser.close();
  console.log('names');

  browser = await launch(['--disable-3d-apis']);
  const flat = await openAnywhere(browser, job.solid[0].page);
  assert.strictEqual(await flat.evaluate('tarnView.kind'), 'flat', 'without WebGL there is a stick figure');
  await checkPixels(flat, JSON.parse(fs.readFileSync(job.solid[0].positions, 'utf8')));
  await checkPlaying(flat);
  await close(flat);
  await browser.close();
  console.log('all that the pages should do, they do');
}

(isFirefox(program) ? checkFirefox() : main()).catch((error) => {
  console.error(error);
  process.exit(1);
});

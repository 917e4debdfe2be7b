// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Looks at the page of a running session in a real browser. Run by ViewLive_test.py, which stops the session when
// this prints "stop".
//
// usage: view_live.cjs NODE_DIR CHROMIUM JOB.json
//
// JOB.json: { address, witnesses }: what the command printed, and files of what `export` says of where joints are.

const assert = require('node:assert');
const fs = require('node:fs');
const [nodeDir, chromium, jobFile] = process.argv.slice(2);
const { launcher, saturations, projected, cameraOf, accessChecker } = require('./view_browser.cjs');
const job = JSON.parse(fs.readFileSync(jobFile, 'utf8'));
const host = new URL(job.address).host;

async function open(browser, query = '') {
  const page = await browser.newPage();
  page.faults = [];
  page.on('console', (message) => page.faults.push('console: ' + message.text()));
  page.on('pageerror', (error) => page.faults.push('error: ' + error.message));
  page.on('request', (request) => {
    const { protocol, host: asked } = new URL(request.url());
    if (asked !== host && protocol !== 'data:') page.faults.push('request: ' + request.url());
  });
  await page.setViewport({ width: 900, height: 700 });
  await page.goto(job.address + query);
  await page.waitForFunction('window.tarnView && tarnView.take.number !== null', { timeout: 120000 });
  return page;
}

const numberOf = (page) => page.evaluate('tarnView.take.number');
const drawn = (page) =>
  page.evaluate('new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)))');
const text = (page, id) => page.$eval('#' + id, (element) => element.textContent);

/** Holds the page: what it shows then is where `export` has the bodies at that frame. */
async function checkPlaces(page, witnesses) {
  await page.focus('#scene');
  await page.keyboard.press('Space');
  await drawn(page);
  const { number, places } = await page.evaluate(() => ({
    number: tarnView.take.number,
    places: tarnView.take.performers.map((one) => Array.from(one.positions)),
  }));
  const joints = [];
  let isSame = 0;
  witnesses.forEach(({ poses, scale, nodes }, i) => {
    // The one performer may be a frame ahead of the other.
    const near = [number, number - 1].filter((one) => one >= 0).map((frame) => {
      const wanted = poses[frame].positions.flat().map((one) => one * scale);
      assert.strictEqual(wanted.length, places[i].length);
      return { wanted, off: Math.max(...wanted.map((one, k) => Math.abs(one - places[i][k]))) };
    });
    const best = near.reduce((a, b) => (b.off < a.off ? b : a));
    assert.ok(best.off < 1e-4, `frame ${number}: performer ${i} is ${best.off} m off`);
    isSame += best === near[0] ? 1 : 0;
    for (let k = 0; k < nodes.length; k++) if (!nodes[k].end_site) joints.push(best.wanted.slice(3 * k, 3 * k + 3));
  });
  assert.ok(isSame > 0, 'somebody is at the frame that the page tells');
  await page.keyboard.press('0');
  await page.evaluate('tarnView.lookAtAll(); tarnView.draw()');
  const seen = await saturations(page, projected(await cameraOf(page), joints));
  const hit = seen.filter((one) => one > 40).length / joints.length;
  assert.ok(hit > 0.95, `only ${hit} of the joints are where they should be`);
  assert.strictEqual(await numberOf(page), number, 'a page that is held shows what it showed');
  await page.keyboard.press('Space');
  await page.waitForFunction('tarnView.take.number > ' + number, { timeout: 60000 });
}

/** A page that is busy gets none of what it missed, but what is newest then, and says so. */
async function checkSlowness(page) {
  const dropped = () => page.evaluate('tarnView.take.dropped');
  const [before, first] = [await dropped(), await numberOf(page)];
  await page.evaluate(() => {
    for (const end = performance.now() + 6000; performance.now() < end; );
  });
  await page.waitForFunction(`tarnView.take.dropped > ${before} + 10`, { timeout: 60000 });
  assert.ok((await numberOf(page)) >= first + (await dropped()) - before, 'what was dropped is passed over');
  assert.match(await text(page, 'link'), /^\d+ ms late, \d+ frames dropped$/);
}

async function main() {
  const browser = await launcher(nodeDir, chromium)();
  const page = await open(browser);
  const first = await numberOf(page);
  await page.waitForFunction('tarnView.take.number > ' + (first + 5), { timeout: 60000 });
  assert.match(await text(page, 'time'), /^\d\d:\d\d:\d\d:\d\d+\s+frame \d+$/);
  await checkPlaces(page, job.witnesses.map((file) => JSON.parse(fs.readFileSync(file, 'utf8'))));
  await checkSlowness(page);
  const flat = await open(browser, '&flat');
  assert.strictEqual(await flat.evaluate('tarnView.kind'), 'flat', 'two pages watch, one without WebGL');
  const access = await open(browser);
  await accessChecker(nodeDir)(access);
  await access.close(); // what is looked at there is not the page's doing

  console.log('stop');
  for (const one of [page, flat]) {
    await one.bringToFront(); // pages out of sight draw nothing, and catch up then
    await one.waitForFunction('tarnView.take.state === "ended"', { timeout: 60000 });
    await drawn(one);
    assert.strictEqual(await text(one, 'notice').then((all) => all.trim()), 'The capture has ended.');
    const last = await numberOf(one);
    await one.keyboard.press('1'); // and it can still be looked at
    await drawn(one);
    assert.ok(await one.evaluate('tarnView.stage.placesOf(tarnView.stage.shown[0], 0) !== null'));
    assert.strictEqual(await numberOf(one), last);
  }
  assert.deepStrictEqual([...page.faults, ...flat.faults.filter((one) => !/WebGL/.test(one))], []);
  await browser.close();
  console.log('all that live pages should do, they do');
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});

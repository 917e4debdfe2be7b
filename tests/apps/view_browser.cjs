// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// What the tests that look at pages in a real browser share.

const assert = require('node:assert');
const fs = require('node:fs');

const common = ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--ignore-gpu-blocklist',
  '--js-flags=--expose-gc'];

/** Starts Chromium, with more flags if any are given, or Firefox. */
exports.launcher = (nodeDir, program) => (flags = []) =>
  require(nodeDir + '/node_modules/puppeteer-core').launch({
    executablePath: program, headless: true, protocolTimeout: 300000,
    ...(exports.isFirefox(program) ? { browser: 'firefox' } : { args: [...common, ...flags] }),
  });

exports.isFirefox = (program) => /firefox/.test(program);

/** How coloured the pixels of the scene are, near points given in pixels: the ground and the sky are grey. */
exports.saturations = async function (page, points) {
  const clip = await page.evaluate(() => {
    const box = document.getElementById('scene').getBoundingClientRect();
    return { x: box.x, y: box.y, width: box.width, height: box.height };
  });
  const png = Buffer.from(await page.screenshot({ clip })).toString('base64');
  const reader = await page.browser().newPage();
  const found = await reader.evaluate(
    async (data, places) => {
      const image = new Image();
      image.src = 'data:image/png;base64,' + data;
      await image.decode();
      const canvas = document.createElement('canvas');
      [canvas.width, canvas.height] = [image.width, image.height];
      const context = canvas.getContext('2d');
      context.drawImage(image, 0, 0);
      return places.map(([x, y]) => {
        const bytes = context.getImageData(Math.round(x) - 1, Math.round(y) - 1, 3, 3).data;
        let most = 0;
        for (let i = 0; i < bytes.length; i += 4) {
          most = Math.max(most, Math.max(...bytes.slice(i, i + 3)) - Math.min(...bytes.slice(i, i + 3)));
        }
        return most;
      });
    },
    png,
    points,
  );
  await reader.close();
  return found;
};

/** Where points in metres are on the screen, by the eye's place alone. */
exports.projected = function (camera, points) {
  const sub = (a, b) => a.map((one, i) => one - b[i]);
  const dot = (a, b) => a.reduce((sum, one, i) => sum + one * b[i], 0);
  const unit = (a) => a.map((one) => one / Math.sqrt(dot(a, a)));
  const cross = (a, b) => [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]];
  const ahead = unit(sub(camera.target, camera.eye));
  const right = unit(cross(ahead, [0, 1, 0]));
  const up = cross(right, ahead);
  const scale = camera.height / 2 / Math.tan((camera.fieldOfView * Math.PI) / 360);
  return points.map((point) => {
    const way = sub(point, camera.eye);
    const depth = dot(way, ahead);
    return [camera.width / 2 + (scale * dot(way, right)) / depth, camera.height / 2 - (scale * dot(way, up)) / depth];
  });
};

/** From where a page is seen. */
exports.cameraOf = (page) =>
  page.evaluate(() => ({
    eye: tarnView.camera.eye, target: tarnView.camera.target, fieldOfView: tarnView.camera.fieldOfView,
    width: tarnView.size[0], height: tarnView.size[1],
  }));

/** Makes what looks whether people without sight or with a small screen can use a page. */
exports.accessChecker = (nodeDir) => async function (page) {
  const axe = fs.readFileSync(nodeDir + '/node_modules/axe-core/axe.min.js', 'utf8');
  await page.evaluate(() => document.querySelectorAll('details').forEach((one) => (one.open = true)));
  await page.evaluate(axe);
  const report = await page.evaluate('axe.run()');
  const serious = report.violations.filter((one) => ['serious', 'critical'].includes(one.impact));
  assert.deepStrictEqual(serious.map((one) => one.id + ': ' + one.nodes[0].html.slice(0, 200)), []);
  const wide = await page.evaluate('document.documentElement.scrollWidth - innerWidth');
  assert.ok(wide <= 0, 'nothing is wider than the screen');
};

// SPDX-FileCopyrightText: the tarn_sdk authors
// SPDX-License-Identifier: Apache-2.0

// Prints, for each of TIMES browsers, how many milliseconds after its navigation a page plays its second frame.
//
// usage: page_opening.cjs NODE_DIR BROWSER PAGE TIMES

const [, , nodeDir, program, file, times] = process.argv;
const { launcher } = require('../../tests/apps/view_browser.cjs');

(async () => {
  for (let i = 0; i < Number(times); ++i) {
    const browser = await launcher(nodeDir, program)();
    const page = await browser.newPage();
    await page.setViewport({ width: 900, height: 700 });
    await page.evaluateOnNewDocument(() => {
      const look = () => {
        const plays = window.tarnView && window.tarnView.player.frame > 0;
        if (plays) window.playedAt = performance.now();
        else requestAnimationFrame(look);
      };
      requestAnimationFrame(look);
    });
    await page.goto('file://' + file);
    await page.waitForFunction('window.playedAt', { timeout: 60000, polling: 50 });
    console.log(await page.evaluate('window.playedAt'));
    await browser.close();
  }
})();

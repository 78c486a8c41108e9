// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page with many ports and many events, and what it needs for them.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';

import { becomes, closeBrowser, coreSeconds, isLive, open, overflow, passed, portCount,
   slowness, until } from './browser.mjs';
import { Host, manyPorts, pageOfRun } from './host.mjs';

after(closeBrowser);

test('Page.NeedsHalfACoreForSixtyUpdatesASecond', async t => {
   const host = await Host.start(t, manyPorts(1000));
   const page = await open(t, host.url);
   // What the first picture needs is over.
   await isLive(page);
   await page.evaluate(() => new Promise(resolve => requestIdleCallback(resolve)));
   const updates = 300;
   await page.evaluate(() => {
      window.changes = 0;
      new MutationObserver(all => { window.changes += all.length; }).observe(
         document.querySelector('.plate'), { subtree: true, childList: true, attributes: true,
            characterData: true });
   });
   const before = await coreSeconds(page);
   const began = performance.now();
   for (let i = 0; i < updates; ++i) {
      const due = began + i * 1000 / 60;
      await passed(Math.max(0, due - performance.now()));
      await host.patch({ ethPhyIntfStatus: { intfStatus: { [`Ethernet${i + 1}`]:
         { linkStatus: 2 } } } });
   }
   await until(async () => (await page.textContent('[data-seq] bdi')).includes('Ethernet300'));
   const used = await coreSeconds(page) - before;
   const changes = await page.evaluate('window.changes');
   const took = (performance.now() - began) / 1000;
   const slower = await slowness(page);
   t.diagnostic(`${used.toFixed(2)} s of a core in ${took.toFixed(1)} s, ${updates} updates; ` +
      `${slower.toFixed(1)} times slower than usual`);
   // On a slow machine they come more slowly, are no more, and need longer.
   assert.ok(used < 0.5 * slower * Math.max(took, updates / 60), String(used));
   // Each second the time that is left, once for each port; a link that comes up changes no mark.
   t.diagnostic(`${changes} changes of what shows the ports`);
   assert.ok(changes <= 1000 * (took + 2), String(changes));
   assert.deepEqual(page.problems, []);
});

test('Page.ShowsAThousandPorts', async t => {
   const host = await Host.start(t, manyPorts(1000));
   const page = await open(t, host.url);
   await until(() => page.evaluate(() => window.portsDrawnAt));
   const drawn = await page.evaluate(() => window.portsDrawnAt);
   // First those that are in sight, at once the others.
   const first = await page.evaluate(() => window.portsDrawnFirst);
   assert.ok(first < 600, String(first));
   assert.equal(await page.evaluate(() => window.emptyInSight), 0);
   assert.equal(await portCount(page), 1000);
   const core = await coreSeconds(page);
   const elements = await page.evaluate(() => document.querySelectorAll('*').length);
   t.diagnostic(`1000 ports are drawn after ${Math.round(drawn)} ms, with ${core.toFixed(2)} s of a ` +
      `core and ${elements} elements`);
   // What it takes does not depend on what else the machine does.
   assert.ok(elements < 2000, String(elements));
   // Asked for before the script runs, and once.
   const asked = await page.evaluate(() => {
      const [{ domInteractive }] = performance.getEntriesByType('navigation');
      return performance.getEntriesByType('resource').filter(
         ({ startTime }) => startTime < domInteractive).map(({ name }) => name);
   });
   const names = ['alarms', 'ports', 'summary'].map(name => `${host.url}v1/${name}`);
   assert.deepEqual(asked.sort(), names);
   const again = await page.evaluate(all => performance.getEntriesByType('resource').filter(
      ({ name, startTime }) => all.includes(name) && startTime < window.portsDrawnAt).length, names);
   assert.equal(again, 3);
   const overfull = await page.$$eval('button.port', all => all.slice(0, 24).filter(
      port => port.scrollHeight > port.clientHeight || port.scrollWidth > port.clientWidth).length);
   assert.equal(overfull, 0);
   await page.click('.jumps [href="#happened"]', { noWaitAfter: true });
   await until(() => page.evaluate(
      () => document.querySelector('#happened').getBoundingClientRect().top < innerHeight));
   host.ask('release', '--all');
   await becomes(page, 'Ethernet1000', 'released');
   assert.equal(await page.locator('[data-count="released"] b').textContent(), '1000');
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(page.problems, []);
});

/** Whether the port and the top of its detail are in sight, and nothing stands before the port. */
const areInSight = (page, name) => page.evaluate(port => {
   const isIn = element => {
      const { left, top, right, bottom } = element.getBoundingClientRect();
      const corners = [[left + 3, top + 3], [right - 3, bottom - 3]];
      return corners.every(([x, y]) => element.contains(document.elementFromPoint(x, y)));
   };
   return isIn(document.querySelector(`button[data-port="${port}"]`)) &&
      isIn(document.querySelector('.detail button'));
}, name);

test('Page.KeepsAPortAndItsDetailInSight', async t => {
   const run = pageOfRun(t, manyPorts(1000));
   for (const [width, height] of [[360, 740], [640, 400], [1280, 800]]) {
      const page = await open(t, run, { viewport: { width, height } });
      await portCount(page);
      for (const name of ['Ethernet500', 'Ethernet1000']) {
         await page.focus(`[data-port="${name}"]`);
         await page.keyboard.press('Enter');
         await page.waitForSelector('#detail-name:focus');
         assert.equal(await page.textContent('#detail-name'), name);
         await until(() => areInSight(page, name));
         await page.keyboard.press('Tab');
         assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Close');
         await page.keyboard.press('Escape');
         await page.waitForSelector('.detail', { state: 'detached' });
         await page.waitForSelector(`[data-port="${name}"]:focus`);
      }
      await page.focus('[data-port="Ethernet500"]');
      await page.keyboard.press('Enter');
      await page.waitForSelector('.detail');
      // What is at the end can be read, too.
      await until(() => page.evaluate(() => {
         // The page grows where ports come into sight, and brings the chosen one there.
         scrollTo(0, document.body.scrollHeight);
         const below = document.querySelector('.detail').getBoundingClientRect();
         const last = document.querySelector('#happened').getBoundingClientRect();
         return last.bottom <= (below.left > last.left ? innerHeight : below.top);
      }));
      assert.ok(await overflow(page) <= 0, String(width));
      assert.deepEqual(page.problems, []);
      await page.context().close();
   }
});

test('Page.ShowsADayOfEvents', async t => {
   // Every ten seconds a port disappears or comes back.
   const events = Array.from({ length: 8640 }, (_, i) => {
      const name = `Ethernet${(i >> 1) % 48 + 1}`;
      return JSON.stringify({ at: 10 * i + 5,
         ethPhyIntfStatus: { intfStatus: { [name]: i % 2 ? {} : null } } });
   });
   const page = await open(t, pageOfRun(t, `${manyPorts(48)}events: [${events.join(',\n')}]\n`));
   const elements = () => page.evaluate(() => document.querySelectorAll('*').length);
   const drawn = await elements();
   assert.ok(drawn < 3000, String(drawn));
   await page.fill('input[type=range]', '43206');
   await becomes(page, 'Ethernet1', 'absent');
   await page.fill('input[type=range]', '43216');
   await becomes(page, 'Ethernet1', 'released');
   await page.click('[data-port="Ethernet1"]');
   assert.match(await page.textContent('.detail .log'), /^12:00:15Ethernet1 appears12:00:05Eth/);
   await page.click('[data-lane="mlag"] .fold');
   await page.fill('input[type=range]', '86395');
   t.diagnostic(`${drawn} elements, with a port and a class of lanes ${await elements()}, and ` +
      `${(await coreSeconds(page)).toFixed(2)} s of a core`);
   assert.ok(await elements() < 6000, String(await elements()));
   assert.deepEqual(page.problems, []);
});

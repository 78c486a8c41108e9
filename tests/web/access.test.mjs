// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Whether everybody can use the page: with a keyboard, a screen reader, a small or a large screen.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';

import { portStates } from '../../host/web/model.js';
import { barriers, closeBrowser, open, overflow } from './browser.mjs';
import { Host } from './host.mjs';

after(closeBrowser);

test('Page.WorksWithTheKeyboardAlone', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   for (let i = 0; i < 20; ++i) {
      await page.keyboard.press('Tab');
      if (await page.evaluate(() => document.activeElement.classList.contains('port'))) {
         break;
      }
   }
   const focused = () => page.evaluate(() => document.activeElement.dataset.port);
   assert.equal(await focused(), 'Ethernet1');
   const steps = [['ArrowRight', 'Ethernet3'], ['ArrowDown', 'Ethernet4'], ['ArrowLeft', 'Ethernet2'],
      ['ArrowUp', 'Ethernet1'], ['End', 'Management1'], ['Home', 'Ethernet1']];
   for (const [key, name] of steps) {
      await page.keyboard.press(key);
      assert.equal(await focused(), name, key);
   }
   const isGone = () => page.waitForSelector('.detail', { state: 'detached' });
   await page.keyboard.press('Enter');
   await page.waitForSelector('#detail-name:focus');
   await page.keyboard.press('Escape');
   await isGone();
   assert.equal(await focused(), 'Ethernet1');
   await page.keyboard.press('ArrowRight');
   await page.click('[data-port="Ethernet5"]');
   assert.deepEqual(await page.$$eval('button.port[tabindex="0"]',
      all => all.map(button => button.dataset.port)), ['Ethernet5']);
   await page.focus('textarea');
   await page.keyboard.press('Escape');
   assert.equal(await page.evaluate(() => document.activeElement.tagName), 'TEXTAREA');
   assert.equal(await page.textContent('#detail-name'), 'Ethernet5');
   await page.click('text=As a table');
   await page.focus('tr[data-row="Ethernet6"] button');
   await page.keyboard.press('Enter');
   await page.waitForSelector('#detail-name:focus');
   assert.equal(await page.textContent('#detail-name'), 'Ethernet6');
   await page.keyboard.press('Escape');
   await isGone();
   assert.equal(await focused(), 'Ethernet6');
   await page.focus('text=Its times in a table');
   await page.keyboard.press('Enter');
   const rows = await page.$$eval('.times tbody tr', all => all.map(row => row.textContent));
   assert.equal(rows.length, 5);
   assert.match(rows[1], /^Port-Channel10errdisabled0:00:000:05:00, if nothing changes/);
});

test('Page.InterruptsNobodyWhoListens', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   assert.equal(await page.locator('[aria-live]').count(), 0);
   assert.equal(await page.textContent('.news'), '');
   // The time goes on in the picture, and not in what the port is called.
   const name = 'Ethernet1: to be held, which the driver cannot do, MLAG';
   assert.equal(await page.getByRole('button', { name, exact: true }).count(), 1);
   assert.match(await page.getAttribute('[data-port="Ethernet1"]', 'data-left'), /^\d:\d\d$/);
   // And it is said once, also when somebody has pointed at it.
   const session = await page.context().newCDPSession(page);
   const saidBeside = async () => {
      const { nodes } = await session.send('Accessibility.getFullAXTree');
      return nodes.filter(node => node.role?.value === 'button' && node.name?.value === name).map(
         node => node.description?.value);
   };
   assert.deepEqual(await saidBeside(), [undefined]);
   await page.hover('[data-port="Ethernet1"]');
   assert.equal(await page.getAttribute('[data-port="Ethernet1"]', 'title'), name);
   await page.hover('h1');
   assert.deepEqual(await saidBeside(), [undefined]);
});

/** The gaps between what is below each other, in pixels. */
const gapsOf = (page, selectors) => page.evaluate(all => {
   const boxes = all.map(one => document.querySelector(one).getBoundingClientRect());
   return boxes.slice(1).map(({ top }, i) => Math.round(top - boxes[i].bottom));
}, selectors);

test('Page.LeavesNoRoomEmptyBelowThePorts', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   await page.click('[data-port="Ethernet1"]');
   // Beside the detail, however long that is.
   assert.deepEqual(await gapsOf(page, ['.plate', '#time-line', '.what-if', '#happened']), [12, 12, 12]);
   await page.setViewportSize({ width: 700, height: 800 });
   assert.deepEqual(await gapsOf(page, ['.plate', '#time-line']), [12]);
});

/** What the host tells of a port, and what more of it in each of the states that there are. */
const told = { device: 'swp', class: 'mlag', portChannel: null, admin: 1, link: 1, hold: null,
   reason: 'because' };
const hold = more => ({ hold: { kind: 'errdisable', since: 0, until: 1e9, enforced: 'held',
   error: null, ...more } });
const inStates = {
   held: hold(), standby: hold({ kind: 'lacpStandby' }), endless: hold({ until: null }),
   pending: hold({ enforced: 'pending' }), unsupported: hold({ enforced: 'unsupported' }),
   failed: hold({ enforced: 'failed', error: 'no' }), down: { protodown: { on: true } },
   released: { interface: 'Ethernet1' }, free: {}, never: { class: 'management' },
   absent: { link: null },
};

/** Of each port how its text stands out from its ground, and its border from what is around it, as
 * the rules for contents have it: from 1 to 21. */
function contrastsOf(ports) {
   const partsOf = colour => colour.match(/[\d.]+/g).map(Number);
   const brightness = colour => partsOf(colour).slice(0, 3).map(part => part / 255).map(
      part => part <= 0.04045 ? part / 12.92 : ((part + 0.055) / 1.055) ** 2.4)
      .reduce((sum, part, i) => sum + part * [0.2126, 0.7152, 0.0722][i], 0.05);
   const contrast = (a, b) => {
      const [least, most] = [brightness(a), brightness(b)].sort((x, y) => x - y);
      return most / least;
   };
   const groundOf = element => {
      const { backgroundColor } = getComputedStyle(element);
      return partsOf(backgroundColor)[3] === 0 ? groundOf(element.parentElement) : backgroundColor;
   };
   return ports.map(port => {
      const { color, borderTopColor } = getComputedStyle(port);
      return { state: port.dataset.state, text: contrast(color, groundOf(port)),
         border: contrast(borderTopColor, groundOf(port.parentElement)) };
   });
}

for (const colorScheme of ['light', 'dark']) {
   test('Page.MarksEachStateWithMoreThanAColour', async t => {
      const host = await Host.start(t);
      host.ask('release', 'Ethernet1');
      const ports = Object.values(inStates).map(
         (more, i) => ({ ...told, interface: `Ethernet${i + 10}`, ...more }));
      const page = await open(t, host.url, { colorScheme });
      await page.route('**/v1/ports', route => route.fulfill({ json: ports }));
      const states = Object.keys(inStates);
      for (const state of states) {
         await page.waitForSelector(`.port[data-state="${state}"]`);
      }
      const marks = await page.$$eval('.port', all => all.map(mark => mark.textContent));
      assert.equal(new Set(marks).size, Object.keys(portStates).length);
      assert.deepEqual(states.sort(), Object.keys(portStates).sort());
      const faint = (await page.$$eval('.port', contrastsOf)).filter(
         ({ text, border }) => !(text >= 4.5 && border >= 3));
      assert.deepEqual(faint, []);
      assert.deepEqual(await barriers(page), []);
   });

   test('Page.IsForEverybody', async t => {
      const host = await Host.start(t);
      for (const width of [360, 1280, 2560]) {
         const page = await open(t, host.url,
            { colorScheme, viewport: { width, height: 900 }, reducedMotion: 'reduce' });
         const cut = await page.$$eval('.lane .name, .fold', all => all.filter(
            name => name.scrollWidth > name.clientWidth).map(name => name.textContent));
         assert.deepEqual(cut, [], `${width} pixels`);
         await page.click('[data-port="Ethernet1"]');
         const moving = await page.evaluate(() => [...document.querySelectorAll('*')].filter(
            element => {
               const { transitionDuration, animationName } = getComputedStyle(element);
               return transitionDuration !== '0s' || animationName !== 'none';
            }).map(element => element.className));
         assert.deepEqual(moving, [], `${width} pixels`);
         assert.ok(await overflow(page) <= 0, `${width} pixels`);
         assert.deepEqual(await barriers(page), [], `${width} pixels`);
         await page.click('text=As a table');
         assert.equal(await page.locator('tr[data-row]').count(), 9);
         assert.deepEqual(await barriers(page), [], `the table, ${width} pixels`);
      }
   });
}

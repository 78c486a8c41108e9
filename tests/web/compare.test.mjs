// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of two runs beside each other in a browser.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { after, test } from 'node:test';

import { barriers, closeBrowser, open, overflow } from './browser.mjs';
import { examples, fileOf, ostra } from './host.mjs';

after(closeBrowser);

const leaf = readFileSync(`${examples}leaf-reload.yaml`, 'utf8');

/** A file with the events of that run. */
const streamOf = (t, args) =>
   fileOf(t, 'run.ndjson', execFileSync(ostra, ['run', ...args, '--format', 'ndjson']));

/** A file with the page of both: scenarios or streams. */
const pageOfBoth = (t, a, b) => `file://${fileOf(t, 'both.html',
   execFileSync(ostra, ['run', a, '--format', 'html', '--against', b]))}`;

test('Page.ComparesTwoRuns', async t => {
   const shorter = fileOf(t, 'shorter.yaml', leaf.replace('reloadDelay: 300', 'reloadDelay: 240'));
   const stream = streamOf(t, []);
   const page = await open(t, pageOfBoth(t, stream, shorter));
   const rows = await page.$$eval('.differences tbody tr', all => all.map(
      row => [...row.children].map(cell => cell.textContent)));
   assert.deepEqual(rows[0], ['Ethernet1-6,8-40', 'released at other times',
      'errdisabled 0:00:00 to 0:05:00', 'errdisabled 0:00:00 to 0:04:00 (delay over)']);
   assert.ok(rows.some(row => row[1] === 'told in B alone'), rows.join('\n'));
   assert.deepEqual(await page.$$eval('.lane.d0', all => all.map(lane => lane.dataset.lane)),
      ['A mlag', 'B mlag', 'A nonMlag', 'B nonMlag']);
   await page.fill('input[type=range]', '270');
   const states = await page.$$eval('[data-port="Ethernet1"]', all => all.map(b => b.dataset.state));
   assert.deepEqual(states, ['held', 'released']);
   assert.match(await page.textContent('.others'), /: 40\. They have a frame\./);
   assert.equal(await page.locator('.port.other').count(), 80);
   assert.match(await page.locator('[data-port="Ethernet1"]').first().getAttribute('aria-label'),
      /not as in the other run$/);
   await page.locator('[data-port="Ethernet7"]').first().click();
   assert.match((await page.textContent('.detail')).replace(/\s+/g, ' '),
      /A ?✕ held, 0:30 left.*errdisabled 0:00:00 to 0:01:35.*B ?✓ released.*to 0:04:00/);
   assert.deepEqual(await barriers(page), []);
   assert.equal(await page.locator('.alarms').count(), 0);
   const happened = await page.$$eval('section[aria-label^="What happened in"]',
      all => all.map(section => section.textContent));
   assert.match(happened[0], /^What happened in A0:04:07\.5 MLAG_RELOAD_DELAY_ENDING/);
   assert.match(happened[1], /^What happened in B.*0:04:00 40 ports released: Ethernet1-40/);
   await page.click('text=Close');
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

test('Page.ComparesTheAlarmsAtBothEnds', async t => {
   const late = `${examples}becomes-mlag-late.yaml`;
   const page = await open(t, pageOfBoth(t, late, `${examples}leaf-reload.yaml`),
      { viewport: { width: 360, height: 740 } });
   assert.match(await page.textContent('[aria-label="Alarms of A"]'),
      /^\d alarms? at the end of A\s*heldWithoutEnd\s/);
   assert.equal(await page.textContent('[aria-label="Alarms of B"]'), 'No alarms at the end of B');
   assert.equal(await page.locator('.card.alarms').count(), 1);
   const name = await page.textContent('.alarms .link');
   await page.click('.alarms .link');
   await page.waitForSelector('#both-name:focus');
   assert.equal(await page.textContent('#both-name'), name);
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
   const other = await open(t, pageOfBoth(t, late, streamOf(t, [late])));
   assert.match(await other.textContent('[aria-label="Alarms of B"]'), /of B are not known/);
   const neither = await open(t, pageOfBoth(t, streamOf(t, []), streamOf(t, [late])));
   assert.equal(await neither.locator('[aria-label^="Alarms of"]').count(), 0);
});

test('Page.ComparesWithTheKeyboardAloneAndAsATable', async t => {
   const shorter = fileOf(t, 'shorter.yaml', leaf.replace('reloadDelay: 300', 'reloadDelay: 240'));
   const page = await open(t, pageOfBoth(t, `${examples}leaf-reload.yaml`, shorter));
   await page.fill('input[type=range]', '270');
   const inB = '[aria-label="Ports of B"]';
   const focused = () => page.evaluate(() => {
      const { activeElement } = document;
      return `${activeElement.closest('section').ariaLabel} ${activeElement.dataset.port}`;
   });
   await page.focus(`${inB} [data-port="Ethernet1"]`);
   await page.keyboard.press('ArrowDown');
   await page.keyboard.press('Enter');
   await page.waitForSelector('#both-name:focus');
   assert.equal(await page.textContent('#both-name'), 'Ethernet2');
   await page.keyboard.press('Escape');
   await page.waitForSelector('.detail', { state: 'detached' });
   assert.equal(await focused(), 'Ports of B Ethernet2');
   await page.keyboard.press('Enter');
   await page.waitForSelector('#both-name:focus');
   // What is below the detail is not behind it.
   assert.equal(await page.$eval(`${inB} .bar button`, button => {
      document.querySelector('.plate').scrollIntoView();
      const { left, top } = button.getBoundingClientRect();
      return document.elementFromPoint(left + 20, top + 10).textContent;
   }), 'As a table');
   await page.focus(`${inB} >> text=As a table`);
   await page.keyboard.press('Enter');
   const cells = name => page.$$eval(`${inB} tr[data-row="${name}"] td`,
      all => all.map(cell => cell.textContent));
   assert.equal((await cells('Ethernet1'))[0], '✓ released, not as in the other run');
   assert.equal((await cells('Ethernet41'))[0], '✕ held');
   assert.equal(await page.locator('tr[data-row]').count(), 57);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

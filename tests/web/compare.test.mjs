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
   assert.match(await page.locator('[data-port="Ethernet1"]').first().getAttribute('title'),
      /not as in the other run$/);
   await page.locator('[data-port="Ethernet7"]').first().click();
   assert.match((await page.textContent('.detail')).replace(/\s+/g, ' '),
      /A ?✕ held, 0:30 left.*errdisabled 0:00:00 to 0:01:35.*B ?✓ released.*to 0:04:00/);
   assert.deepEqual(await barriers(page), []);
   await page.click('text=Close');
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of a run in a browser.

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { readdirSync, readFileSync } from 'node:fs';
import { after, test } from 'node:test';

import { barriers, becomes, closeBrowser, open, overflow, portCount, stateOf } from './browser.mjs';
import { examples, fileOf, ostra, pageOfRun } from './host.mjs';

after(closeBrowser);

test('Page.ShowsARunFromTheDisk', async t => {
   const page = await open(t, pageOfRun(t));
   assert.equal(await stateOf(page, 'Ethernet1'), 'held');
   assert.equal(await page.textContent('[data-period="mlag"]'), '5:00');
   await page.fill('input[type=range]', '96');
   await becomes(page, 'Ethernet7', 'absent');
   await page.focus('input[type=range]');
   await page.keyboard.press('ArrowRight');
   await page.keyboard.press('ArrowRight');
   await becomes(page, 'Ethernet7', 'held');
   await page.fill('input[type=range]', '329.5');
   assert.equal(await stateOf(page, 'Ethernet1'), 'released');
   assert.equal(await stateOf(page, 'Ethernet41'), 'held');
   assert.equal(await page.textContent('[data-period="nonMlag"]'), '0:01');
   await page.click('[data-lane="mlag"] .fold');
   await page.click('[data-lane="lag Port-Channel13"] .fold');
   assert.equal(await page.locator('[data-lane="port Ethernet7"] rect').count(), 2);
   const track = await page.locator('[data-lane="mlag"] .track').boundingBox();
   await page.mouse.click(track.x + track.width / 2, track.y + 10);
   await becomes(page, 'Ethernet1', 'held');
   assert.match(await page.textContent('.player output'), /^0:02:4/);
   await page.fill('input[type=range]', '315');
   await page.click('text=Play');
   await becomes(page, 'Ethernet41', 'released');
   await page.waitForSelector('.player button:has-text("Play")');
   assert.equal(await page.textContent('.player output'), '0:05:30 of 5:30');
   // And not what the plug-in notes beside it.
   assert.match(await page.textContent('.last'), /^14 ports released: /);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

test('Page.ShowsARunThatWasCutOff', async t => {
   const whole = readFileSync(new URL(pageOfRun(t)), 'utf8');
   const path = fileOf(t, 'cut.html', whole.slice(0, whole.lastIndexOf('"type":"log"')));
   const page = await open(t, `file://${path}`);
   await page.fill('input[type=range]', '200');
   assert.equal(await stateOf(page, 'Ethernet1'), 'held');
   assert.match(await page.textContent('.status'), /^recorded, cut off at 0:0\d:\d\d$/);
   assert.match(await page.textContent('.broken'), /^This run: cut off at .* disk is full/s);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

test('Page.ShowsAStreamThatWasCutOff', async t => {
   const stream = execFileSync(ostra, ['run', '--format', 'ndjson'], { encoding: 'utf8' });
   const path = fileOf(t, 'cut.ndjson', stream.slice(0, stream.lastIndexOf('"type":"log"')));
   const html = execFileSync(ostra, ['run', path, '--format', 'html']);
   const page = await open(t, `file://${fileOf(t, 'cut.html', html)}`);
   assert.equal(await stateOf(page, 'Ethernet1'), 'held');
   assert.equal(await page.textContent('[data-period="nonMlag"]'), 'held');
   assert.match(await page.textContent('.broken'), /until when they are held, is not known/);
   assert.deepEqual(page.problems, []);
});

test('Page.SaysThatARunHasFailed', async t => {
   const whole = readFileSync(new URL(pageOfRun(t)), 'utf8');
   const text = whole.replace('"isTimerLeft":false', '"failure":"no \\u003cb> child","isTimerLeft":true');
   assert.notEqual(text, whole);
   const page = await open(t, `file://${fileOf(t, 'failed.html', text)}`);
   assert.equal(await page.textContent('.status'), 'recorded, failed at 0:05:30');
   assert.match(await page.textContent('.broken'), /^This run: failed at 0:05:30\s*no <b> child\./);
   assert.equal(await page.locator('.broken b').count(), 0);
});

test('Page.ShowsTheAlarmsAtTheEndOfARun', async t => {
   const scenario = readFileSync(`${examples}leaf-reload.yaml`, 'utf8')
      .replace('reloadDelay: 300', 'reloadDelay: .inf');
   const page = await open(t, pageOfRun(t, scenario));
   const card = await page.textContent('.alarms');
   assert.match(card, /^40 alarms at the end of the run\s*heldWithoutEnd\s+Ethernet1-40\s/);
   assert.match(card, /Ends with:\s+\S/);
   assert.ok(!card.includes('`'), card);
   assert.equal(await page.locator('.alarms code').first().textContent(), 'ostra release INTERFACE');
   await page.click('[data-port="Ethernet7"]');
   assert.match(await page.textContent('.own-alarms'), /^heldWithoutEnd: .*Ethernet7/s);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
});

test('Page.SaysWhatWouldReleaseAPortOfARun', async t => {
   const leaf = `${examples}leaf-reload.yaml`;
   const page = await open(t, pageOfRun(t, readFileSync(leaf, 'utf8')));
   const lists = () => page.$$eval('.detail .releasers ul', all => all.map(
      ul => [...ul.children].map(li => li.textContent)));
   for (const [at, port] of [[96.1239, 'Ethernet1'], [329.5, 'Ethernet41']]) {
      await page.fill('input[type=range]', String(at));
      await page.click(`[data-port="${port}"]`);
      const command = await page.textContent('.detail code');
      assert.equal(command, `ostra why ${port} SCENARIO --at ${Math.floor(at * 1000) / 1000}`);
      const args = command.replace('SCENARIO', leaf).split(' ').slice(1);
      const why = JSON.parse(execFileSync(ostra, [...args, '--format', 'json'], { encoding: 'utf8' }));
      const [would, wouldNot] = await lists();
      const says = isSo => why.changes.filter(({ releases }) => releases === isSo)
         .map(({ meaning }) => meaning.replace(/^released by hand.*/, 'it is released by hand'));
      assert.ok(would.length > 1 && wouldNot.length > 0, port);
      // What is of its port-channel alone the command says.
      assert.deepEqual(would, says(true).filter(words => would.includes(words)));
      assert.deepEqual(says(false).filter(words => wouldNot.includes(words)), wouldNot);
      assert.ok(would.includes('it is released by hand'), would.join('\n'));
   }
   assert.deepEqual(await barriers(page), []);
   await page.click('[data-port="Ethernet1"]');
   assert.equal(await page.locator('.detail code').count(), 0);
   assert.deepEqual(await lists(), []);
   assert.deepEqual(page.problems, []);
});

test('Page.ShowsWhatAnEventIsCalled', async t => {
   const scenario = JSON.stringify({
      mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: {}, Ethernet2: {} } } },
      events: [{ at: 60, label: 'somebody <i>pulls</i> the cable',
         ethPhyIntfStatus: { intfStatus: { Ethernet2: null } } }],
   });
   const page = await open(t, pageOfRun(t, scenario));
   const words = 'somebody <i>pulls</i> the cable: Ethernet2 disappears';
   await page.hover('.m-event');
   assert.equal(await page.textContent('.says'), `0:01:00 ${words}`);
   await page.fill('input[type=range]', '60');
   await page.click('[data-port="Ethernet2"]');
   assert.ok((await page.textContent('.detail .log')).includes(words));
   await page.click('[data-port="Ethernet1"]');
   assert.ok(!(await page.textContent('.detail')).includes(words));
   assert.equal(await page.locator('i').count(), 0);
   assert.deepEqual(page.problems, []);
});

test('Page.ShowsEachExample', async t => {
   const names = readdirSync(examples, { recursive: true })
      .filter(name => name.endsWith('.yaml') && !name.startsWith('serve/'));
   assert.ok(names.length > 15, names.join(' '));
   for (const name of names) {
      const scenario = readFileSync(examples + name, 'utf8');
      const page = await open(t, pageOfRun(t, scenario), { viewport: { width: 360, height: 740 } });
      const ports = await portCount(page);
      assert.ok(ports > 0, name);
      await page.fill('input[type=range]', await page.getAttribute('input[type=range]', 'max'));
      await page.click('text=As a table');
      assert.equal(await page.locator('tr[data-row]').count(), ports, name);
      assert.ok(await overflow(page) <= 0, name);
      assert.deepEqual(page.problems, [], name);
      await page.context().close();
   }
});

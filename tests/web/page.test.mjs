// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of a live switch in a browser.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import { isDeepStrictEqual } from 'node:util';

import { entriesOf } from '../../host/web/words.js';
import { barriers, becomes, closeBrowser, entryKeys, isLive, open, passed, stateOf, statusOf,
   until } from './browser.mjs';
import { Host, manyPorts } from './host.mjs';

after(closeBrowser);

/** Of the delay of MLAG ports, in seconds, as the host itself says it. */
const remaining = async host => (await host.json('v1/summary')).mlag.remaining;

/** What has happened, as the host's history has it. */
async function entriesIn(host) {
   const history = await (await fetch(`${host.url}v1/history`)).text();
   return entriesOf(history.trim().split('\n').map(line => JSON.parse(line)));
}

/** The page has each of them once. */
const hasAll = (page, host) => until(async () => isDeepStrictEqual(
   await entryKeys(page), (await entriesIn(host)).map(entry => entry.key).reverse()));

test('Page.ShowsALiveSwitch', async t => {
   const host = await Host.start(t);
   const before = await remaining(host);
   const page = await open(t, host.url);
   // The driver none has no devices.
   await becomes(page, 'Ethernet1', 'unsupported');
   assert.equal(await stateOf(page, 'Ethernet49/1'), 'never');
   // Of two such pages one can tell which is whose.
   assert.equal(await page.title(), `127.0.0.1:${host.port}, ostra`);
   assert.ok((await page.textContent('header')).includes(`127.0.0.1:${host.port}`));
   const left = await page.textContent('[data-period="mlag"]');
   const [minutes, seconds] = left.match(/^(\d):(\d\d)$/).slice(1).map(Number);
   const shown = 60 * minutes + seconds;
   // The page counts in whole seconds.
   assert.ok(shown <= before + 1 && shown >= await remaining(host) - 1, left);
   await until(async () => await page.textContent('[data-period="mlag"]') !== left);
   await page.click('[data-port="Ethernet1"]');
   const detail = await page.textContent('.detail');
   for (const words of ['Ethernet1', 'MLAG port', 'Port-Channel10',
      'errdisabled for the MLAG reload delay', 'the driver none has no devices']) {
      assert.ok(detail.includes(words), words);
   }
   host.ask('release', 'Ethernet1');
   await becomes(page, 'Ethernet1', 'released');
   assert.deepEqual(page.problems, []);
});

test('Page.GoesOnWithoutGapOrDoubleWhenTheHostIsBack', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   host.ask('release', 'Ethernet1');
   await becomes(page, 'Ethernet1', 'released');
   await host.kill();
   await page.waitForSelector('.lost');
   await host.resume();
   host.ask('release', 'Ethernet2');
   await becomes(page, 'Ethernet2', 'released');
   await isLive(page);
   await hasAll(page, host);
   const known = await entriesIn(host);
   assert.equal(known.filter(entry => entry.text.startsWith('the host started')).length, 2);
   // So many are shown without being asked for more.
   assert.ok(known.length < 30);
});

test('Page.GoesOnWhenTheNetworkWasCutForTenSeconds', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   await isLive(page);
   await page.context().setOffline(true);
   await page.waitForSelector('.lost');
   host.ask('release', 'Ethernet1');
   await passed(10000);
   assert.equal(await stateOf(page, 'Ethernet1'), 'unsupported');
   await page.context().setOffline(false);
   await becomes(page, 'Ethernet1', 'released');
   await isLive(page);
   await hasAll(page, host);
});

test('Page.SaysThatTheHostIsBusyAndWhenItIsAskedAgain', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   const status = () => statusOf(page);
   await isLive(page);
   const busy = { status: 503, contentType: 'application/json', body: JSON.stringify({ error:
      { where: 'connections', found: 'too many', expected: 'another try later' } }) };
   await page.route('**/v1/ports', route => route.fulfill(busy));
   await until(async () => /^the host is there and refuses to answer \(503: connections: too many.*tried again every 5 seconds; what is shown is from \d/.test(await status()));
   assert.deepEqual(await barriers(page), []);
   await page.unroute('**/v1/ports');
   await page.route('**/v1/events*', route => route.fulfill(busy));
   await until(async () => /^the host sends no events \(503: .*asked every 5 seconds instead/.test(await status()));
   host.ask('release', 'Ethernet1');
   await becomes(page, 'Ethernet1', 'released');
   await until(async () => (await page.textContent('.last')).includes('Ethernet1'));
   await page.unroute('**/v1/events*');
   await isLive(page);
   assert.ok(page.problems.every(text => text.includes('503')), page.problems.join('\n'));
});

test('Page.ShowsWhatWouldHappenAndChangesNothing', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   const { revision } = await host.json('v1/summary');
   await page.click('text=MLAG becomes inactive');
   await page.click('text=MLAG becomes primary');
   const most = await remaining(host);
   await page.click('text=Show what would happen');
   await page.waitForSelector('.beside');
   const least = await remaining(host);
   const [changed, without] = await page.$$eval('.beside ol', all => all.map(ol => ol.textContent));
   assert.match(changed, /in 0:00:00 *only here.*6 ports released: Ethernet1-6/);
   assert.ok(changed.includes('changed: mlagStatus.mlagState = "mlagPrimary"'), changed);
   const [, minutes, seconds] = without.match(
      /in 0:0(\d):([\d.]+)\s*only here\s*2 ports released: Ethernet1-2/);
   const releasedIn = 60 * minutes + Number(seconds);
   assert.ok(releasedIn <= most && releasedIn >= least, `${most} ${releasedIn} ${least}`);
   assert.equal((await host.json('v1/summary')).revision, revision);
   assert.deepEqual(await barriers(page), []);
   assert.deepEqual(page.problems, []);
   for (const [change, words] of [['{', 'expected JSON'], ['{"no":1}', 'no: ']]) {
      await page.fill('textarea', change);
      await page.click('text=Show what would happen');
      await until(async () => (await page.textContent('.what-if [role=status]')).includes(words));
   }
   // What a proxy says is not the user's fault, and a host that is busy is asked again.
   const answers = [{ status: 502, body: '<html>' },
      { status: 503, headers: { 'Retry-After': '1' }, body: '{"error":{}}' }];
   await page.route('**/v1/forecast', route => answers.length > 1 || answers[0]?.status === 503
      ? route.fulfill(answers.shift()) : route.continue());
   await page.fill('textarea', '{}');
   await page.click('text=Show what would happen');
   await until(async () => (await page.textContent('.what-if [role=status]')).includes('502'));
   await page.click('text=Show what would happen');
   await page.waitForSelector('.beside');
});

test('Page.SaysWhatWouldReleaseAPort', async t => {
   const host = await Host.start(t);
   const page = await open(t, host.url);
   await page.click('[data-port="Ethernet1"]');
   await page.click('text=What would release it now?');
   await until(async () => (await page.textContent('.releasers')).includes('Would not'));
   const [would, wouldNot] = await page.$$eval('.releasers ul', all => all.map(
      ul => [...ul.children].map(li => li.textContent)));
   // As `ostra why` has it.
   assert.deepEqual(would,
      ['it is released by hand', 'MLAG becomes primary', 'MLAG becomes secondary']);
   assert.ok(wouldNot.includes('MLAG becomes inactive'));
   assert.equal(await stateOf(page, 'Ethernet1'), 'unsupported');
   assert.deepEqual(await barriers(page), []);
   await page.route('**/v1/forecast', route => route.fulfill({ status: 409, body: JSON.stringify(
      { error: { where: 'mlagStatus', found: 'owned by the file', expected: 'another' } }) }));
   await page.click('[data-port="Ethernet2"]');
   await page.click('text=What would release it now?');
   await until(async () => (await page.textContent('.releasers')).includes('owned by the file'));
   await page.click('[data-port="Management1"]');
   assert.equal(await page.locator('text=What would release it now?').count(), 0);
   assert.ok(page.problems.every(text => text.includes('409')), page.problems.join('\n'));
});

test('Page.SaysThatTheConnectionIsLostWhereverOneLooks', async t => {
   const host = await Host.start(t, `driver: none\n${manyPorts(200)}`);
   const page = await open(t, host.url, { viewport: { width: 360, height: 740 } });
   await isLive(page);
   await page.focus('[data-port="Ethernet200"]');
   await page.keyboard.press('Enter');
   await page.waitForSelector('.detail');
   await host.kill();
   await page.waitForSelector('.lost');
   const isInSight = selector => page.evaluate(one => {
      const element = document.querySelector(one);
      const { left, top, width, height } = element?.getBoundingClientRect() ?? new DOMRect();
      const there = document.elementFromPoint(left + width / 2, top + height / 2);
      return Boolean(there && element?.contains(there));
   }, selector);
   assert.ok(await page.evaluate(() => scrollY > 500));
   assert.ok(await isInSight('header .status'));
   assert.ok(await isInSight('[data-port="Ethernet200"]'));
   // One sentence, whichever browser it is, and where it is seen.
   await page.click('text=What would release it now?');
   const words = 'the host does not answer; the connection may be lost';
   await until(async () => await page.textContent('.releasers') === words);
   await until(() => isInSight('.releasers'));
   assert.deepEqual(await barriers(page), []);
});

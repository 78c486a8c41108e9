// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What somebody else has written stays a text in the page, and no script runs but its own.

import assert from 'node:assert/strict';
import { after, test } from 'node:test';

import { closeBrowser, open, overflow, until } from './browser.mjs';
import { Host, pageOfRun } from './host.mjs';

after(closeBrowser);

test('Page.TextOfTheTreeIsNoMarkup', async t => {
   const hostile = '</script><img src=x onerror=alert(1)>"\'&amp;\u202e\u05d0' + 'W'.repeat(10000);
   const scenario = JSON.stringify({
      name: hostile,
      mounts: { ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } } },
      events: [{ at: 1, mlagConfig: { domainId: hostile } }],
   });
   const page = await open(t, pageOfRun(t, scenario), { viewport: { width: 360, height: 700 } });
   await page.fill('input[type=range]', '1');
   assert.equal(await page.textContent('h1'), hostile);
   assert.ok(!(await page.title()).includes('\u202e'));
   await page.hover('.m-event');
   assert.ok((await page.textContent('.says bdi')).includes('alert(1)'));
   assert.ok(!(await page.innerHTML('.timeline')).includes('\u202e'));
   assert.equal(await page.locator('img').count(), 0);
   assert.equal(await page.locator('script').count(), 2);
   assert.ok((await page.textContent('.log')).includes('onerror=alert(1)'));
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(page.problems, []);
});

test('Page.TextOfALiveSwitchIsNoMarkup', async t => {
   const host = await Host.start(t,
      'mounts:\n  ethPhyIntfStatus: { intfStatus: { Ethernet1: {} } }\n');
   const page = await open(t, host.url);
   const hostile = '</script><img src=x onerror=alert(1)>"\'&amp;\u202e\u05d0' + 'W'.repeat(2000);
   await host.patch({ mlagConfig: { domainId: hostile } });
   await until(async () => (await page.textContent('.last')).includes('onerror=alert(1)'));
   assert.equal(await page.locator('img').count(), 0);
   assert.equal(await page.locator('script').count(), 2);
   assert.ok(!(await page.innerHTML('.timeline')).includes('\u202e'));
   assert.ok(await overflow(page) <= 0);
   assert.deepEqual(page.problems, []);
});

test('Page.TakesNoScriptButItsOwn', async t => {
   const host = await Host.start(t);
   for (const url of [pageOfRun(t), host.url]) {
      const page = await open(t, url);
      const ran = await page.evaluate(() => {
         const script = document.createElement('script');
         script.textContent = 'window.ranOther = true';
         document.body.append(script);
         return window.ranOther === true;
      });
      assert.equal(ran, false);
      assert.ok(page.problems.some(text => text.includes('Content Security Policy')), page.problems);
   }
});

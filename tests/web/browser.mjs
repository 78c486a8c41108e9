// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A browser that says what went wrong in it, and what tests ask of a page. They wait for what is
// to come, however long a slow or busy machine takes for it.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';

const modules = createRequire(process.env.WEB_MODULES);
const { chromium } = modules('playwright-core');
const axe = readFileSync(modules.resolve('axe-core/axe.min.js'), 'utf8');

/** In milliseconds: what has not come by then will not come. */
const longest = 120000;
const betweenLooks = 50;

/** @param {number} milliseconds */
export const passed = milliseconds => new Promise(resolve => setTimeout(resolve, milliseconds));

/** The browser itself cannot wait for what a text would have to be evaluated for. */
export async function until(isSo) {
   for (const began = performance.now(); !await isSo(); await passed(betweenLooks)) {
      assert.ok(performance.now() - began < longest, `never so: ${isSo}`);
   }
}

/** In the page: when the ports were drawn first, in milliseconds since it was asked for, how many
 * were, and how many blocks that were in sight had none. */
function noteFirstPorts() {
   const observer = new MutationObserver(() => {
      if (document.querySelector('button.port')) {
         observer.disconnect();
         requestAnimationFrame(() => {
            window.portsDrawnFirst = document.querySelectorAll('button.port').length;
            window.emptyInSight = [...document.querySelectorAll('.later')].filter(
               block => block.getBoundingClientRect().top < innerHeight).length;
            setTimeout(() => {
               window.portsDrawnAt = performance.now();
            });
         });
      }
   });
   observer.observe(document, { childList: true, subtree: true });
}

let browser;
export async function closeBrowser() {
   await browser?.close();
}

/** A page in a window of its own. `page.problems`: what the browser complained of. */
export async function open(t, url, options = {}) {
   browser ??= await chromium.launch({ executablePath: '/usr/bin/chromium-headless-shell',
      args: ['--no-sandbox'], timeout: longest });
   const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, ...options });
   t.after(() => context.close());
   context.setDefaultTimeout(longest);
   const page = await context.newPage();
   page.problems = [];
   page.on('console', message => {
      if (message.type() === 'error' || message.type() === 'warning') {
         page.problems.push(message.text());
      }
   });
   page.on('pageerror', error => page.problems.push(error.stack));
   await page.addInitScript(noteFirstPorts);
   // Counted from here on.
   await coreSeconds(page);
   await page.goto(url);
   await page.waitForSelector('button.port');
   return page;
}

/** How many ports there are, once those out of sight are drawn, too. */
export async function portCount(page) {
   await page.waitForSelector('.later', { state: 'detached' });
   return page.locator('button.port').count();
}

export const stateOf = (page, name) => page.getAttribute(`[data-port="${name}"]`, 'data-state');
export const becomes = (page, name, state) =>
   page.waitForSelector(`[data-port="${name}"][data-state="${state}"]`);
/** What happened, the newest first. */
export const entryKeys = page => page.$$eval('li[data-seq]', all => all.map(li => li.dataset.seq));
/** How it stands with the host. */
export const statusOf = page => page.textContent('header [role=status]');
export const isLive = page => until(async () => (await statusOf(page)).startsWith('live'));

/** What makes the page hard to use for somebody: of the two worst degrees. */
export async function barriers(page) {
   // As the browser's own tools do it, beside the page's content security policy.
   await page.evaluate(axe);
   const { violations } = await page.evaluate('axe.run()');
   return violations.filter(v => v.impact === 'serious' || v.impact === 'critical')
      .flatMap(v => v.nodes.slice(0, 3).map(node => `${v.id}: ${node.html.slice(0, 200)}`));
}

/** Seconds of a core that the page itself has used so far. */
export async function coreSeconds(page) {
   page.session ??= await page.context().newCDPSession(page).then(async session => {
      await session.send('Performance.enable', { timeDomain: 'threadTicks' });
      return session;
   });
   const { metrics } = await page.session.send('Performance.getMetrics');
   return metrics.find(metric => metric.name === 'TaskDuration').value;
}

/** What a page needs of a core for it on a machine that is not slow, in seconds. */
const usualWork = 0.05;

/** How many times slower than usual this machine is just now; 1 where it is not. */
export async function slowness(page) {
   const before = await coreSeconds(page);
   await page.evaluate(() => {
      const list = document.createElement('ul');
      for (let i = 0; i < 20000; ++i) {
         const item = document.createElement('li');
         item.className = `item-${i}`;
         item.textContent = `${i} ${JSON.stringify({ i })}`;
         list.append(item);
      }
      return list.textContent.length;
   });
   return Math.max(1, (await coreSeconds(page) - before) / usualWork);
}

/** No more than the window is wide, so that nobody has to scroll sideways. */
export function overflow(page) {
   return page.evaluate(() =>
      document.documentElement.scrollWidth - document.documentElement.clientWidth);
}

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host to look at, runs as pages, and a browser that says what went wrong in it.

import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { request } from 'node:http';
import { createRequire } from 'node:module';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const modules = createRequire(process.env.WEB_MODULES);
const { chromium } = modules('playwright-core');
const axe = readFileSync(modules.resolve('axe-core/axe.min.js'), 'utf8');

export const ostra = process.env.OSTRA;
export const examples = new URL('../../examples/', import.meta.url).pathname;

async function freePort() {
   const server = createServer();
   await new Promise(resolve => server.listen(0, '127.0.0.1', resolve));
   const { port } = server.address();
   await new Promise(resolve => server.close(resolve));
   return port;
}

/** A directory that goes with the test. */
export function directory(t) {
   const path = mkdtempSync(join(tmpdir(), 'ostra-page-'));
   t.after(() => rmSync(path, { recursive: true, force: true }));
   return path;
}

/** The mounts of the switch for trying out. */
export const demonstration = readFileSync(`${examples}serve/leaf.yaml`, 'utf8')
   .replace(/[^]*\nmounts:/, 'mounts:');

/** A live host with these mounts, which ends with the test. */
export class Host {
   static async start(t, mounts = demonstration) {
      const host = new Host();
      host.directory = directory(t);
      host.port = await freePort();
      host.url = `http://127.0.0.1:${host.port}/`;
      writeFileSync(`${host.directory}/ostra.yaml`,
         `state: ${host.directory}/state\n` +
         `listen: [ { unix: ${host.directory}/socket }, { tcp: 127.0.0.1:${host.port} } ]\n${mounts}`);
      t.after(() => host.kill());
      await host.resume();
      return host;
   }

   async resume() {
      this.process = spawn(ostra, ['serve', '--config', `${this.directory}/ostra.yaml`],
         { stdio: 'ignore' });
      for (let tries = 0; ; ++tries) {
         try {
            await fetch(`${this.url}healthz`);
            return;
         } catch (error) {
            if (tries > 200) {
               throw error;
            }
            await new Promise(resolve => setTimeout(resolve, 50));
         }
      }
   }

   async kill() {
      if (this.process && this.process.exitCode === null && this.process.signalCode === null) {
         const ended = new Promise(resolve => this.process.once('exit', resolve));
         this.process.kill('SIGKILL');
         await ended;
      }
   }

   /** As a client that may write. */
   ask(...args) {
      return execFileSync(ostra, [...args, '--socket', `${this.directory}/socket`], { encoding: 'utf8' });
   }

   /** The same without a process for each, for many: a patch of the state. */
   patch(changes) {
      const body = JSON.stringify(changes);
      return new Promise((resolve, reject) => {
         const asked = request({
            socketPath: `${this.directory}/socket`, path: '/v1/state', method: 'PATCH',
            headers: { Host: 'localhost', 'Content-Type': 'application/json' },
         }, answer => {
            answer.resume();
            answer.on('end', () => answer.statusCode === 200 ? resolve() : reject(
               new Error(`status ${answer.statusCode}`)));
         });
         asked.on('error', reject);
         asked.end(body);
      });
   }

   async json(path) {
      return (await fetch(this.url + path)).json();
   }
}

/** A file with the page of that run. */
export function pageOfRun(t, scenario) {
   const directoryOfTest = directory(t);
   const path = join(directoryOfTest, 'run.html');
   const args = ['run', '--format', 'html', ...scenario ? ['-'] : []];
   writeFileSync(path, execFileSync(ostra, args, { input: scenario ?? '', maxBuffer: 1 << 28 }));
   return `file://${path}`;
}

/** In the page: when the ports were drawn first, in milliseconds since it was asked for. */
function noteFirstPorts() {
   const observer = new MutationObserver(() => {
      if (document.querySelector('button.port')) {
         observer.disconnect();
         requestAnimationFrame(() => setTimeout(() => {
            window.portsDrawnAt = performance.now();
         }));
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
   browser ??= await chromium.launch(
      { executablePath: '/usr/bin/chromium-headless-shell', args: ['--no-sandbox'] });
   const context = await browser.newContext({ viewport: { width: 1280, height: 800 }, ...options });
   t.after(() => context.close());
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
   await page.waitForSelector('button.port', { timeout: 20000 });
   return page;
}

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

/** No more than the window is wide, so that nobody has to scroll sideways. */
export function overflow(page) {
   return page.evaluate(() =>
      document.documentElement.scrollWidth - document.documentElement.clientWidth);
}

/** Ethernet1 and so on, half of them in port-channels of two. */
export function manyPorts(count) {
   const ports = [];
   const lags = [];
   const mlag = [];
   for (let i = 1; i <= count; ++i) {
      ports.push(`Ethernet${i}: {}`);
      if (i <= count / 2) {
         const lag = `Port-Channel${Math.ceil(i / 2)}`;
         lags.push(`Ethernet${i}: { lag: ${lag}, mode: lacpActive }`);
         if (i % 2) {
            mlag.push(`${lag}: { mlagId: "${i}" }`);
         }
      }
   }
   return `mounts:
  mlagConfig:
    { enabled: true, domainId: pod1, localInterface: Vlan4094, peerAddress: 10.255.255.2,
      peerLinkIntf: Port-Channel1000, reloadDelay: 300, intfConfig: { ${mlag.join(', ')} } }
  ethPhyIntfStatus: { intfStatus: { ${ports.join(', ')} } }
  lagInputConfig: { phyIntf: { ${lags.join(', ')} } }
`;
}

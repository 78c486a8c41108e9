// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host to look at, and runs as pages.

import { execFileSync, spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { request } from 'node:http';
import { createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { until } from './browser.mjs';

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
function directory(t) {
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
      await until(() => fetch(`${this.url}healthz`).then(() => true, () => false));
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

/** A file of the test's own with that text. */
export function fileOf(t, name, text) {
   const path = join(directory(t), name);
   writeFileSync(path, text);
   return path;
}

/** A file with the page of that run. */
export function pageOfRun(t, scenario) {
   const args = ['run', '--format', 'html', ...scenario ? ['-'] : []];
   const page = execFileSync(ostra, args, { input: scenario ?? '', maxBuffer: 1 << 28 });
   return `file://${fileOf(t, 'run.html', page)}`;
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

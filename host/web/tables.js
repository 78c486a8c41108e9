// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The ports, and what happened, as tables.

import { classWords, duration, secondsLeft, stateOf, portStates } from './model.js';
import { compareNames } from './names.js';
import { Foreign, html, notAlike, reasonOf, StateMark, useState } from './parts.js';

/** @typedef {import('./model.js').Port} Port */
/** @typedef {import('./words.js').Entry} Entry */

/** @param {{ title: string, ports: Map<string, Port>, now: number, selected: string|null,
 *            onSelect: (name: string) => void, others?: Set<string> }} props */
export function PortTable({ title, ports, now, selected, onSelect, others }) {
   const sorted = [...ports.values()].sort((a, b) => compareNames(a.name, b.name));
   return html`<div class="scroll" tabindex="0" role="region" aria-label=${`${title} as a table`}>
      <table class="ports">
      <thead><tr><th scope="col">Port</th><th scope="col">State</th><th scope="col">Left</th>
         <th scope="col">Why</th><th scope="col">Class</th><th scope="col">Port-channel</th></tr></thead>
      <tbody>${sorted.map(port => {
         const state = stateOf(port);
         const left = secondsLeft(port, now);
         return html`<tr key=${port.name} data-row=${port.name}
            class=${port.name === selected ? 'selected' : ''}>
            <th scope="row"><button type="button" class="link" data-port=${port.name}
               aria-current=${port.name === selected ? 'true' : 'false'}
               onClick=${() => onSelect(port.name)}>
               <${Foreign}>${port.name}<//></button></th>
            <td><${StateMark} state=${state} /> ${portStates[state].words}${others?.has(port.name)
               && html`, <b>${notAlike}</b>`}</td>
            <td class="number">${left === null ? '' : duration(left)}</td>
            <td><${Foreign}>${reasonOf(port)}<//></td>
            <td>${classWords[port.class] ?? port.class}</td>
            <td>${port.portChannel ?? ''}</td></tr>`;
      })}</tbody></table>
   </div>`;
}

const mostDifferences = 500;

/** What differs between two runs.
 * @param {{ differences: import('./compare.js').Difference[] }} props */
export function Differences({ differences }) {
   return html`<section class="card" aria-label="What differs"><h2>What differs</h2>
      ${differences.length === 0 ? html`<p>Nothing: the same ports were held and released at the
         same times, and the same was told.</p>` : html`
      <div class="scroll" tabindex="0" role="region" aria-label="What differs, as a table">
      <table class="differences">
      <thead><tr><th scope="col">Ports or message</th><th scope="col">What</th>
         <th scope="col">A</th><th scope="col">B</th></tr></thead>
      <tbody>${differences.slice(0, mostDifferences).map(({ of, what, a, b }) => html`
         <tr key=${`${what} ${of}`}><th scope="row"><${Foreign}>${of}<//></th><td>${what}</td>
            <td><${Foreign}>${a || '–'}<//></td><td><${Foreign}>${b || '–'}<//></td></tr>`)}
      </tbody></table></div>`}
      ${differences.length > mostDifferences &&
         html`<p class="small">And ${differences.length - mostDifferences} more.</p>`}
   </section>`;
}

const firstEntries = 30;

/** The newest first.
 * @param {{ title: string, id?: string, entries: Entry[], whenOf: (t: number, time: string|null) => string }} props */
export function Log({ title, id, entries, whenOf }) {
   const [shown, setShown] = useState(firstEntries);
   const newest = entries.slice(-shown).reverse();
   return html`<section class="card" id=${id} aria-label=${title}>
      <h2>${title}</h2>
      ${entries.length === 0 && html`<p class="small">Nothing yet.</p>`}
      <ol class="log" tabindex="0" aria-label=${`${title}, the newest first`}>${newest.map(entry => html`
         <li key=${entry.key} class=${`e-${entry.kind}`} data-seq=${entry.key}>
            <time>${whenOf(entry.t, entry.time)}</time> <${Foreign}>${entry.text}<//></li>`)}</ol>
      ${entries.length > shown && html`<button type="button"
         onClick=${() => setShown(shown * 4)}>Show more of ${entries.length}</button>`}
   </section>`;
}

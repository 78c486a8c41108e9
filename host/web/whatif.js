// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What would happen if something were changed, beside what would happen without it. The host
// plays both on a copy of itself; nothing is changed.

import { instant } from './model.js';
import { Foreign, html, useState } from './parts.js';
import { entriesOf, onlyIn } from './words.js';

/** @typedef {import('./words.js').Entry} Entry */
/** @typedef {{ with: Entry[], without: Entry[] }} Outcome */

/** What people ask for most; anything else can be written.
 * @type {{ words: string, patch: any }[]} */
const choices = [
   { words: 'MLAG becomes primary', patch: { mlagStatus: { mlagState: 'mlagPrimary' } } },
   { words: 'MLAG becomes secondary', patch: { mlagStatus: { mlagState: 'mlagSecondary' } } },
   { words: 'MLAG becomes inactive', patch: { mlagStatus: { mlagState: 'mlagInactive' } } },
   { words: 'a secondary does not hold', patch: { mlagProtoStatus: { holdInSecondary: false } } },
];

/** @param {any} patch undefined: nothing is changed @returns {Promise<Entry[]>} */
async function forecast(patch) {
   const response = await fetch('/v1/forecast', {
      method: 'POST',
      headers: { 'Content-Type': 'application/json' },
      body: JSON.stringify(patch === undefined ? {} : { patch }),
   });
   const text = await response.text();
   if (!response.ok) {
      const { where, found, expected } = JSON.parse(text).error;
      throw new Error(`${where}: ${found}: expected ${expected}`);
   }
   const lines = text.split('\n').filter(line => line);
   return entriesOf(lines.map(line => JSON.parse(line)));
}

/** @param {{ title: string, entries: Entry[], marked: Set<string> }} props */
function Column({ title, entries, marked }) {
   return html`<div><h3>${title}</h3>
      ${entries.length === 0 && html`<p class="small">Nothing would happen.</p>`}
      <ol class="log" tabindex="0" aria-label=${title}>${entries.map(entry => html`
         <li key=${entry.key} class=${`e-${entry.kind}`}><time>in ${instant(entry.t)}</time>
            ${marked.has(entry.key) && html`<b class="differs">only here</b>`}
            <${Foreign}>${entry.text}<//></li>`)}</ol></div>`;
}

export function WhatIf() {
   const [text, setText] = useState(JSON.stringify(choices[0].patch));
   const [outcome, setOutcome] = useState(/** @type {Outcome|null} */ (null));
   const [says, setSays] = useState('');
   const ask = async () => {
      setSays('asking');
      setOutcome(null);
      try {
         const patch = JSON.parse(text);
         // One after the other: the host makes one at a time for the network.
         const changed = await forecast(patch);
         setOutcome({ with: changed, without: await forecast(undefined) });
         setSays('nothing was changed');
      } catch (error) {
         setSays(error instanceof SyntaxError
            ? `the change: ${error.message}: expected JSON` : String(/** @type {Error} */ (error).message));
      }
   };
   return html`<section class="card what-if" aria-label="What if">
      <h2>What if</h2>
      <p class="choices">${choices.map(choice => html`<button type="button" key=${choice.words}
         onClick=${() => setText(JSON.stringify(choice.patch))}>${choice.words}</button>`)}</p>
      <label>The change, as JSON
         <textarea rows="2" spellcheck="false" value=${text}
            onInput=${(/** @type {any} */ event) => setText(event.target.value)}></textarea></label>
      <p class="choices"><button type="button" onClick=${ask}>Show what would happen</button>
         <span role="status" class="small"><${Foreign}>${says}<//></span></p>
      ${outcome && html`<div class="beside">
         <${Column} title="With the change" entries=${outcome.with}
            marked=${onlyIn(outcome.with, outcome.without)} />
         <${Column} title="Without it" entries=${outcome.without}
            marked=${onlyIn(outcome.without, outcome.with)} /></div>`}
   </section>`;
}

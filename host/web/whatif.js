// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What would happen if something were changed, beside what would happen without it. The host
// plays both on a copy of itself; nothing is changed.

import { forecast, Unreachable } from './host.js';
import { instant } from './model.js';
import { Foreign, html, useEffect, useRef, useState } from './parts.js';
import { entriesOf, onlyIn } from './words.js';

/** @typedef {import('./model.js').Port} Port */
/** @typedef {import('./model.js').Releaser} Releaser */
/** @typedef {import('./words.js').Entry} Entry */
/** `between`: no more seconds are between them.
 * @typedef {{ with: Entry[], without: Entry[], between: number }} Outcome */

/** What people ask for most; anything else can be written.
 * @type {{ words: string, patch: any }[]} */
const choices = [
   { words: 'MLAG becomes primary', patch: { mlagStatus: { mlagState: 'mlagPrimary' } } },
   { words: 'MLAG becomes secondary', patch: { mlagStatus: { mlagState: 'mlagSecondary' } } },
   { words: 'MLAG becomes inactive', patch: { mlagStatus: { mlagState: 'mlagInactive' } } },
   { words: 'a secondary does not hold', patch: { mlagProtoStatus: { holdInSecondary: false } } },
];


/** Of a port that is held: the changes that release it now, each asked of the host. Throws what
 * forecast() throws when nobody is there.
 * @param {Port} port @returns {Promise<Releaser[]>} */
async function releasersOf(port) {
   const isErrdisabled = port.hold?.kind === 'errdisable';
   const path = (isErrdisabled ? ['mlagissuCause', 'intfStatus', port.name]
      : ['lacpConfig', 'portChannel', port.portChannel ?? '', 'stayInStandby']).join('\n');
   const byHand = isErrdisabled ? [{
      words: 'it is released by hand', patch: { mlagissuCause: { intfStatus: { [port.name]: null } } },
   }] : [];
   /** @type {Releaser[]} */
   const answers = [];
   for (const { words, patch } of [...byHand, ...choices]) {
      try {
         const records = await forecast({ patch, until: 0 });
         const isSo = records.some(record => record.type === 'write' &&
            record.path.join('\n') === path && !record.value && record.value !== 0);
         answers.push({ words, isSo, why: '' });
      } catch (error) {
         if (error instanceof Unreachable) {
            throw error;
         }
         answers.push({ words, isSo: null, why: String(/** @type {Error} */ (error).message) });
      }
   }
   return answers;
}

/** @type {[boolean|null, string][]} */
const groups = [
   [true, 'Would release it now'], [false, 'Would not'], [null, 'Could not be asked'],
];

/** What of it there is. @param {{ answers: Releaser[] }} props */
export function Answers({ answers }) {
   return html`${groups.map(([isSo, title]) => {
      const some = answers.filter(answer => answer.isSo === isSo);
      return some.length > 0 && html`<b>${title}</b><ul>${some.map(
         answer => html`<li key=${answer.words}>${answer.words}${answer.why &&
            html`: <${Foreign}>${answer.why}<//>`}</li>`)}</ul>`;
   })}`;
}

/** @param {{ port: Port }} props */
export function Releasers({ port }) {
   const [answers, setAnswers] = useState(/** @type {Releaser[]} */ ([]));
   const [isAsking, setAsking] = useState(false);
   const [says, setSays] = useState('');
   const told = useRef(/** @type {HTMLElement|null} */ (null));
   // They may be below what is in sight.
   useEffect(() => {
      if (answers.length || says) {
         told.current?.scrollIntoView({ block: 'nearest' });
      }
   }, [answers, says]);
   const ask = async () => {
      if (isAsking) {
         return;
      }
      setAsking(true);
      try {
         setAnswers(await releasersOf(port));
         setSays('');
      } catch (error) {
         setAnswers([]);
         setSays(String(/** @type {Error} */ (error).message));
      }
      setAsking(false);
   };
   return html`<p class="choices"><button type="button" aria-disabled=${isAsking ? 'true' : 'false'}
         onClick=${ask}>What would release it now?</button></p>
      <div role="status" class="releasers" ref=${told}>${says}<${Answers} answers=${answers} /></div>`;
}

/** @param {{ title: string, entries: Entry[], marked: Set<string> }} props */
function Column({ title, entries, marked }) {
   return html`<div><h3>${title}</h3>
      ${entries.length === 0 && html`<p class="small">Nothing would happen.</p>`}
      <ol class="log" tabindex="0" aria-label=${title}>${entries.map(entry => html`
         <li key=${entry.key} class=${`e-${entry.kind}`}><time>in ${instant(entry.t)}</time>
            ${' '}${marked.has(entry.key) && html`<b class="differs">only here</b> `}
            <${Foreign}>${entry.text}<//></li>`)}</ol></div>`;
}

export function WhatIf() {
   const [text, setText] = useState(JSON.stringify(choices[0].patch));
   const [outcome, setOutcome] = useState(/** @type {Outcome|null} */ (null));
   const [says, setSays] = useState('');
   const [isAsking, setAsking] = useState(false);
   const ask = async () => {
      if (isAsking) {
         return;
      }
      let patch;
      try {
         patch = JSON.parse(text);
      } catch (error) {
         setSays(`the change: ${/** @type {Error} */ (error).message}: expected JSON`);
         return;
      }
      setSays('asking');
      setAsking(true);
      setOutcome(null);
      try {
         // One after the other: the host makes one at a time for the network.
         const began = performance.now();
         const records = await forecast({ patch });
         // The event is the change, which the forecast does not say again.
         const changed = entriesOf(records.map(
            record => record.type === 'event' ? { ...record, patch } : record));
         const without = entriesOf(await forecast({}));
         const between = (performance.now() - began) / 1000;
         setOutcome({ with: changed, without, between });
         setSays('nothing was changed');
      } catch (error) {
         setSays(String(/** @type {Error} */ (error).message));
      }
      setAsking(false);
   };
   return html`<section class="card what-if" aria-label="What if">
      <h2>What if</h2>
      <p class="choices">${choices.map(choice => html`<button type="button" key=${choice.words}
         onClick=${() => setText(JSON.stringify(choice.patch))}>${choice.words}</button>`)}</p>
      <label>The change, as JSON
         <textarea rows="2" spellcheck="false" value=${text}
            onInput=${(/** @type {any} */ event) => setText(event.target.value)}></textarea></label>
      <p class="choices"><button type="button" aria-disabled=${isAsking ? 'true' : 'false'}
         onClick=${ask}>Show what would happen</button>
         <span role="status" class="small"><${Foreign}>${says}<//></span></p>
      ${outcome && html`<div class="beside">
         <${Column} title="With the change" entries=${outcome.with}
            marked=${onlyIn(outcome.with, outcome.without, outcome.between)} />
         <${Column} title="Without it" entries=${outcome.without}
            marked=${onlyIn(outcome.without, outcome.with, outcome.between)} /></div>`}
   </section>`;
}

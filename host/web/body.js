// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What both kinds of page have: the switch at one time, with what leads to it.

import { Detail } from './detail.js';
import { Faceplate, Legend, manyPorts } from './faceplate.js';
import { Foreign, html, useState } from './parts.js';
import { Summary } from './summary.js';
import { Log, PortTable } from './tables.js';
import { TimeLine } from './timeline.js';

/** @typedef {import('./model.js').Period} Period */
/** @typedef {import('./model.js').Port} Port */

/** Where one would have to scroll for long to. */
function Jumps() {
   return html`<nav class="jumps" aria-label="Below the ports">
      <a href="#time-line">Time line</a> <a href="#happened">What happened</a></nav>`;
}

/** What the page of a live switch and that of a run have: at the time `now`, which is told as
 * `whenOf` has it and `zero` is the beginning of.
 * @param {{ ports: Map<string, Port>, periods: { mlag: Period, nonMlag: Period },
 *           alarms: import('./model.js').Alarm[], alarmsWhen?: string,
 *           entries: import('./words.js').Entry[], story: import('./story.js').Story,
 *           now: number, zero: number, whenOf: (t: number, time: string|null) => string,
 *           onCursor?: (t: number) => void, top?: any, above?: any, below?: any,
 *           moreOf?: (port: Port) => any }} props `moreOf`: what its detail has beside */
export function Body({ ports, periods, alarms, alarmsWhen = '', entries, story, now, zero, whenOf,
   onCursor, top, above, below, moreOf }) {
   const [selected, setSelected] = useState(/** @type {string|null} */ (null));
   const [isTable, setTable] = useState(false);
   const port = selected === null ? undefined : ports.get(selected);
   const onSelect = (/** @type {string|null} */ name) => {
      setSelected(name);
      // Where the keyboard goes on when the detail has gone.
      if (name === null && selected !== null) {
         const button = [...document.querySelectorAll('.plate button[data-port]')]
            .find(b => b.getAttribute('data-port') === selected);
         /** @type {HTMLElement|undefined} */ (button)?.focus();
      }
   };
   const last = entries.length ? entries[entries.length - 1] : null;
   const onKey = (/** @type {KeyboardEvent} */ event) => {
      const { tagName } = /** @type {Element} */ (event.target);
      if (event.key === 'Escape' && tagName !== 'TEXTAREA' && tagName !== 'INPUT') {
         onSelect(null);
      }
   };
   return html`<main onKeyDown=${onKey}>
      ${top}
      <${Summary} ports=${ports} periods=${periods} alarms=${alarms}
         alarmsWhen=${alarmsWhen} now=${now} last=${last}
         lastWhen=${last ? whenOf(last.t, last.time) : ''} onSelect=${onSelect} />
      ${above}
      ${ports.size > manyPorts && html`<${Jumps} />`}
      <div class=${`columns ${port ? 'two' : ''}`}>
         <section class="card plate" aria-label="Ports">
            <div class="bar"><h2>Ports</h2>
               <button type="button" aria-pressed=${isTable ? 'true' : 'false'}
                  onClick=${() => setTable(!isTable)}>As a table</button></div>
            ${isTable
               ? html`<${PortTable} ports=${ports} now=${now} selected=${selected} onSelect=${onSelect} />`
               : html`<${Legend} ports=${ports} />
                  <${Faceplate} ports=${ports} now=${now} selected=${selected} onSelect=${onSelect} />`}
         </section>
         ${port && html`<${Detail} key=${selected} port=${port} ports=${ports} now=${now}
            entries=${entries} alarms=${alarms} whenOf=${whenOf} onSelect=${onSelect}
            more=${moreOf && moreOf(port)} />`}
      </div>
      <${TimeLine} lines=${[{ story, name: '' }]} cursor=${now} zero=${zero} onCursor=${onCursor} onSelect=${onSelect} />
      ${below}
      <${Log} entries=${entries} whenOf=${whenOf} />
   </main>`;
}

/** @param {{ title: string, status: any, version: string }} props */
export function Header({ title, status, version }) {
   return html`<header><h1><${Foreign}>${title}<//></h1>
      <p class="status" role="status">${status}</p>
      <p class="small">${version && `ostra ${version}`}</p></header>`;
}

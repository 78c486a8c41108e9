// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What both kinds of page have: the switch at one time, with what leads to it.

import { Detail } from './detail.js';
import { manyPorts } from './faceplate.js';
import { Foreign, html } from './parts.js';
import { Plate, useSelection } from './plate.js';
import { Summary } from './summary.js';
import { Log } from './tables.js';
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
   const [selected, onSelect, onKey] = useSelection();
   const port = selected === null ? undefined : ports.get(selected);
   // Of what people ask for, if there is any.
   const last = entries.filter(({ kind }) => kind !== 'other').at(-1) ?? entries.at(-1) ?? null;
   return html`<main onKeyDown=${onKey}>
      ${top}
      <${Summary} ports=${ports} periods=${periods} alarms=${alarms}
         alarmsWhen=${alarmsWhen} now=${now} last=${last}
         lastWhen=${last ? whenOf(last.t, last.time) : ''} onSelect=${onSelect} />
      ${above}
      ${ports.size > manyPorts && html`<${Jumps} />`}
      <div class=${`columns ${port ? 'two' : ''}`}>
         <${Plate} title="Ports" ports=${ports} now=${now} selected=${selected} onSelect=${onSelect} />
         ${port && html`<${Detail} key=${selected} port=${port} ports=${ports} now=${now}
            entries=${entries} alarms=${alarms} whenOf=${whenOf} onSelect=${onSelect}
            more=${moreOf && moreOf(port)} />`}
         <div class="rest">
            <${TimeLine} lines=${[{ story, name: '' }]} cursor=${now} zero=${zero} onCursor=${onCursor}
               onSelect=${onSelect} />
            ${below}
            <${Log} title="What happened" id="happened" entries=${entries} whenOf=${whenOf} />
         </div>
      </div>
   </main>`;
}

/** @param {{ title: string, status: any, version: string }} props */
export function Header({ title, status, version }) {
   return html`<header><h1><${Foreign}>${title}<//></h1>
      <p class="status" role="status">${status}</p>
      <p class="small">${version && `ostra ${version}`}</p></header>`;
}

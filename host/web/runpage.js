// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of a run that is over, at any time of it.

import { Body, Header } from './body.js';
import { duration, instant } from './model.js';
import { Foreign, html, useEffect, useMemo, useRef, useState } from './parts.js';
import { Answers } from './whatif.js';

/** @typedef {import('./recorded.js').Recorded} Recorded */

/** Seconds of the run in one of play. */
const speed = 30;
/** In milliseconds. */
const betweenPictures = 100;

/** @param {{ t: number, end: number, onTime: (t: number) => void }} props */
export function Player({ t, end, onTime }) {
   const [isPlaying, setPlaying] = useState(false);
   const at = useRef(t);
   at.current = t;
   useEffect(() => {
      if (!isPlaying) {
         return undefined;
      }
      let last = performance.now();
      const timer = setInterval(() => {
         // A picture that takes long makes longer steps, and not a slower run.
         const now = performance.now();
         const next = Math.min(end, at.current + speed * (now - last) / 1000);
         last = now;
         onTime(next);
         if (next === end) {
            setPlaying(false);
         }
      }, betweenPictures);
      return () => clearInterval(timer);
   }, [isPlaying]);
   return html`<section class="card player" aria-label="Time">
      <button type="button" onClick=${() => {
         if (t >= end) {
            onTime(0);
         }
         setPlaying(!isPlaying);
      }}>${isPlaying ? 'Pause' : 'Play'}</button>
      <input type="range" aria-label="Time in the run" aria-valuetext=${instant(t)} min="0" max=${end}
         step="any" value=${t} onInput=${(/** @type {any} */ e) => onTime(Number(e.target.value))}
         onKeyDown=${(/** @type {KeyboardEvent} */ e) => {
            /** @type {{ [key: string]: number }} */
            const steps = { ArrowLeft: -1, ArrowRight: 1, ArrowDown: -1, ArrowUp: 1,
               PageDown: -30, PageUp: 30 };
            if (e.key in steps) {
               e.preventDefault();
               onTime(Math.min(end, Math.max(0, Math.round(t) + steps[e.key])));
            }
         }} />
      <output>${instant(Math.round(t * 1000) / 1000)} of ${duration(end)}</output>
   </section>`;
}

/** Of a run that did not come to its end.
 * @param {{ run: Recorded, name?: string }} props */
export function Broken({ run, name = 'This run' }) {
   return run.ending.why && html`<section class="card broken" role="alert">
      <h2>${name}: ${run.endWords}</h2>
      <p><${Foreign}>${run.ending.why}<//>. What is shown is up to there.</p></section>`;
}

/** What would release a port, as it was tried when the run was played; the rest the command says.
 * @param {{ port: import('./model.js').Port, recorded: Recorded, t: number }} props */
function Tried({ port, recorded, t }) {
   const answers = recorded.releasersOf(port, t);
   const at = Math.floor(t * 1000) / 1000;
   return html`${answers && html`<div class="releasers"><${Answers} answers=${answers} /></div>`}
      <p class="small"><code>ostra why <${Foreign}>${port.name}<//> SCENARIO
      ${' '}<span class="together">--at ${at}</span></code> asks the plug-in what ${answers && 'else '}would
      release it now; SCENARIO is the file of this run.</p>`;
}

/** @param {{ recorded: Recorded }} props */
export function RecordedPage({ recorded }) {
   const [t, setTime] = useState(0);
   const ports = useMemo(() => recorded.portsAt(t), [t]);
   const entries = useMemo(() => recorded.entriesUntil(t), [t]);
   const { story } = recorded;
   return html`
      <${Header} title=${recorded.name || 'A reload'} version=${recorded.version}
         status=${['recorded', recorded.endWords].filter(words => words).join(', ')} />
      <${Body} ports=${ports} periods=${recorded.periodsAt(t)} alarms=${recorded.alarms ?? []}
         alarmsWhen=" at the end of the run" entries=${entries}
         story=${story} now=${t} zero=${0} whenOf=${(/** @type {number} */ at) => instant(at)}
         onCursor=${setTime} moreOf=${(/** @type {import('./model.js').Port} */ port) =>
            port.hold && html`<${Tried} port=${port} recorded=${recorded} t=${t} />`}
         top=${html`<${Broken} run=${recorded} />`}
         above=${html`<${Player} t=${t} end=${story.end} onTime=${setTime} />`} />`;
}

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The pages of runs that are over: of one at any time of it, and of two beside each other.

import { Body, Header } from './body.js';
import { differencesOf, otherPorts, spansText } from './compare.js';
import { Faceplate, Legend } from './faceplate.js';
import { duration, instant, stateOf } from './model.js';
import { Foreign, html, standingOf, StateMark, useEffect, useMemo, useRef, useState } from './parts.js';
import { Differences } from './tables.js';
import { TimeLine } from './timeline.js';

/** @typedef {import('./recorded.js').Recorded} Recorded */

/** Seconds of the run in one of play. */
const speed = 30;
/** In milliseconds. */
const betweenPictures = 100;
/** What two runs are called. */
const letters = ['A', 'B'];

/** @param {{ t: number, end: number, onTime: (t: number) => void }} props */
function Player({ t, end, onTime }) {
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
function Broken({ run, name = 'This run' }) {
   return run.ending.why && html`<section class="card broken" role="alert">
      <h2>${name}: ${run.endWords}</h2>
      <p><${Foreign}>${run.ending.why}<//>. What is shown is up to there.</p></section>`;
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
         onCursor=${setTime}
         top=${html`<${Broken} run=${recorded} />`}
         above=${html`<${Player} t=${t} end=${story.end} onTime=${setTime} />`} />`;
}

/** One port in both runs: how it stands at this time, and when it was held.
 * @param {{ name: string, runs: Recorded[], ports: Map<string, import('./model.js').Port>[],
 *           now: number, onClose: () => void }} props */
function PortInBoth({ name, runs, ports, now, onClose }) {
   return html`<section class="card detail" aria-labelledby="both-name">
      <div class="bar"><h2 id="both-name"><${Foreign}>${name}<//></h2>
         <button type="button" onClick=${onClose}>Close</button></div>
      <dl>${runs.map((run, i) => {
         const port = ports[i].get(name);
         const spans = spansText(run.spans.get(name) ?? []);
         return html`<div key=${i}><dt>${letters[i]}</dt><dd>${port ? html`
            <${StateMark} state=${stateOf(port)} /> <b>${standingOf(port, now)}</b>
            ${port.reason && html`: <${Foreign}>${port.reason}<//>`}` : 'is not there'}
            <br /><${Foreign}>${spans || 'never held'}<//></dd></div>`;
      })}</dl>
   </section>`;
}

/** Two runs on one line of time: what differs, and the ports of both at any time.
 * @param {{ runs: Recorded[] }} props */
export function ComparePage({ runs }) {
   const [t, setTime] = useState(0);
   const [selected, setSelected] = useState(/** @type {string|null} */ (null));
   const onSelect = (/** @type {string} */ name) => setSelected(name === selected ? null : name);
   const differences = useMemo(() => differencesOf(runs[0], runs[1]), []);
   const ports = useMemo(() => runs.map(run => run.portsAt(t)), [t]);
   const others = useMemo(() => otherPorts(ports[0], ports[1]), [ports]);
   const lines = runs.map(({ story }, i) => ({ story, name: letters[i] }));
   const end = Math.max(...runs.map(({ story }) => story.end));
   return html`
      <${Header} title="Two reloads" version=${runs[0].version} status="recorded" />
      <main>
         <ul class="names">${runs.map((run, i) => html`<li key=${i}><b>${letters[i]}</b>
            ${' '}<${Foreign}>${run.name || 'a reload'}<//>${run.endWords && `, ${run.endWords}`}</li>`)}</ul>
         ${runs.map((run, i) => html`<${Broken} key=${i} run=${run} name=${letters[i]} />`)}
         <${Differences} differences=${differences} />
         <${Player} t=${t} end=${end} onTime=${setTime} />
         <${TimeLine} lines=${lines} cursor=${t} zero=${0} onCursor=${setTime} onSelect=${onSelect} />
         ${selected !== null && html`<${PortInBoth} name=${selected} runs=${runs} ports=${ports}
            now=${t} onClose=${() => setSelected(null)} />`}
         <p class="small others">${others.size === 0 ? 'At this time all ports stand alike.'
            : `Ports that do not stand alike at this time: ${others.size}. They have a frame.`}</p>
         <div class="beside">${ports.map((some, i) => html`
            <section class="card plate" key=${i} aria-label=${`Ports of ${letters[i]}`}>
               <h2>Ports of ${letters[i]}</h2>
               <${Legend} ports=${some} />
               <${Faceplate} ports=${some} now=${t} selected=${selected} onSelect=${onSelect}
                  others=${others} />
            </section>`)}</div>
      </main>`;
}

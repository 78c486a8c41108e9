// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page: a live host, or a run with whose records it was made.

import { differencesOf } from './compare.js';
import { Detail } from './detail.js';
import { Faceplate, Legend } from './faceplate.js';
import { Live } from './live.js';
import { duration, instant, plain, stateOf } from './model.js';
import { Foreign, html, render, useEffect, useMemo, useRef, useState } from './parts.js';
import { recordedOf } from './recorded.js';
import { News, Summary } from './summary.js';
import { Differences, Log, PortTable } from './tables.js';
import { TimeLine } from './timeline.js';
import { Releasers, WhatIf } from './whatif.js';

/** In milliseconds: a picture at most that often, and at least that often. */
const leastBetween = 250;
const mostBetween = 1000;

/** @param {number} n */
const two = n => String(n).padStart(2, '0');

/** "14:03:59", with the date before it when that is another than today's.
 * @param {number} milliseconds since 1970 @param {number} today the same */
export function timeOfDay(milliseconds, today) {
   const date = new Date(milliseconds);
   const time = [date.getHours(), date.getMinutes(), date.getSeconds()].map(two).join(':');
   return date.toDateString() === new Date(today).toDateString() ? time
      : `${date.getFullYear()}-${two(date.getMonth() + 1)}-${two(date.getDate())} ${time}`;
}

/** What both kinds of page have.
 * @param {any} props */
function Body({ ports, periods, alarms, entries, story, now, zero, whenOf, onCursor, above, below, moreOf }) {
   const [selected, setSelected] = useState(/** @type {string|null} */ (null));
   const [isTable, setTable] = useState(false);
   const port = selected === null ? null : ports.get(selected);
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
      <${Summary} ports=${ports} periods=${periods} alarms=${alarms} now=${now} last=${last}
         lastWhen=${last ? whenOf(last.t, last.time) : ''} onSelect=${onSelect} />
      ${above}
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
function Header({ title, status, version }) {
   return html`<header><h1><${Foreign}>${title}<//></h1>
      <p class="status" role="status">${status}</p>
      <p class="small">${version && `ostra ${version}`}</p></header>`;
}

/** @param {{ live: Live }} props */
function LivePage({ live }) {
   const [, draw] = useState(0);
   useEffect(() => {
      let due = 0;
      let lastAt = -Infinity;
      const later = () => {
         if (!due) {
            due = window.setTimeout(() => {
               due = 0;
               lastAt = performance.now();
               draw(n => n + 1);
            }, Math.max(0, lastAt + leastBetween - performance.now()));
         }
      };
      live.onChange = later;
      // What came before this is not waited for again; the first picture comes at once.
      if (live.summary) {
         later();
      }
      const clock = setInterval(later, mostBetween);
      return () => clearInterval(clock);
   }, []);
   const entries = live.entries;
   const story = live.story;
   const now = live.now();
   const whenOf = (/** @type {number} */ t, /** @type {string|null} */ time) =>
      timeOfDay(time === null ? live.dateOf(t) : Date.parse(time), live.dateOf(now));
   const lost = !live.summary ? 'no connection'
      : `connection lost since ${timeOfDay(live.answeredAt, Date.now())}; what is shown is from before`;
   const status = live.connection === 'lost' ? html`<strong class="lost">${lost}</strong>`
      : live.connection === 'live' ? 'live' : 'connecting';
   if (!live.summary) {
      return html`<${Header} title="ostra" status=${status} version="" />`;
   }
   const { mlag, nonMlag, version, store, ready } = live.summary;
   return html`
      <${Header} title="This switch" version=${version} status=${html`${status}${
         !ready && ', not ready'}${store.problem && html`, store: <${Foreign}>${store.problem}<//>`}`} />
      <${Body} ports=${live.ports} periods=${{ mlag, nonMlag }} alarms=${live.alarms}
         entries=${entries} story=${story} now=${now} zero=${mlag.start ?? story.start}
         whenOf=${whenOf} below=${html`<${WhatIf} /><${News} entries=${entries} />`}
         moreOf=${(/** @type {import('./model.js').Port} */ port) =>
            port.hold && html`<${Releasers} key=${stateOf(port)} port=${port} />`} />`;
}

const speed = 30;
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
      const step = 100;
      const timer = setInterval(() => {
         const next = Math.min(end, at.current + speed * step / 1000);
         onTime(next);
         if (next === end) {
            setPlaying(false);
         }
      }, step);
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

/** @param {{ recorded: import('./recorded.js').Recorded }} props */
function RecordedPage({ recorded }) {
   const [t, setTime] = useState(0);
   const ports = useMemo(() => recorded.portsAt(t), [t]);
   const entries = useMemo(() => recorded.entries.filter(entry => entry.t <= t), [t]);
   const { story } = recorded;
   return html`
      <${Header} title=${recorded.name || 'A reload'} version=${recorded.version}
         status=${`recorded${recorded.ending}`} />
      <${Body} ports=${ports} periods=${recorded.periodsAt(t)} alarms=${[]} entries=${entries}
         story=${story} now=${t} zero=${0} whenOf=${(/** @type {number} */ at) => instant(at)}
         onCursor=${setTime}
         above=${html`<${Player} t=${t} end=${story.end} onTime=${setTime} />`} />`;
}

/** Two runs on one line of time: what differs, and the ports of both at any time.
 * @param {{ runs: import('./recorded.js').Recorded[] }} props */
function ComparePage({ runs }) {
   const [t, setTime] = useState(0);
   const [selected, setSelected] = useState(/** @type {string|null} */ (null));
   const onSelect = (/** @type {string} */ name) => setSelected(name === selected ? null : name);
   const differences = useMemo(() => differencesOf(runs[0], runs[1]), []);
   const ports = useMemo(() => runs.map(run => run.portsAt(t)), [t]);
   const lines = runs.map(({ story }, i) => ({ story, name: letters[i] }));
   const end = Math.max(...runs.map(({ story }) => story.end));
   return html`
      <${Header} title="Two reloads" version=${runs[0].version} status="recorded" />
      <main>
         <ul class="names">${runs.map((run, i) => html`<li key=${i}><b>${letters[i]}</b>
            ${' '}<${Foreign}>${run.name || 'a reload'}<//>${run.ending}</li>`)}</ul>
         <${Differences} differences=${differences} />
         <${Player} t=${t} end=${end} onTime=${setTime} />
         <${TimeLine} lines=${lines} cursor=${t} zero=${0} onCursor=${setTime} onSelect=${onSelect} />
         <div class="beside">${ports.map((some, i) => html`
            <section class="card plate" key=${i} aria-label=${`Ports of ${letters[i]}`}>
               <h2>Ports of ${letters[i]}</h2>
               <${Legend} ports=${some} />
               <${Faceplate} ports=${some} now=${t} selected=${selected} onSelect=${onSelect} />
            </section>`)}</div>
      </main>`;
}

function show() {
   const page = /** @type {HTMLElement} */ (document.getElementById('page'));
   const text = document.getElementById('records')?.textContent ?? '';
   if (text.trim()) {
      const [recorded, other] = recordedOf(text);
      document.title = plain(recorded.name) || 'A reload';
      render(other ? html`<${ComparePage} runs=${[recorded, other]} />`
         : html`<${RecordedPage} recorded=${recorded} />`, page);
      return;
   }
   const live = new Live(() => {});
   render(html`<${LivePage} live=${live} />`, page);
   live.start();
   document.addEventListener('visibilitychange', () => live.pause(document.hidden));
}

// The records come last, so that those of a run that was cut off are shown up to there.
document.addEventListener('DOMContentLoaded', show);

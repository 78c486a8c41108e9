// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The switch at a glance: how long both classes of ports still wait, how many ports are held,
// what happened last, and whether the host is there.

import { groupsOf } from './alarms.js';
import { classWords, counted, duration, portStates, stateOf } from './model.js';
import { rangesOf } from './names.js';
import { Advice, Foreign, html, StateMark, useEffect, useMemo, useRef, useState } from './parts.js';
import { newsOf } from './words.js';

/** @typedef {import('./model.js').Port} Port */
/** @typedef {import('./model.js').Period} Period */

/** What stands in large and in small.
 * @param {Period} period @param {number|null} left in seconds @returns {[string, string]} */
function wordsOf(period, left) {
   if (period.state !== 'held') {
      return [period.state === 'released' ? 'released' : 'not held', 'no reload delay runs'];
   }
   if (left !== null) {
      return [duration(left), 'until the reload delay ends'];
   }
   return period.isEndUnknown ? ['held', 'until when is not known']
      : ['no end', 'held, and no timer ends it'];
}

/** @param {{ name: string, period: Period, now: number }} props */
function PeriodCard({ name, period, now }) {
   const isHeld = period.state === 'held';
   const left = isHeld && period.end !== null ? Math.max(0, period.end - now) : null;
   const length = period.end !== null && period.start !== null ? period.end - period.start : 0;
   const [big, small] = wordsOf(period, left);
   const done = left !== null && length > 0 ? Math.min(1, 1 - left / length) : 0;
   return html`<section class=${`card ${isHeld ? 'waits' : ''}`} aria-label=${`${classWords[name]} ports`}>
      <h2>${classWords[name]} ports</h2>
      <p class="big" data-period=${name}>${big}</p>
      <p class="small">${small}</p>
      <progress max="1" value=${done} hidden=${left === null}
         aria-label=${`reload delay of ${classWords[name]} ports`}></progress>
   </section>`;
}

/** @param {{ ports: Map<string, Port> }} props */
function CountsCard({ ports }) {
   /** @type {{ [state: string]: number }} */
   const counts = {};
   for (const port of ports.values()) {
      const state = stateOf(port);
      counts[state] = (counts[state] ?? 0) + 1;
   }
   return html`<section class="card" aria-label="How many ports">
      <h2>${counted(ports.size, 'port')}</h2>
      <ul class="counts">${Object.keys(portStates).filter(state => counts[state]).map(state => html`
         <li key=${state} data-count=${state}><${StateMark} state=${state} />
            <b>${counts[state]}</b> <span>${portStates[state].words}</span></li>`)}
      </ul>
   </section>`;
}

const mostAlarms = 100;
/** More interfaces are named as ranges. */
const mostNamed = 4;

/** @param {{ group: import('./alarms.js').AlarmGroup, ports: Map<string, Port>,
 *            onSelect: (name: string) => void }} props */
function AlarmLine({ group, ports, onSelect }) {
   const { kind, interfaces, text, ending } = group;
   const names = useMemo(
      () => interfaces.length > mostNamed ? [rangesOf(interfaces)] : interfaces, [group]);
   return html`<li><b>${kind}</b> ${names.map(name => ports.has(name)
      ? html`<button type="button" class="link" onClick=${() => onSelect(name)}>
           <${Foreign}>${name}<//></button> `
      : html`<b><${Foreign}>${name}<//></b> `)}
      <${Foreign}>${text}<//>. ${ending && html`<span class="small">Ends with:
      ${' '}<${Advice} text=${ending} /></span>`}</li>`;
}

/** `when` they are, if not now.
 * @param {{ alarms: import('./model.js').Alarm[], when: string, ports: Map<string, Port>,
 *            onSelect: (name: string) => void, name?: string }} props */
export function Alarms({ alarms, when, onSelect, ports, name = 'Alarms' }) {
   const groups = useMemo(() => groupsOf(alarms), [alarms]);
   const count = alarms.length ? counted(alarms.length, 'alarm') : 'No alarms';
   return html`<section class=${`card ${alarms.length ? 'alarms' : ''}`} aria-label=${name}>
      <h2>${count}${when}</h2>
      <ul>${groups.slice(0, mostAlarms).map((group, i) => html`<${AlarmLine} key=${i}
         group=${group} ports=${ports} onSelect=${onSelect} />`)}</ul>
      ${groups.length > mostAlarms && html`<p class="small">And ${groups.length - mostAlarms} more,
         which ${' '}<code>ostra alarms</code> lists.</p>`}
   </section>`;
}

/** In milliseconds: a screen reader is to come to an end. */
const betweenNews = 10000;

/** Said by screen readers, and not seen.
 * @param {{ entries: import('./words.js').Entry[] }} props */
export function News({ entries }) {
   const [text, setText] = useState('');
   const newest = useRef(entries);
   newest.current = entries;
   useEffect(() => {
      let since = Infinity;
      const tell = () => {
         const { current } = newest;
         setText(newsOf(current, since));
         since = current.length ? Number(current[current.length - 1].key) : 0;
      };
      const timer = setInterval(tell, betweenNews);
      return () => clearInterval(timer);
   }, []);
   return html`<p class="spoken news" role="status">${text}</p>`;
}

/** @param {{ ports: Map<string, Port>, periods: { mlag: Period, nonMlag: Period },
 *            alarms: import('./model.js').Alarm[], alarmsWhen: string, now: number,
 *            last: import('./words.js').Entry|null, onSelect: (name: string) => void,
 *            lastWhen: string }} props */
export function Summary({ ports, periods, alarms, alarmsWhen, now, last, lastWhen, onSelect }) {
   return html`<div class="summary">
      <${PeriodCard} name="mlag" period=${periods.mlag} now=${now} />
      <${PeriodCard} name="nonMlag" period=${periods.nonMlag} now=${now} />
      <${CountsCard} ports=${ports} />
      <section class="card" aria-label="What happened last">
         <h2>Last</h2>
         <p class="last"><${Foreign}>${last ? last.text : 'nothing yet'}<//></p>
         <p class="small">${last ? lastWhen : ''}</p>
      </section>
      ${alarms.length > 0 &&
         html`<${Alarms} alarms=${alarms} when=${alarmsWhen} ports=${ports} onSelect=${onSelect} />`}
   </div>`;
}

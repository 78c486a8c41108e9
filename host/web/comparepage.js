// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The page of two runs that are over, beside each other: what differs, and both at any time.

import { Header } from './body.js';
import { differencesOf, otherPorts, spansText } from './compare.js';
import { instant, stateOf } from './model.js';
import { Foreign, html, kindOf, standingOf, StateMark, useMemo, useState } from './parts.js';
import { Plate, useHeading, useSelection } from './plate.js';
import { Broken, Player } from './runpage.js';
import { Alarms } from './summary.js';
import { Differences, Log } from './tables.js';
import { TimeLine } from './timeline.js';

/** @typedef {import('./model.js').Port} Port */
/** @typedef {import('./recorded.js').Recorded} Recorded */

/** What two runs are called. */
const letters = ['A', 'B'];

/** One port in both runs: how it stands at this time, and when it was held.
 * @param {{ name: string, runs: Recorded[], ports: Map<string, Port>[], now: number,
 *           onClose: () => void }} props */
function PortInBoth({ name, runs, ports, now, onClose }) {
   const heading = useHeading(name);
   return html`<section class="card detail" aria-labelledby="both-name">
      <div class="bar">
         <h2 id="both-name" tabindex="-1" ref=${heading}><${Foreign}>${name}<//></h2>
         <button type="button" onClick=${onClose}>Close</button></div>
      <dl>${runs.map((run, i) => {
         const port = ports[i].get(name);
         const spans = spansText(run.spans.get(name) ?? []);
         return html`<div key=${i}><dt>${letters[i]}</dt><dd>${port ? html`
            <${StateMark} state=${stateOf(port)} /> <b>${standingOf(port, now)}</b>
            ${port.reason && html`: <${Foreign}>${port.reason}<//>`}
            <br />${kindOf(port)}${port.portChannel !== null && html`, member of
               ${' '}<${Foreign}>${port.portChannel}<//>`}` : 'is not there'}
            <br /><${Foreign}>${spans || 'never held'}<//></dd></div>`;
      })}</dl>
   </section>`;
}

/** The alarms at the ends of both, when one of them has any: that the other has none says something,
 * too.
 * @param {{ runs: Recorded[], ports: Map<string, Port>[], onSelect: (name: string) => void }} props */
function AlarmsOfBoth({ runs, ports, onSelect }) {
   return runs.some(({ alarms }) => alarms?.length) && html`<div class="beside">${runs.map(
      ({ alarms }, i) => alarms === null
         ? html`<section class="card" key=${i} aria-label=${`Alarms of ${letters[i]}`}>
              <h2>Alarms at the end of ${letters[i]} are not known</h2>
              <p class="small">A recorded stream does not have them.</p></section>`
         : html`<${Alarms} key=${i} alarms=${alarms} name=${`Alarms of ${letters[i]}`}
              when=${` at the end of ${letters[i]}`} ports=${ports[i]} onSelect=${onSelect} />`)}</div>`;
}

/** @param {{ runs: Recorded[] }} props */
export function ComparePage({ runs }) {
   const [t, setTime] = useState(0);
   const [selected, onSelect, onKey] = useSelection();
   const differences = useMemo(() => differencesOf(runs[0], runs[1]), []);
   const ports = useMemo(() => runs.map(run => run.portsAt(t)), [t]);
   const entries = useMemo(() => runs.map(run => run.entriesUntil(t)), [t]);
   const others = useMemo(() => otherPorts(ports[0], ports[1]), [ports]);
   const lines = runs.map(({ story }, i) => ({ story, name: letters[i] }));
   const end = Math.max(...runs.map(({ story }) => story.end));
   return html`
      <${Header} title="Two reloads" version=${runs[0].version} status="recorded" />
      <main onKeyDown=${onKey}>
         <ul class="names">${runs.map((run, i) => html`<li key=${i}><b>${letters[i]}</b>
            ${' '}<${Foreign}>${run.name || 'a reload'}<//>${run.endWords && `, ${run.endWords}`}</li>`)}</ul>
         ${runs.map((run, i) => html`<${Broken} key=${i} run=${run} name=${letters[i]} />`)}
         <${Differences} differences=${differences} />
         <${AlarmsOfBoth} runs=${runs} ports=${ports} onSelect=${onSelect} />
         <${Player} t=${t} end=${end} onTime=${setTime} />
         <${TimeLine} lines=${lines} cursor=${t} zero=${0} onCursor=${setTime} onSelect=${onSelect} />
         ${selected !== null && html`<${PortInBoth} name=${selected} runs=${runs} ports=${ports}
            now=${t} onClose=${() => onSelect(null)} />`}
         <p class="small others">${others.size === 0 ? 'At this time all ports stand alike.'
            : `Ports that do not stand alike at this time: ${others.size}. They have a frame.`}</p>
         <div class="beside">${ports.map((some, i) => html`<${Plate} key=${i}
            title=${`Ports of ${letters[i]}`} ports=${some} now=${t} selected=${selected}
            onSelect=${onSelect} others=${others} />`)}</div>
         <div class="beside">${entries.map((some, i) => html`<${Log} key=${i}
            title=${`What happened in ${letters[i]}`} entries=${some}
            whenOf=${(/** @type {number} */ at) => instant(at)} />`)}</div>
      </main>`;
}

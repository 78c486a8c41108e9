// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// One port: whether it is held and why, until when, who shares its port-channel, what is
// wrong, and what happened to it.

import { stateOf } from './model.js';
import { compareNames } from './names.js';
import { Advice, Foreign, html, kindOf, reasonOf, standingOf, StateMark } from './parts.js';
import { useHeading } from './plate.js';

/** @typedef {import('./model.js').Port} Port */
/** @typedef {import('./words.js').Entry} Entry */

/** The newest alone. */
const mostEntries = 50;

/** @param {{ term: string, children?: any }} props */
function Fact({ term, children }) {
   return html`<div><dt>${term}</dt><dd>${children}</dd></div>`;
}

/** @param {{ port: Port, ports: Map<string, Port>, now: number, entries: Entry[],
 *            alarms: import('./model.js').Alarm[], whenOf: (t: number, time: string|null) => string,
 *            onSelect: (name: string|null) => void, more?: any }} props `more` of the port */
export function Detail({ port, ports, now, entries, alarms, whenOf, onSelect, more }) {
   const heading = useHeading(port.name);
   const channel = port.portChannel;
   const members = channel === null ? []
      : [...ports.values()].filter(other => other.portChannel === channel)
         .map(other => other.name).sort(compareNames);
   const own = alarms.filter(a => a.interface === port.name || a.interface === channel);
   const happened = entries.filter(
      entry => entry.names.includes(port.name) || (channel !== null && entry.names.includes(channel)))
      .slice(-mostEntries).reverse();
   const state = stateOf(port);
   return html`<section class="card detail" aria-labelledby="detail-name">
      <div class="bar">
         <h2 id="detail-name" tabindex="-1" ref=${heading}><${Foreign}>${port.name}<//></h2>
         <button type="button" onClick=${() => onSelect(null)}>Close</button>
      </div>
      <p class="standing"><${StateMark} state=${state} /> <b>${standingOf(port, now)}</b></p>
      <dl>
         <${Fact} term="Port">${kindOf(port)}${port.device && html`, device <${Foreign}>${port.device}<//>`}<//>
         ${reasonOf(port) && html`<${Fact} term="Why"><${Foreign}>${reasonOf(port)}<//><//>`}
         ${port.hold && port.hold.since !== null && html`<${Fact} term="Since">
            ${whenOf(port.hold.since, null)}<//>`}
         ${port.hold && port.hold.until !== null && html`<${Fact} term="Until">
            ${whenOf(port.hold.until, null)}, unless something is changed<//>`}
         ${port.hold?.enforced && html`<${Fact} term="Device">${port.hold.enforced}
            ${port.hold.error && html`: <${Foreign}>${port.hold.error}<//>`}<//>`}
         ${port.released !== null && html`<${Fact} term="Released">${whenOf(port.released, null)}<//>`}
         ${port.admin && html`<${Fact} term="Configured">${port.admin}<//>`}
         ${port.link && html`<${Fact} term="Link">${port.link}<//>`}
         ${channel !== null && html`<${Fact} term="Port-channel"><${Foreign}>${channel}<//>
            <ul class="members">${members.map(name => html`<li key=${name}>
               <button type="button" class="link" aria-current=${name === port.name ? 'true' : 'false'}
                  onClick=${() => onSelect(name)}><${Foreign}>${name}<//></button></li>`)}</ul><//>`}
      </dl>
      ${own.length > 0 && html`<h3>Alarms</h3>
         <ul class="own-alarms">${own.map(alarm => html`<li key=${alarm.kind + alarm.interface}>
            <b>${alarm.kind}</b>: <${Foreign}>${alarm.text}<//>. <span class="small">Ends with:
            ${' '}<${Advice} text=${alarm.ending} /></span></li>`)}</ul>`}
      ${more}
      <h3>What happened to it</h3>
      ${happened.length === 0 ? html`<p class="small">Nothing that is recorded.</p>`
         : html`<ol class="log" tabindex="0" aria-label=${`What happened to ${port.name}`}>${happened.map(entry => html`
            <li key=${entry.key}><time>${whenOf(entry.t, entry.time)}</time>
               <${Foreign}>${entry.text}<//></li>`)}</ol>`}
   </section>`;
}

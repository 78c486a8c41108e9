// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The ports of a switch, as its front shows them or as a table, and which of them is selected.

import { Faceplate, Legend } from './faceplate.js';
import { html, useEffect, useRef, useState } from './parts.js';
import { PortTable } from './tables.js';

/** @typedef {import('./model.js').Port} Port */

/** Where a port can be selected. @param {string|null} name */
const buttonOf = name => /** @type {HTMLElement[]} */ (
   [...document.querySelectorAll('.plate button[data-port]')]).find(b => b.dataset.port === name);

/** Which port is selected, what selects one or none, and the key that does the latter. When none
 * is any more, the keyboard goes on where it was, or at the port.
 * @returns {[string|null, (name: string|null) => void, (event: KeyboardEvent) => void]} */
export function useSelection() {
   const [selected, setSelected] = useState(/** @type {string|null} */ (null));
   const from = useRef(/** @type {HTMLElement|null} */ (null));
   const onSelect = (/** @type {string|null} */ name) => {
      setSelected(name);
      if (name !== null) {
         const there = /** @type {HTMLElement|null} */ (document.activeElement);
         from.current = there?.closest('.plate') ? there : null;
      } else if (selected !== null) {
         const isSame = from.current?.isConnected && from.current.dataset.port === selected;
         (isSame ? from.current : buttonOf(selected))?.focus();
      }
   };
   const onKey = (/** @type {KeyboardEvent} */ event) => {
      const { tagName } = /** @type {Element} */ (event.target);
      if (event.key === 'Escape' && tagName !== 'TEXTAREA' && tagName !== 'INPUT') {
         onSelect(null);
      }
   };
   return [selected, onSelect, onKey];
}

/** The heading of what is told of the selected port: it says which that is, and is where the keyboard
 * goes on. Where that stands before the ports, the port is moved out from under it.
 * @param {string} name */
export function useHeading(name) {
   const heading = useRef(/** @type {HTMLElement|null} */ (null));
   useEffect(() => {
      heading.current?.focus();
      buttonOf(name)?.scrollIntoView({ block: 'nearest' });
   }, [name]);
   return heading;
}

/** `others`: those that stand otherwise in the run with which this one is compared.
 * @param {{ title: string, ports: Map<string, Port>, now: number, selected: string|null,
 *           onSelect: (name: string|null) => void, others?: Set<string> }} props */
export function Plate({ title, ...shown }) {
   const [isTable, setTable] = useState(false);
   return html`<section class="card plate" aria-label=${title}>
      <div class="bar"><h2>${title}</h2>
         <button type="button" aria-pressed=${isTable ? 'true' : 'false'}
            onClick=${() => setTable(!isTable)}>As a table</button></div>
      ${isTable ? html`<${PortTable} title=${title} ...${shown} />`
         : html`<${Legend} ports=${shown.ports} /><${Faceplate} ...${shown} />`}
   </section>`;
}

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// The ports as the front of the switch shows them. A port is a button; the arrow keys go to
// the next one in that direction.

import { classWords, duration, plain, portStates, secondsLeft, stateOf } from './model.js';
import { layoutOf } from './layout.js';
import { Component, html, notAlike, StateMark, useEffect, useMemo, useState } from './parts.js';

/** @typedef {import('./model.js').Port} Port */

/** Beyond that many ports each is smaller, and what is below them is far away. */
export const manyPorts = 150;

/** In milliseconds: by then the first picture is on the screen. */
const untilWhole = 100;

/** In pixels: what is above the plate, a row of blocks, and, with the gaps beside them, a port and
 * what is around those of a block. Nothing is smaller on any screen. */
const above = 300;
const rowHeight = 107;
const portWidth = 39;
const portHeight = 45;
const around = 17;

/** In square pixels: no more is in sight before somebody scrolls. */
const roomInSight = () => innerWidth * Math.max(0, innerHeight - above + rowHeight);

/** In square pixels: no less. @param {import('./layout.js').Cage[]} block */
const roomOf = block => (Math.ceil(block.length / 2) * portWidth + around) *
   (Math.min(block.length, 2) * portHeight + around);

/** Is drawn again only when what it shows has changed. One element each, as a switch has many:
 * its number and the time that is left are drawn from attributes, for the eye alone. */
class PortButton extends Component {
   /** @param {any} next */
   shouldComponentUpdate(next) {
      const now = this.props;
      return next.state !== now.state || next.left !== now.left || next.words !== now.words ||
         next.isSelected !== now.isSelected || next.isStop !== now.isStop ||
         next.isOther !== now.isOther;
   }

   render() {
      const { name, label, words, state, left, isSelected, isStop, isOther } = this.props;
      const says = plain(`${name}: ${words}${isOther ? `, ${notAlike}` : ''}`);
      return html`<button type="button" class=${`port s-${state} ${isOther ? 'other' : ''}`} data-port=${name}
         data-state=${state} data-label=${label} data-left=${left} aria-label=${says}
         aria-current=${isSelected ? 'true' : 'false'} tabindex=${isStop ? 0 : -1}
         >${portStates[state].mark}</button>`;
   }
}

/** The nearest in the direction; what is far to the side counts as farther.
 * @param {HTMLElement} from @param {HTMLElement[]} all @param {number} x @param {number} y */
function neighbour(from, all, x, y) {
   const here = from.getBoundingClientRect();
   let best = null;
   let least = Infinity;
   for (const other of all) {
      const there = other.getBoundingClientRect();
      const dx = (there.left + there.right - here.left - here.right) / 2;
      const dy = (there.top + there.bottom - here.top - here.bottom) / 2;
      const along = dx * x + dy * y;
      const aside = Math.abs(dx * y) + Math.abs(dy * x);
      const distance = along + 3 * aside;
      if (other !== from && along > 4 && aside <= along * 2 && distance < least) {
         least = distance;
         best = other;
      }
   }
   return best;
}

/** @type {{ [key: string]: [number, number] }} */
const directions = {
   ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1],
};

/** @param {KeyboardEvent} event @param {(name: string) => void} onStop */
function onKey(event, onStop) {
   const plate = /** @type {HTMLElement} */ (event.currentTarget);
   const buttons = /** @type {HTMLElement[]} */ ([...plate.querySelectorAll('button.port')]);
   const from = /** @type {HTMLElement} */ (event.target);
   const direction = directions[event.key];
   const to = direction ? neighbour(from, buttons, ...direction)
      : event.key === 'Home' ? buttons[0]
         : event.key === 'End' ? buttons[buttons.length - 1] : null;
   if (direction || to) {
      event.preventDefault();
   }
   if (to) {
      onStop(to.dataset.port ?? '');
      to.focus();
   }
}

/** The port at which it happens.
 * @param {MouseEvent} event @returns {HTMLElement|null} */
const portAt = ({ target }) => /** @type {Element} */ (target).closest('button.port');

/** Who points at a port sees what it is called; who listens would hear it twice. */
const pointing = {
   onMouseOver: (/** @type {MouseEvent} */ event) => {
      const port = portAt(event);
      port?.setAttribute('title', port.getAttribute('aria-label') ?? '');
   },
   onMouseOut: (/** @type {MouseEvent} */ event) => portAt(event)?.removeAttribute('title'),
};

/** @type {Set<string>} */
const none = new Set();

/** `others`: those that stand otherwise in the run with which this one is compared.
 * @param {{ ports: Map<string, Port>, now: number, selected: string|null,
 *            onSelect: (name: string) => void, others?: Set<string> }} props */
export function Faceplate({ ports, now, selected, onSelect, others = none }) {
   const names = [...ports.keys()];
   const modules = useMemo(() => layoutOf(names), [names.join(' ')]);
   // One stop for the tabulator key, which is where one left.
   const [left, setStop] = useState(/** @type {string|null} */ (null));
   const stop = left !== null && ports.has(left)
      ? left : modules[0]?.blocks[0]?.[0]?.ports[0]?.name;
   // The first picture does not wait for what is out of sight.
   const [isWhole, setWhole] = useState(ports.size <= manyPorts);
   useEffect(() => {
      const timer = setTimeout(() => setWhole(true), untilWhole);
      return () => clearTimeout(timer);
   }, []);
   let room = isWhole ? Infinity : roomInSight();
   const hasRoomFor = (/** @type {import('./layout.js').Cage[]} */ block) => {
      const hasRoom = room > 0;
      room -= roomOf(block);
      return hasRoom;
   };
   const button = (/** @type {{ name: string, label: string }} */ { name, label }) => {
      const port = /** @type {Port} */ (ports.get(name));
      const state = stateOf(port);
      const seconds = secondsLeft(port, now);
      // The time stands by itself: nothing else changes each second.
      return html`<${PortButton} key=${name} name=${name} label=${label}
         state=${state} left=${seconds === null ? '' : duration(seconds)}
         words=${`${portStates[state].words}, ${classWords[port.class] ?? port.class}`}
         isSelected=${name === selected} isStop=${name === stop} isOther=${others.has(name)} />`;
   };
   const onClick = (/** @type {MouseEvent} */ event) => {
      const chosen = portAt(event)?.dataset.port;
      if (chosen !== undefined) {
         setStop(chosen);
         onSelect(chosen);
      }
   };
   return html`<div class=${`faceplate ${ports.size > manyPorts ? 'many' : ''}`}
      role="group" aria-label="Front of the switch; arrow keys go from port to port"
      ...${pointing} onClick=${onClick} onKeyDown=${(/** @type {KeyboardEvent} */ event) => onKey(event, setStop)}>
      ${modules.map(module => html`<div class="module" key=${module.title}>
         <h3>${module.title}</h3>
         <div class="blocks">${module.blocks.map((block, i) => !hasRoomFor(block)
            ? html`<div class="block later" key=${i}></div>`
            : html`<div class="block" key=${i}>${block.map(cage => cage.ports.length === 1
               ? button(cage.ports[0])
               : html`<div class="cage" key=${cage.label}>${cage.ports.map(button)}</div>`)}
            </div>`)}
         </div>
      </div>`)}
   </div>`;
}

/** What the marks and colours mean, of the states that there are.
 * @param {{ ports: Map<string, Port> }} props */
export function Legend({ ports }) {
   const states = new Set([...ports.values()].map(stateOf));
   return html`<ul class="legend" aria-label="What the marks mean">
      ${Object.keys(portStates).filter(state => states.has(state)).map(state => html`
         <li key=${state}><${StateMark} state=${state} /> ${portStates[state].words}</li>`)}
   </ul>`;
}

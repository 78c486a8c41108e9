// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the views are made of.

import { classWords, duration, portStates, secondsLeft, stateOf } from './model.js';

export const { html, render, Component, useEffect, useMemo, useRef, useState } = htmPreact;

/** @typedef {import('./model.js').Port} Port */

/** Of a port that stands otherwise in the run with which its own is compared. */
export const notAlike = 'not as in the other run';

/** A text of somebody else's: it has its own direction and breaks anywhere.
 * @param {{ children?: any }} props */
export function Foreign({ children }) {
   return html`<bdi class="foreign">${children}</bdi>`;
}

/** A text with commands between backticks, as the host writes them.
 * @param {{ text: string }} props */
export function Advice({ text }) {
   return html`<${Foreign}>${text.split('`').map(
      (part, i) => i % 2 ? html`<code>${part}</code>` : part)}<//>`;
}

/** @param {{ state: string }} props */
export function StateMark({ state }) {
   return html`<span class=${`mark s-${state}`} aria-hidden="true">${portStates[state].mark}</span>`;
}

/** "held, 4:05 left".
 * @param {Port} port @param {number} now */
export function standingOf(port, now) {
   const left = secondsLeft(port, now);
   const words = portStates[stateOf(port)].words;
   return left === null ? words : `${words}, ${duration(left)} left`;
}

/** @param {Port} port */
export function kindOf(port) {
   return `${classWords[port.class] ?? port.class} port`;
}

/** What the state is, and why, without the time, which changes.
 * @param {Port} port */
export function reasonOf(port) {
   return port.reason.replace(/, [^,]* s left$/, '');
}

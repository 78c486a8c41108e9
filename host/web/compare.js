// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Two runs beside each other: which ports were held or released at other times, and what was
// said at other times.

import { compareNames, instant, rangesOf } from './model.js';

/**
 * @typedef {import('./recorded.js').Recorded} Recorded
 * @typedef {import('./story.js').Span} Span
 *
 * `of`: ports, or a message. `a`, `b`: what each of the runs has; empty: nothing.
 * @typedef {{ of: string, what: string, a: string, b: string }} Difference
 */

/** @type {{ [kind: string]: string }} */
const words = { held: 'errdisabled', standby: 'in LACP standby' };

/** @param {Span[]} spans */
const spansText = spans => spans.map(({ kind, from, to, why }) =>
   `${words[kind] ?? kind} ${instant(from)} to ${to === null ? 'the end' : instant(to)}` +
   (why ? ` (${why})` : '')).join('; ');

/** @param {Span[]} a @param {Span[]} b */
function whatOf(a, b) {
   if (!a.length || !b.length) {
      return a.length ? 'held in A alone' : 'held in B alone';
   }
   const same = (/** @type {(span: Span) => any} */ part) => a.length === b.length &&
      a.every((span, i) => part(span) === part(b[i]));
   return !same(span => `${span.from} ${span.kind}`) ? 'held at other times'
      : !same(span => span.to) ? 'released at other times' : 'released for another reason';
}

/** A stream has no reasons, which makes none of them another one.
 * @param {Span[]} a @param {Span[]} b */
const areAlike = (a, b) => a.length === b.length && a.every((span, i) => {
   const { from, to, kind, why } = b[i];
   return span.from === from && span.to === to && span.kind === kind &&
      (!span.why || !why || span.why === why);
});

/** @param {Recorded} a @param {Recorded} b @returns {Difference[]} */
function portsThatDiffer(a, b) {
   const names = [...new Set([...a.facts.keys(), ...b.facts.keys()])].sort(compareNames);
   /** @type {Map<string, Difference & { names: string[] }>} */
   const rows = new Map();
   for (const name of names) {
      const spans = [a, b].map(run => run.spans.get(name) ?? []);
      if (areAlike(spans[0], spans[1])) {
         continue;
      }
      const [textA, textB] = spans.map(spansText);
      const key = `${textA}\n${textB}`;
      const row = rows.get(key);
      if (row) {
         row.names.push(name);
      } else {
         rows.set(key,
            { names: [name], of: '', what: whatOf(spans[0], spans[1]), a: textA, b: textB });
      }
   }
   return [...rows.values()].map(({ names: all, ...row }) => ({ ...row, of: rangesOf(all) }));
}

/** @param {Recorded} run @returns {Map<string, string[]>} of each message its times */
function messagesOf(run) {
   /** @type {Map<string, string[]>} */
   const messages = new Map();
   for (const { kind, t, text } of run.entries) {
      if (kind === 'log' || kind === 'alarm') {
         messages.set(text, [...messages.get(text) ?? [], instant(t)]);
      }
   }
   return messages;
}

/** @param {Recorded} a @param {Recorded} b @returns {Difference[]} ports first */
export function differencesOf(a, b) {
   const [saidA, saidB] = [a, b].map(messagesOf);
   const told = [...new Set([...saidA.keys(), ...saidB.keys()])].flatMap(text => {
      const [timesA, timesB] = [saidA, saidB].map(said => (said.get(text) ?? []).join(', '));
      return timesA === timesB ? [] : [{
         of: text,
         what: !timesB ? 'told in A alone' : !timesA ? 'told in B alone' : 'told at other times',
         a: timesA,
         b: timesB,
      }];
   });
   return [...portsThatDiffer(a, b), ...told];
}

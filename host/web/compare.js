// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Two runs beside each other: which ports were held or released at other times, what was said
// at other times, and what is otherwise at their ends.

import { groupsOf } from './alarms.js';
import { instant, shortened, stateOf } from './model.js';
import { compareNames, rangesOf } from './names.js';

/**
 * @typedef {import('./recorded.js').Recorded} Recorded
 * @typedef {import('./story.js').Span} Span
 *
 * `of`: ports, a message or the run. `a`, `b`: what each of the runs has; empty: nothing.
 * @typedef {{ of: string, what: string, a: string, b: string }} Difference
 */

/** In characters. */
const longestTimes = 300;

/** @type {{ [kind: string]: string }} */
const words = { held: 'errdisabled', standby: 'in LACP standby' };

/** @param {Span[]} spans */
export const spansText = spans => spans.map(({ kind, from, to, why }) =>
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
            { names: [name], of: '', what: whatOf(spans[0], spans[1]),
              a: shortened(textA, longestTimes), b: shortened(textB, longestTimes) });
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
         const times = messages.get(text) ?? [];
         messages.set(text, times);
         times.push(instant(t));
      }
   }
   return messages;
}

/** @param {Recorded} a @param {Recorded} b @returns {Difference[]} */
function toldAtOtherTimes(a, b) {
   const [saidA, saidB] = [a, b].map(messagesOf);
   return [...new Set([...saidA.keys(), ...saidB.keys()])].flatMap(text => {
      const [timesA, timesB] = [saidA, saidB].map(said => (said.get(text) ?? []).join(', '));
      return timesA === timesB ? [] : [{
         of: text,
         what: !timesB ? 'told in A alone' : !timesA ? 'told in B alone' : 'told at other times',
         a: shortened(timesA, longestTimes),
         b: shortened(timesB, longestTimes),
      }];
   });
}

/** The alarms at the end of one run that the other one has not.
 * @param {Recorded} run @param {Recorded} other */
function ownAlarms(run, other) {
   if (run.alarms === null || other.alarms === null) {
      return [];
   }
   const keyOf = (/** @type {import('./model.js').Alarm} */ alarm) =>
      JSON.stringify([alarm.kind, alarm.interface, alarm.text]);
   const known = new Set(other.alarms.map(keyOf));
   return groupsOf(run.alarms.filter(alarm => !known.has(keyOf(alarm)))).map(
      ({ kind, interfaces, text }) => ({ of: rangesOf(interfaces), text: `${kind}: ${text}` }));
}

/** @param {Recorded} a @param {Recorded} b @returns {Difference[]} */
function atTheEnd(a, b) {
   const end = a.ending.words === b.ending.words ? [] : [
      { of: 'the run', what: 'ended otherwise', a: a.endWords, b: b.endWords }];
   return [...end,
      ...ownAlarms(a, b).map(({ of, text }) => ({ of, what: 'alarm in A alone', a: text, b: '' })),
      ...ownAlarms(b, a).map(({ of, text }) => ({ of, what: 'alarm in B alone', a: '', b: text }))];
}

/** The ports that stand otherwise in one of them at the same time.
 * @param {Map<string, import('./model.js').Port>} a @param {Map<string, import('./model.js').Port>} b
 * @returns {Set<string>} */
export const otherPorts = (a, b) => new Set([...a.keys(), ...b.keys()].filter(name => {
   const [inA, inB] = [a.get(name), b.get(name)];
   return !inA || !inB || stateOf(inA) !== stateOf(inB);
}));

/** @param {Recorded} a @param {Recorded} b @returns {Difference[]} ports first */
export function differencesOf(a, b) {
   return [...portsThatDiffer(a, b), ...toldAtOtherTimes(a, b), ...atTheEnd(a, b)];
}

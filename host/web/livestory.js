// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a live host has answered and recorded, as the page shows it: its ports, and the reload
// from where this boot began to where it will end.

import { adminWord, counted, linkWord, timeOfDay } from './model.js';
import { delaysOf, rangeOf } from './story.js';
import { marksOf } from './words.js';

/**
 * @typedef {import('./model.js').Alarm} Alarm
 * @typedef {import('./model.js').Port} Port
 *
 * @typedef {'connecting'|'live'|'asked'|'refused'|'lost'} Connection
 * `refused`: the host is there, and does not answer; `asked`: it answers, and sends no events.
 */

/** The ports and port-channels whose hold no timer ends, whatever the delay of their class is.
 * @param {Alarm[]} alarms @returns {Set<string>} */
export const endlessOf = alarms => new Set(alarms
   .filter(alarm => ['heldWithoutEnd', 'standbyWithoutEnd'].includes(alarm.kind))
   .map(alarm => alarm.interface));

/** A port of `GET /v1/ports`.
 * @param {any} told @param {number|null} released @param {Set<string>} [endless]
 * @returns {Port} */
export function portOf(told, released, endless = new Set()) {
   const isEndless = endless.has(told.interface) || endless.has(told.portChannel);
   return {
      name: told.interface,
      class: told.class,
      portChannel: told.portChannel,
      isPresent: told.link !== null,
      admin: adminWord(told.admin),
      link: linkWord(told.link),
      device: told.device,
      hold: told.hold && isEndless ? { ...told.hold, until: null } : told.hold,
      isDown: told.protodown?.on ?? false,
      released,
      reason: told.reason,
   };
}

/** @param {Map<string, Port>} ports @param {import('./records.js').Records} records
 * @param {import('./words.js').Entry[]} entries of the newest records @param {any} summary
 * @param {number} now @returns {import('./story.js').Story} */
export function liveStoryOf(ports, records, entries, summary, now) {
   const tracks = [...ports.values()].map(port => {
      // What goes on is as the host has it, which knows how long.
      const spans = records.spansOf(port.name, port.portChannel)
         .filter(span => span.to !== null);
      if (port.hold) {
         const kind = port.hold.kind === 'lacpStandby' ? 'standby' : 'held';
         const { since, until } = port.hold;
         spans.push({ from: since ?? now, to: null, until, kind, why: '' });
      }
      return { name: port.name, class: port.class, portChannel: port.portChannel, spans };
   });
   const periods = delaysOf(records.delays(), tracks, summary);
   const range = rangeOf(tracks, periods, now);
   const marks = marksOf(entries.filter(({ key, t }) => Number(key) >= records.boot &&
      t >= range.start && t <= range.end));
   const knownFrom = records.boot ? null : records.since;
   return { ...range, tracks, periods, marks, knownFrom };
}

/** How it stands with the host, in words that stay the same as long as that does.
 * @param {{ connection: Connection, refusal: { words: string, seconds: number },
 *            answeredAt: number, summary: any }} live
 * @returns {{ isWell: boolean, words: string }} */
export function connectionOf({ connection, refusal: { words, seconds }, answeredAt, summary }) {
   const at = timeOfDay(answeredAt, Date.now());
   const shown = summary ? `; what is shown is from ${at}` : '';
   switch (connection) {
   case 'lost':
      return { isWell: false, words: summary
         ? `connection lost since ${at}; what is shown is from before` : 'no connection' };
   case 'refused':
      return { isWell: false, words: `the host is there and refuses to answer (${words}); ` +
         `tried again every ${counted(seconds, 'second')}${shown}` };
   case 'asked':
      return { isWell: false, words: `the host sends no events (${words}); ` +
         `asked every ${counted(seconds, 'second')} instead` };
   default:
      return { isWell: true, words: connection };
   }
}

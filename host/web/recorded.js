// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A run that is over, from its records: the switch at any time of it.

import { adminWord, instant, linkWord } from './model.js';
import { completed } from './stream.js';
import { entriesOf, marksOf } from './words.js';

/**
 * @typedef {import('./model.js').Port} Port
 * @typedef {import('./model.js').Period} Period
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./story.js').Span} Span
 * @typedef {import('./story.js').Story} Story
 *
 * What a record says of a port from its time on.
 * @typedef {{ t: number, interface: string, class: string, portChannel: string|null,
 *             isPresent: boolean, admin: any, link: any, state: string,
 *             why: string }} Fact
 *
 * A change, and whether it would release the ports: all or none, null when that could not be found,
 * or by port and, for the others, by class and kind of hold.
 * @typedef {{ meaning: string, releases: any }} Trial
 *
 * How a run ended: `words` are of how, empty when nothing was left to happen; `why` of one that
 * did not come to its end by itself.
 * @typedef {{ words: string, why: string }} Ending
 */

/** When something is or begins. @param {{ t: number }|Span} item */
const timeOf = item => 't' in item ? item.t : item.from;

/** How many of them are not after the time.
 * @param {({ t: number }|Span)[]} items in order @param {number} t */
function countUntil(items, t) {
   let low = 0;
   let high = items.length;
   while (low < high) {
      const middle = (low + high) >> 1;
      if (timeOf(items[middle]) <= t) {
         low = middle + 1;
      } else {
         high = middle;
      }
   }
   return low;
}

/** The last that is not after the time; null when all are.
 * @template {{ t: number }|Span} T
 * @param {T[]} items in order @param {number} t @returns {T|null} */
const lastAt = (items, t) => items[countUntil(items, t) - 1] ?? null;

const idle = { state: 'idle', start: null, end: null };
/** @type {{ [state: string]: string }} */
const reasons = {
   held: 'errdisabled for the MLAG reload delay',
   standby: 'its port-channel waits in LACP standby for the MLAG reload delay',
};

const isHold = (/** @type {string} */ state) => state === 'held' || state === 'standby';

/** @param {Fact[]} facts in order @returns {Span[]} */
function spansOf(facts) {
   /** @type {Span[]} */
   const spans = [];
   /** @type {Span|null} */
   let open = null;
   for (const fact of facts) {
      if (open && open.kind !== fact.state) {
         open.to = fact.t;
         open.why = fact.why;
         open = null;
      }
      if (!open && isHold(fact.state)) {
         open = { from: fact.t, to: null, kind: fact.state, why: '' };
         spans.push(open);
      }
   }
   return spans;
}

/** @param {boolean} isOfStream which tells at its end alone what the switch is
 * @returns {Ending} */
const cutOff = isOfStream => ({
   words: 'cut off',
   why: 'its records do not go on, as when a disk is full or the program was killed' +
      (isOfStream ? '; which ports are MLAG ports, and until when they are held, is not known' : ''),
});

/** @param {StreamRecord} end @returns {Ending} */
const endingOf = ({ failure, isTimerLeft }) => failure !== undefined
   ? { words: 'failed', why: failure }
   : { words: isTimerLeft ? 'ended with timers left' : '', why: '' };

/** A line that was cut off, where somebody ended the run, is none.
 * @param {string} text a record a line @returns {StreamRecord[]} */
function parsed(text) {
   return text.split('\n').filter(line => line.trim()).flatMap((line, i, lines) => {
      try {
         return [JSON.parse(line)];
      } catch (error) {
         if (i + 1 < lines.length) {
            throw error;
         }
         return [];
      }
   });
}

/** @param {string} text a record a line @returns {Recorded[]} one run, or two to compare */
export function recordedOf(text) {
   const records = parsed(text);
   const second = records.findIndex(record => record.type === 'against');
   return second < 0 ? [new Recorded(records)]
      : [new Recorded(records.slice(0, second)), new Recorded(records.slice(second + 1))];
}

export class Recorded {
   /** @param {StreamRecord[]} given in order */
   constructor(given) {
      const records = completed(given);
      /** @type {Map<string, Fact[]>} */
      this.facts = new Map();
      /** @type {{ t: number, mlag: Period, nonMlag: Period }[]} */
      this.periods = [];
      /** What was tried then on the ports that were held; `changes` is null when nothing was.
       * @type {{ t: number, changes: Trial[]|null }[]} */
      this.trials = [];
      this.name = '';
      this.version = '';
      this.end = 0;
      /** Of the switch at the end; null: nobody looked for them.
       * @type {import('./model.js').Alarm[]|null} */
      this.alarms = null;
      /** @type {Ending} */
      this.ending = cutOff(records !== given);
      for (const record of records) {
         this.end = record.t;
         if (record.type === 'ports') {
            this.#addFacts(record);
         } else if (record.type === 'periods') {
            this.periods.push({ t: record.t, mlag: record.mlag, nonMlag: record.nonMlag });
         } else if (record.type === 'releasers') {
            this.trials.push({ t: record.t, changes: record.changes });
         } else if (record.type === 'start') {
            this.name = record.name;
            this.version = record.version;
         } else if (record.type === 'end') {
            this.ending = endingOf(record);
         } else if (record.type === 'alarms') {
            this.alarms = record.alarms;
         }
      }
      this.entries = entriesOf(records.filter(record => record.type !== 'start'));
      this.spans = new Map([...this.facts].map(([name, facts]) => [name, spansOf(facts)]));
      this.story = this.#makeStory();
   }

   /** @param {StreamRecord} record */
   #addFacts(record) {
      for (const fact of record.ports) {
         const facts = this.facts.get(fact.interface) ?? [];
         this.facts.set(fact.interface, facts);
         facts.push({ ...fact, t: record.t });
      }
   }

   /** @param {number} t @returns {{ mlag: Period, nonMlag: Period }} */
   periodsAt(t) {
      return lastAt(this.periods, t) ?? { mlag: idle, nonMlag: idle };
   }

   /** What would release the port, as it was tried last by then; null: it was not.
    * @param {Port} port @param {number} t @returns {import('./model.js').Releaser[]|null} */
   releasersOf(port, t) {
      return lastAt(this.trials, t)?.changes?.flatMap(({ meaning, releases }) => {
         const isSo = releases === null || typeof releases === 'boolean' ? releases
            : releases[port.name] ?? releases[`${port.class} ${port.hold?.kind}`];
         return isSo === undefined ? [] : [{ words: meaning, isSo, why: '' }];
      }) ?? null;
   }

   /** How it ended: "failed at 0:01:35"; empty when nothing was left to happen. */
   get endWords() {
      const { words, why } = this.ending;
      return why ? `${words} at ${instant(this.end)}` : words;
   }

   /** What has happened by then. @param {number} t @returns {import('./words.js').Entry[]} */
   entriesUntil(t) {
      return this.entries.slice(0, countUntil(this.entries, t));
   }

   /** @param {number} t @returns {Map<string, Port>} */
   portsAt(t) {
      const periods = this.periodsAt(t);
      const ports = new Map();
      for (const [name, facts] of this.facts) {
         const fact = lastAt(facts, t) ?? { ...facts[0], isPresent: false, state: 'notHeld', why: '' };
         const span = lastAt(/** @type {Span[]} */ (this.spans.get(name)), t);
         const isOpen = span !== null && (span.to === null || span.to > t);
         const isMlag = fact.class === 'mlag' || fact.state === 'standby';
         const period = isMlag ? periods.mlag : periods.nonMlag;
         ports.set(name, {
            name,
            class: fact.class,
            portChannel: fact.portChannel,
            isPresent: fact.isPresent,
            admin: adminWord(fact.admin),
            link: linkWord(fact.link),
            device: null,
            hold: isHold(fact.state) ? {
               kind: fact.state === 'standby' ? 'lacpStandby' : 'errdisable',
               since: isOpen ? span.from : fact.t,
               until: period.end,
               isEndUnknown: period.isEndUnknown,
               error: null,
            } : null,
            released: isOpen ? null : span?.to ?? null,
            reason: fact.why || (reasons[fact.state] ?? ''),
         });
      }
      return ports;
   }

   /** @returns {Story} */
   #makeStory() {
      const tracks = [...this.facts].map(([name, facts]) => {
         // As it was while it was held.
         const fact = facts.find(f => isHold(f.state)) ?? facts[facts.length - 1];
         return {
            name,
            class: fact.class,
            portChannel: fact.portChannel,
            spans: this.spans.get(name) ?? [],
         };
      });
      /** @type {{ [portClass: string]: Span[] }} */
      const periods = { mlag: [], nonMlag: [] };
      for (const { t, ...classes } of this.periods) {
         for (const [name, period] of Object.entries(classes)) {
            const spans = periods[name];
            const open = spans.length && spans[spans.length - 1].to === null;
            if (period.state === 'held' && !open) {
               spans.push({ from: t, to: null, kind: 'period', why: '' });
            } else if (period.state !== 'held' && open) {
               spans[spans.length - 1].to = t;
            }
         }
      }
      return {
         start: 0, end: Math.max(this.end, 1), tracks, periods, marks: marksOf(this.entries),
      };
   }
}

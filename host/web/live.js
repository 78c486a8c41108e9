// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host: the switch as it is, and what happens on it. Records come one after another and
// are taken once each, also when the connection was lost in between; what they do not say is
// asked for, once a second at most.

import { adminWord, linkWord } from './model.js';
import { mostOlderRecords, mostRecords, Records } from './records.js';
import { delaysOf, rangeOf } from './story.js';
import { entriesOf } from './words.js';

/**
 * @typedef {import('./model.js').Port} Port
 * @typedef {import('./model.js').Period} Period
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./story.js').Span} Span
 * @typedef {import('./story.js').Story} Story
 * @typedef {{ kind: string, interface: string, since: number, text: string,
 *             ending: string }} Alarm
 */

/** In milliseconds. */
const betweenQuestions = 1000;
const betweenChecks = 5000;
const longestAnswer = 4000;
/** What is long comes over a slow link too. */
const longestHistory = 60000;
/** A stream that is behind the answers for that long is dead. */
const longestSilence = 10000;

const causePath = ['mlagissuCause', 'intfStatus'];

/** Whether the record says that a port is errdisabled, or no longer.
 * @param {StreamRecord} record */
const isOfCause = record => record.type === 'write' && record.path.length === 3 &&
   causePath.every((key, i) => record.path[i] === key);

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

export class Live {
   /** @param {() => void} onChange */
   constructor(onChange) {
      this.onChange = onChange;
      this.records = new Records();
      /** @type {Map<string, Port>} */
      this.ports = new Map();
      /** @type {any} */
      this.summary = null;
      /** @type {Alarm[]} */
      this.alarms = [];
      /** @type {'connecting'|'live'|'lost'} */
      this.connection = 'connecting';
      /** By the browser's clock: the last answer. */
      this.answeredAt = 0;
      /** Since when the stream has been behind the answers; null: it is not.
       * @type {number|null} */
      this.behindAt = null;
      this.isReadingBack = false;
      /** Nobody looks. */
      this.isPaused = false;
      /** @type {EventSource|null} */
      this.events = null;
      this.askedAt = -Infinity;
      this.isAsking = false;
      this.isToAsk = false;
      this.boot = '';
      /** Of the last answer: the newest record. */
      this.told = 0;
      /** @type {{ entries: import('./words.js').Entry[]|null, story: Story|null }} */
      this.made = { entries: null, story: null };
   }

   /** Seconds on the host's clock, which goes on by itself between answers. */
   now() {
      return this.summary
         ? this.summary.boot.time + (performance.now() - this.summary.at) / 1000 : 0;
   }

   /** By the host's date, in milliseconds since 1970.
    * @param {number} t */
   dateOf(t) {
      return (this.records.date ?? Date.now() - this.now() * 1000) + t * 1000;
   }

   async start() {
      await this.#ask();
      setInterval(() => this.ask(), betweenChecks);
   }

   /** A page that nobody sees keeps no connection, of which a browser has few for all its pages.
    * @param {boolean} isPaused */
   pause(isPaused) {
      this.isPaused = isPaused;
      if (isPaused) {
         this.#close();
      } else {
         this.ask();
      }
   }

   /** Asks for what the records do not say, soon. */
   ask() {
      if (this.isPaused) {
         return;
      }
      if (this.isAsking || this.isToAsk) {
         this.isToAsk = true;
         return;
      }
      this.isToAsk = true;
      const wait = Math.max(0, this.askedAt + betweenQuestions - performance.now());
      setTimeout(() => this.#ask(), wait);
   }

   async #ask() {
      this.isToAsk = false;
      this.isAsking = true;
      this.askedAt = performance.now();
      try {
         const [summary, ports, alarms] = await Promise.all(
            ['summary', 'ports', 'alarms'].map(path => this.#json(`/v1/${path}`)));
         this.#take(summary, ports, alarms);
         await this.#follow(summary.lastRecord);
         this.#readBack();
      } catch (error) {
         this.#lose();
      }
      this.isAsking = false;
      if (this.isToAsk) {
         this.isToAsk = false;
         this.ask();
      }
   }

   /** @param {string} path */
   async #json(path) {
      return (await this.#answer(path)).json();
   }

   /** @param {string} path @param {number} [longest] in milliseconds */
   async #answer(path, longest = longestAnswer) {
      const response = await fetch(path, { signal: AbortSignal.timeout(longest) });
      if (!response.ok) {
         throw new Error(`${path}: ${response.status}`);
      }
      return response;
   }

   /** @param {any} summary @param {any[]} ports @param {Alarm[]} alarms */
   #take(summary, ports, alarms) {
      const known = this.ports;
      this.summary = { ...summary, at: performance.now() };
      this.answeredAt = Date.now();
      this.alarms = alarms;
      const isNewBoot = this.boot !== '' && this.boot !== summary.boot.id;
      // What came over the stream meanwhile is newer than the answer.
      const newest = this.events ? this.told : this.records.last;
      if (isNewBoot || summary.lastRecord < newest) {
         // Another boot, or another store, whose numbers begin again.
         this.#close();
         this.records = new Records();
         known.clear();
      }
      this.boot = summary.boot.id;
      this.told = summary.lastRecord;
      const endless = endlessOf(alarms);
      this.ports = new Map(ports.map(
         told => [told.interface,
            portOf(told, this.records.releasedAt(told.interface, told.portChannel), endless)]));
      for (const [name, port] of known) {
         if (!this.ports.has(name)) {
            this.ports.set(name, { ...port, isPresent: false, hold: null, reason: 'not there' });
         }
      }
      this.#closeWhenBehind();
      this.#changed(true);
   }

   /** A connection may be dead and not know it: then the answers have what the stream has not. */
   #closeWhenBehind() {
      if (!this.events || this.told <= this.records.last) {
         this.behindAt = null;
      } else if (this.behindAt === null) {
         this.behindAt = performance.now();
      } else if (performance.now() - this.behindAt > longestSilence) {
         this.#close();
      }
   }

   /** @param {number} since @param {number} limit @returns {Promise<StreamRecord[]>} */
   async #history(since, limit) {
      const history = await this.#answer(
         `/v1/history?since=${since}&limit=${limit}`, longestHistory);
      return (await history.text()).split('\n').filter(line => line)
         .map(line => JSON.parse(line));
   }

   /** Sees to it that records come: first what there was, then from there on.
    * @param {number} last */
   async #follow(last) {
      if (this.events || this.isPaused) {
         return;
      }
      if (!this.records.last) {
         const records = this.records;
         for (const record of await this.#history(Math.max(0, last - mostRecords), mostRecords)) {
            records.add(record);
         }
         this.#tellReleases();
      }
      const since = Math.max(this.records.last, this.records.last ? 0 : last);
      const events = new EventSource(`/v1/events?since=${since}`);
      this.events = events;
      this.behindAt = null;
      events.onopen = () => {
         if (this.connection === 'lost') {
            this.ask();
         }
         this.#regain();
      };
      events.onmessage = message => this.#heard(JSON.parse(message.data));
      // Opened again behind the last record, after the next answer.
      events.onerror = () => this.#lose();
   }

   /** Reads what came before the newest records, back to where this boot began. */
   async #readBack() {
      if (this.isReadingBack) {
         return;
      }
      this.isReadingBack = true;
      try {
         const records = this.records;
         while (records === this.records && records.wantsOlder) {
            records.addOlder(await this.#before(records.oldest));
            if (records === this.records) {
               this.#tellReleases();
            }
         }
      } catch (error) {
         // Tried again after the next answer.
      }
      this.isReadingBack = false;
   }

   /** The newest records before that one; none: there are none. Numbers have gaps.
    * @param {number} seq @returns {Promise<StreamRecord[]>} */
   async #before(seq) {
      let since = seq - 1;
      for (let stride = mostRecords; since > 0; stride *= 2) {
         since = Math.max(0, since - stride);
         const records = [];
         for (let isMore = true, from = since; isMore; from = records[records.length - 1]?.seq ?? 0) {
            const page = (await this.#history(from, mostRecords))
               .filter(record => (record.seq ?? 0) < seq);
            records.push(...page);
            isMore = page.length === mostRecords && records.length < mostOlderRecords;
         }
         if (records.length) {
            return records;
         }
      }
      return [];
   }

   #tellReleases() {
      for (const [name, port] of this.ports) {
         const released = this.records.releasedAt(name, port.portChannel);
         if (!port.hold && released !== port.released) {
            this.ports.set(name, { ...port, released });
         }
      }
      this.#changed(true);
   }

   /** @param {StreamRecord} record */
   #heard(record) {
      if (!this.records.add(record)) {
         return;
      }
      if (isOfCause(record)) {
         this.#cause(record);
      }
      // The answer brings the story, once a second at most.
      this.ask();
      this.#changed(false);
   }

   /** What can be shown at once; the host says the rest.
    * @param {StreamRecord} record */
   #cause(record) {
      const port = this.ports.get(record.path[2]);
      if (!port || !this.summary) {
         return;
      }
      if (record.value === null) {
         this.ports.set(port.name, {
            ...port, hold: null, released: record.t, reason: 'not held',
         });
         return;
      }
      const period = port.class === 'mlag' ? this.summary.mlag : this.summary.nonMlag;
      // Of a delay that has just begun the answer will say how long it is.
      if (period.state === 'held') {
         this.ports.set(port.name, {
            ...port,
            released: null,
            reason: '',
            hold: port.hold ??
               { kind: 'errdisable', since: record.t, until: period.end, error: null },
         });
      }
   }

   #close() {
      this.events?.close();
      this.events = null;
   }

   #lose() {
      if (this.connection !== 'lost') {
         this.connection = 'lost';
         this.onChange();
      }
      // A stream may be dead and not know it: the next answer opens another.
      this.#close();
      setTimeout(() => this.ask(), betweenQuestions);
   }

   #regain() {
      this.connection = 'live';
      this.onChange();
   }

   /** @returns {import('./words.js').Entry[]} the same until there is another record */
   get entries() {
      if (this.made.entries === null) {
         this.made.entries = entriesOf(this.records.all);
      }
      return this.made.entries;
   }

   /** @returns {Story} the same until something has changed */
   get story() {
      if (this.made.story === null) {
         this.made.story = this.#makeStory();
      }
      return this.made.story;
   }

   /** @param {boolean} isAll not only that there is another record */
   #changed(isAll) {
      this.made = { entries: null, story: isAll ? null : this.made.story };
      this.onChange();
   }

   /** @returns {Story} */
   #makeStory() {
      const now = this.now();
      const tracks = [...this.ports.values()].map(port => {
         // What goes on is as the host has it, which knows how long.
         const spans = this.records.spansOf(port.name, port.portChannel)
            .filter(span => span.to !== null);
         if (port.hold) {
            const kind = port.hold.kind === 'lacpStandby' ? 'standby' : 'held';
            const { since, until } = port.hold;
            spans.push({ from: since ?? now, to: null, until, kind, why: '' });
         }
         return { name: port.name, class: port.class, portChannel: port.portChannel, spans };
      });
      const periods = delaysOf(this.records.delays(), tracks, this.summary);
      const range = rangeOf(tracks, periods, now);
      const marks = this.entries
         .filter(({ key, kind, t }) => Number(key) >= this.records.boot &&
            (kind === 'log' || kind === 'event' || kind === 'alarm') &&
            t >= range.start && t <= range.end)
         .map(({ t, kind, text }) => ({ t, kind, text }));
      const knownFrom = this.records.boot ? null : this.records.since;
      return { ...range, tracks, periods, marks, knownFrom };
   }
}

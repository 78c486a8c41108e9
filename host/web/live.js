// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host: the switch as it is, and what happens on it. Records come one after another and
// are taken once each, also when the connection was lost in between; what they do not say is
// asked for, once a second at most.

import { adminWord, linkWord } from './model.js';
import { rangeOf } from './story.js';
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

/** The oldest records are dropped beyond this. */
const mostRecords = 5000;
/** In milliseconds. */
const betweenQuestions = 1000;
const betweenChecks = 5000;
const longestAnswer = 4000;

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

export class Records {
   constructor() {
      /** @type {StreamRecord[]} */
      this.all = [];
      this.last = 0;
      /** When each port that is not held was released. @type {Map<string, number>} */
      this.released = new Map();
      /** @type {Map<string, Span[]>} */
      this.spans = new Map();
   }

   /** @param {StreamRecord} record @returns {boolean} false: it was taken before */
   add(record) {
      const seq = record.seq ?? 0;
      if (seq <= this.last) {
         return false;
      }
      this.last = seq;
      this.all.push(record);
      if (this.all.length > mostRecords + 500) {
         this.all.splice(0, this.all.length - mostRecords);
      }
      if (record.type === 'start' && !record.isRestart) {
         this.released.clear();
         this.spans.clear();
      } else if (isOfCause(record)) {
         this.#addCause(record);
      }
      return true;
   }

   /** @param {StreamRecord} record */
   #addCause(record) {
      const name = record.path[2];
      const spans = this.spans.get(name) ?? [];
      this.spans.set(name, spans);
      const open = spans.length && spans[spans.length - 1].to === null;
      if (record.value !== null) {
         this.released.delete(name);
         if (!open) {
            spans.push({ from: record.t, to: null, kind: 'held', why: '' });
         }
         return;
      }
      this.released.set(name, record.t);
      if (open) {
         spans[spans.length - 1].to = record.t;
      }
   }
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
      this.lostAt = 0;
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

   async start() {
      await this.#ask();
      setInterval(() => this.ask(), betweenChecks);
   }

   /** Asks for what the records do not say, soon. */
   ask() {
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

   /** @param {string} path */
   async #answer(path) {
      const response = await fetch(path, { signal: AbortSignal.timeout(longestAnswer) });
      if (!response.ok) {
         throw new Error(`${path}: ${response.status}`);
      }
      return response;
   }

   /** @param {any} summary @param {any[]} ports @param {Alarm[]} alarms */
   #take(summary, ports, alarms) {
      const known = this.ports;
      this.summary = { ...summary, at: performance.now() };
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
            portOf(told, this.records.released.get(told.interface) ?? null, endless)]));
      for (const [name, port] of known) {
         if (!this.ports.has(name)) {
            this.ports.set(name, { ...port, isPresent: false, hold: null, reason: 'not there' });
         }
      }
      this.#changed(true);
   }

   /** Sees to it that records come: first what there was, then from there on.
    * @param {number} last */
   async #follow(last) {
      if (this.events) {
         return;
      }
      if (!this.records.last) {
         const since = Math.max(0, last - mostRecords);
         const history = await this.#answer(`/v1/history?since=${since}&limit=${mostRecords}`);
         for (const line of (await history.text()).split('\n')) {
            if (line) {
               this.records.add(JSON.parse(line));
            }
         }
         this.#tellReleases();
      }
      const since = Math.max(this.records.last, this.records.last ? 0 : last);
      const events = new EventSource(`/v1/events?since=${since}`);
      this.events = events;
      events.onopen = () => {
         if (this.connection === 'lost') {
            this.ask();
         }
         this.#regain();
      };
      events.onmessage = message => this.#heard(JSON.parse(message.data));
      events.onerror = () => {
         // The browser goes on behind the last record by itself, unless it gives up.
         if (events.readyState === EventSource.CLOSED) {
            this.#close();
         }
         this.#lose();
      };
   }

   #tellReleases() {
      for (const [name, t] of this.records.released) {
         const port = this.ports.get(name);
         if (port && !port.hold) {
            this.ports.set(name, { ...port, released: t });
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
      const period = port.class === 'mlag' ? this.summary.mlag : this.summary.nonMlag;
      this.ports.set(port.name, record.value === null
         ? { ...port, hold: null, released: record.t, reason: 'not held' }
         : {
            ...port,
            released: null,
            hold: port.hold ??
               { kind: 'errdisable', since: record.t, until: period.end, error: null },
         });
   }

   #close() {
      this.events?.close();
      this.events = null;
   }

   #lose() {
      if (this.connection !== 'lost') {
         this.connection = 'lost';
         this.lostAt = Date.now();
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
      /** @type {{ [portClass: string]: Span[] }} */
      const periods = { mlag: [], nonMlag: [] };
      for (const name of Object.keys(periods)) {
         const period = this.summary?.[name];
         if (period && period.state === 'held' && period.start !== null) {
            periods[name].push(
               { from: period.start, to: period.end, kind: 'period', why: '' });
         }
      }
      const tracks = [...this.ports.values()].map(port => {
         // What goes on is as the host has it, which knows how long.
         const spans = (this.records.spans.get(port.name) ?? []).filter(span => span.to !== null);
         if (port.hold) {
            const kind = port.hold.kind === 'lacpStandby' ? 'standby' : 'held';
            const { since, until } = port.hold;
            spans.push({ from: since ?? now, to: null, until, kind, why: '' });
         }
         return { name: port.name, class: port.class, portChannel: port.portChannel, spans };
      });
      const range = rangeOf(tracks, periods, now);
      const marks = this.entries
         .filter(({ kind, t }) =>
            (kind === 'log' || kind === 'event' || kind === 'alarm') &&
            t >= range.start && t <= range.end)
         .map(({ t, kind, text }) => ({ t, kind, text }));
      return { ...range, tracks, periods, marks };
   }
}

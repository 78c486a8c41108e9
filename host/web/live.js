// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A live host: the switch as it is, and what happens on it. Records come one after another and
// are taken once each, also when the connection was lost in between; what they do not say is
// asked for, once a second at most.

import { askForEvents, eventsSince, history, historyBefore, Refusal, standing } from './host.js';
import { endlessOf, liveStoryOf, portOf } from './livestory.js';
import { mostOlderRecords, mostRecords, Records } from './records.js';
import { entriesOf } from './words.js';

/**
 * @typedef {import('./model.js').Port} Port
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./story.js').Story} Story
 * @typedef {import('./model.js').Alarm} Alarm
 */

/** In milliseconds. */
const betweenQuestions = 1000;
const betweenChecks = 5000;
/** A stream that is behind the answers for that long is dead. */
const longestSilence = 10000;

const causePath = ['mlagissuCause', 'intfStatus'];

/** Whether the record says that a port is errdisabled, or no longer.
 * @param {StreamRecord} record */
const isOfCause = record => record.type === 'write' && record.path.length === 3 &&
   causePath.every((key, i) => record.path[i] === key);

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
      /** @type {import('./livestory.js').Connection} */
      this.connection = 'connecting';
      /** What the host said last instead of an answer, and after how long it is asked again. */
      this.refusal = { words: '', seconds: 0 };
      this.isStreamRefused = false;
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
      /** The host wants to be left alone until then. */
      this.notBefore = -Infinity;
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
      const earliest = Math.max(this.askedAt + betweenQuestions, this.notBefore);
      const wait = Math.max(0, earliest - performance.now());
      setTimeout(() => this.#ask(), wait);
   }

   async #ask() {
      this.isToAsk = false;
      this.isAsking = true;
      this.askedAt = performance.now();
      try {
         const [summary, ports, alarms] = await standing();
         this.#take(summary, ports, alarms);
         await this.#follow(summary.lastRecord);
         this.#readBack();
      } catch (error) {
         this.#lose(error);
      }
      this.isAsking = false;
      if (this.isToAsk) {
         this.isToAsk = false;
         this.ask();
      }
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

   /** Sees to it that records come: first what there was, then from there on.
    * @param {number} last */
   async #follow(last) {
      if (this.events || this.isPaused) {
         return;
      }
      try {
         await this.#catchUp(last);
         if (this.isStreamRefused) {
            await askForEvents(this.records.last);
         }
      } catch (error) {
         if (!(error instanceof Refusal)) {
            throw error;
         }
         this.#refuse('asked', error);
         return;
      }
      this.#open(this.records.last || last);
   }

   /** @param {number} last the number of the newest record */
   async #catchUp(last) {
      const { records } = this;
      const since = records.last || Math.max(0, last - mostRecords);
      const isNew = (await history(since)).filter(record => records.add(record)).length > 0;
      if (isNew) {
         this.#tellReleases();
      }
   }

   /** @param {number} since the number of the record behind which it begins */
   #open(since) {
      const events = eventsSince(since);
      this.events = events;
      this.behindAt = null;
      this.isStreamRefused = false;
      events.onopen = () => {
         if (this.connection === 'lost') {
            this.ask();
         }
         this.#become('live');
      };
      events.onmessage = message => this.#heard(JSON.parse(message.data));
      // Opened again behind the last record, after the next answer.
      events.onerror = () => {
         if (events.readyState === EventSource.CLOSED) {
            // Whether the host is there, the next answers say.
            this.isStreamRefused = true;
            this.#close();
            this.ask();
         } else {
            this.#lose();
         }
      };
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
            records.addOlder(await historyBefore(records.oldest, mostOlderRecords));
            if (records === this.records) {
               this.#tellReleases();
            }
         }
      } catch (error) {
         // Tried again after the next answer.
      }
      this.isReadingBack = false;
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

   /** @param {any} [error] what came instead of an answer */
   #lose(error) {
      // A stream may be dead and not know it: the next answer opens another.
      this.#close();
      if (error instanceof Refusal) {
         this.#refuse('refused', error);
      } else {
         this.#become('lost');
         setTimeout(() => this.ask(), betweenQuestions);
      }
   }

   /** @param {'asked'|'refused'} connection @param {Refusal} refusal */
   #refuse(connection, { message, status, wait }) {
      const seconds = wait ?? betweenChecks / 1000;
      this.refusal = { words: `${status}: ${message}`, seconds };
      this.notBefore = performance.now() + seconds * 1000;
      this.#become(connection);
      this.ask();
   }

   /** @param {import('./livestory.js').Connection} connection */
   #become(connection) {
      this.connection = connection;
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
         this.made.story = liveStoryOf(
            this.ports, this.records, this.entries, this.summary, this.now());
      }
      return this.made.story;
   }

   /** @param {boolean} isAll not only that there is another record */
   #changed(isAll) {
      this.made = { entries: null, story: isAll ? null : this.made.story };
      this.onChange();
   }
}

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What a live host has recorded: the newest records as they are, and of all that came since it
// booted when each port was held and when the delay ran. Records may come from both ends: new
// ones one after another, older ones in pages.

/**
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./story.js').Span} Span
 *
 * Something begins or ends.
 * @typedef {{ t: number, isOn: boolean }} Turn
 */

/** The oldest records are dropped beyond this. */
export const mostRecords = 5000;
/** Of each port, port-channel and the delay; beyond it the oldest are dropped. */
const mostTurns = 100;
/** What is read of the time before the newest records is no more than that. */
export const mostOlderRecords = 40 * mostRecords;

/** @param {any} value of an entry of lacpConfig, or of its stayInStandby */
const isStandby = value => value === true || value?.stayInStandby === true;

/** @param {string} name of a port-channel */
const standbyKey = name => `standby ${name}`;
const delayKey = 'delay';

/** What the record begins or ends; null: nothing that is followed.
 * @param {StreamRecord} record @returns {{ key: string, isOn: boolean }|null} */
function turnOf(record) {
   if (record.type !== 'write') {
      return null;
   }
   const [mount, attribute, name] = record.path;
   const { value } = record;
   if (mount === 'mlagissuCause' && attribute === 'intfStatus' && record.path.length === 3) {
      return { key: name, isOn: value !== null };
   }
   if (mount === 'lacpConfig' && attribute === 'portChannel' && name !== undefined) {
      return { key: standbyKey(name), isOn: isStandby(value) };
   }
   if (mount === 'mlagProtoStatus' && attribute === 'portsErrdisabled') {
      return { key: delayKey, isOn: value === true };
   }
   return null;
}

/** Without what ends something that is not known to have begun, when that was dropped.
 * @param {Turn[]} turns @returns {Turn[]} */
const newestOf = turns => {
   const kept = turns.slice(-mostTurns);
   return kept[0].isOn ? kept : kept.slice(1);
};

export class Records {
   constructor() {
      /** The newest. @type {StreamRecord[]} */
      this.all = [];
      /** The numbers of the newest and of the oldest that was taken; 0: none was. */
      this.last = 0;
      this.oldest = 0;
      /** The number of the record with which this boot began; 0: it is not known. */
      this.boot = 0;
      /** There is nothing older, or more than is read. */
      this.isComplete = false;
      /** What is added to the host's clock for the date, in milliseconds; null: not known.
       * @type {number|null} */
      this.date = null;
      /** Of this boot. @type {Map<string, Turn[]>} */
      this.turns = new Map();
      /** The time of the oldest record of this boot. */
      this.since = 0;
      this.olderRecords = 0;
   }

   /** @param {StreamRecord} record @returns {boolean} false: it was taken before */
   add(record) {
      const seq = record.seq ?? 0;
      if (seq <= this.last) {
         return false;
      }
      if (!this.oldest) {
         this.oldest = seq;
         this.since = record.t;
      }
      this.last = seq;
      this.all.push(record);
      if (this.all.length > mostRecords + 500) {
         this.all.splice(0, this.all.length - mostRecords);
      }
      if (record.type === 'start' && !record.isRestart) {
         this.turns.clear();
         this.#begin(record);
      }
      if (record.time) {
         this.date = Date.parse(record.time) - record.t * 1000;
      }
      const turn = turnOf(record);
      if (turn) {
         const turns = this.turns.get(turn.key) ?? [];
         turns.push({ t: record.t, isOn: turn.isOn });
         this.turns.set(turn.key, turns.length > 2 * mostTurns ? newestOf(turns) : turns);
      }
      return true;
   }

   /** What came right before the oldest that is known; none: there is nothing before it.
    * @param {StreamRecord[]} records in order */
   addOlder(records) {
      this.olderRecords += records.length;
      if (!records.length || this.olderRecords >= mostOlderRecords) {
         this.isComplete = true;
      }
      /** @type {Map<string, Turn[]>} */
      const older = new Map();
      for (const record of [...records].reverse()) {
         this.oldest = record.seq ?? 0;
         this.since = record.t;
         const turn = turnOf(record);
         if (turn) {
            const turns = older.get(turn.key) ?? [];
            turns.push({ t: record.t, isOn: turn.isOn });
            older.set(turn.key, turns);
         }
         if (record.type === 'start' && !record.isRestart) {
            this.#begin(record);
            break;
         }
      }
      for (const [key, turns] of older) {
         const newer = this.turns.get(key) ?? [];
         if (newer.length < mostTurns) {
            const all = [...turns.reverse(), ...newer];
            this.turns.set(key, all.length > mostTurns ? newestOf(all) : all);
         }
      }
   }

   /** Whether records before the oldest are to be asked for. */
   get wantsOlder() {
      return this.oldest > 0 && !this.isComplete;
   }

   /** @param {StreamRecord} record of this boot's begin */
   #begin(record) {
      this.boot = record.seq ?? 0;
      this.since = record.t;
      this.isComplete = true;
   }

   /** @param {string} key @param {string} kind @returns {Span[]} */
   #spans(key, kind) {
      /** @type {Span[]} */
      const spans = [];
      /** @type {Span|null} */
      let open = null;
      for (const { t, isOn } of this.turns.get(key) ?? []) {
         if (isOn) {
            if (!open) {
               open = { from: t, to: null, kind, why: '' };
               spans.push(open);
            }
         } else if (open) {
            open.to = t;
            open = null;
         } else if (!spans.length && !this.boot) {
            // It has begun before what is known.
            spans.push({ from: this.since, to: t, kind, why: '' });
         }
      }
      return spans;
   }

   /** When the port was held, in whatever way, in the order of time.
    * @param {string} name @param {string|null} portChannel which it is a member of
    * @returns {Span[]} */
   spansOf(name, portChannel) {
      const held = this.#spans(name, 'held');
      const standby = portChannel === null ? []
         : this.#spans(standbyKey(portChannel), 'standby');
      return standby.length ? [...held, ...standby].sort((a, b) => a.from - b.from) : held;
   }

   /** When the port was released last; null: it was not, or is held again.
    * @param {string} name @param {string|null} portChannel @returns {number|null} */
   releasedAt(name, portChannel) {
      let released = null;
      for (const { to } of this.spansOf(name, portChannel)) {
         if (to === null) {
            return null;
         }
         released = Math.max(released ?? to, to);
      }
      return released;
   }

   /** When the delay ran, of whatever class. @returns {Span[]} */
   delays() {
      return this.#spans(delayKey, 'period');
   }
}

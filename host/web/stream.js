// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A stream that was recorded without what a page is told beside it: where each port stood and
// how long both classes waited, as far as writes and the state at the end say that.

/**
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./recorded.js').Fact} Fact
 */

/** By name of a port its class and port-channel.
 * @typedef {{ [name: string]: [string, string|null] }} Places */

/** Follows the writes: which ports are errdisabled, and which port-channels in standby. */
class Standing {
   /** @param {any} config of MLAG at the end @param {Places} places then */
   constructor(config, places) {
      this.config = config;
      this.places = Object.entries(places);
      this.held = new Set();
      this.standby = new Set();
      /** When the delay that runs began. @type {number|null} */
      this.since = null;
      /** @type {Map<string, string>} */
      this.told = new Map();
   }

   /** @param {StreamRecord} record of a write */
   write({ t, path, value }) {
      const [mount, attribute, name] = path;
      const change = (/** @type {Set<string>} */ set, /** @type {boolean} */ isIn) =>
         isIn ? set.add(name) : set.delete(name);
      if (mount === 'mlagissuCause' && attribute === 'intfStatus' && path.length === 3) {
         change(this.held, value !== null);
      } else if (mount === 'lacpConfig' && attribute === 'portChannel' && name !== undefined) {
         change(this.standby, value === true || value?.stayInStandby === true);
      } else if (mount === 'mlagProtoStatus' && attribute === 'portsErrdisabled') {
         this.since = value === true ? t : null;
      }
   }

   /** Of those that have changed. @param {number} t @returns {Fact[]} */
   facts(t) {
      return this.places.flatMap(([name, [portClass, portChannel]]) => {
         const state = this.held.has(name) ? 'held'
            : this.standby.has(portChannel) ? 'standby' : 'notHeld';
         if (this.told.get(name) === state) {
            return [];
         }
         this.told.set(name, state);
         return [{ t, interface: name, class: portClass, portChannel, isPresent: true, admin: null,
            link: null, state, why: '' }];
      });
   }

   /** Held is a class of which some port is.
    * @param {string} portClass @returns {import('./model.js').Period} */
   period(portClass) {
      const isHeld = this.since !== null && this.places.some(
         ([name, [place]]) => this.told.get(name) !== 'notHeld' && place === portClass);
      if (!isHeld || this.since === null) {
         return { state: 'released', start: null, end: null };
      }
      const { config } = this;
      const isOwn = portClass === 'nonMlag' && config.reloadDelayNonMlagConfigured;
      const delay = isOwn ? config.reloadDelayNonMlag : config.reloadDelay;
      const end = typeof delay === 'number' ? this.since + delay : null;
      return { state: 'held', start: this.since, end, isEndUnknown: delay === undefined };
   }
}

/** The records with those of ports and periods among them.
 * @param {StreamRecord[]} records in order @returns {StreamRecord[]} */
export function completed(records) {
   if (records.some(record => record.type === 'ports')) {
      return records;
   }
   const config = records.find(record => record.type === 'end')?.state?.mlagConfig ?? {};
   /** @type {Places} */
   const places = { ...records.find(record => record.type === 'places')?.places };
   // What a port is that was held is not known where there is no end.
   for (const { type, path } of records) {
      if (type === 'write' && path[0] === 'mlagissuCause' && path.length === 3) {
         places[path[2]] ??= ['nonMlag', null];
      }
   }
   const standing = new Standing(config, places);
   /** @type {StreamRecord[]} */
   const all = [];
   let periods = '';
   for (const [i, record] of records.entries()) {
      if (record.type === 'write') {
         standing.write(record);
      }
      all.push(record);
      const { t } = record;
      if (i + 1 < records.length && records[i + 1].t === t) {
         continue;
      }
      const ports = standing.facts(t);
      if (ports.length) {
         all.push({ t, type: 'ports', ports });
      }
      const told = { mlag: standing.period('mlag'), nonMlag: standing.period('nonMlag') };
      const text = JSON.stringify(told);
      if (text !== periods) {
         periods = text;
         all.push({ t, type: 'periods', ...told });
      }
   }
   return all;
}

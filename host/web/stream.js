// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// A stream that was recorded without what a page is told beside it: where each port stood and
// how long both classes waited, as far as writes and the state at the end say that.

/**
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 * @typedef {import('./recorded.js').Fact} Fact
 */

/** @param {any} state of all mounts @param {string} name of a port */
function membershipOf(state, name) {
   const portChannel = state.lagInputConfig?.phyIntf?.[name]?.lag || null;
   const config = state.mlagConfig ?? {};
   const isMlag = Boolean(config.intfConfig?.[portChannel ?? name]?.mlagId);
   const isPeerLink = Boolean(config.peerLinkIntf) &&
      [portChannel, name].includes(config.peerLinkIntf);
   return {
      portChannel,
      class: isPeerLink ? 'peerLink' : /^Management/.test(name) ? 'management'
         : isMlag ? 'mlag' : 'nonMlag',
   };
}

/** Follows the writes: which ports are errdisabled, and which port-channels in standby. */
class Standing {
   /** @param {any} state at the end @param {string[]} names */
   constructor(state, names) {
      this.state = state;
      this.names = names;
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
      return this.names.flatMap(name => {
         const place = membershipOf(this.state, name);
         const state = this.held.has(name) ? 'held'
            : this.standby.has(place.portChannel) ? 'standby' : 'notHeld';
         if (this.told.get(name) === state) {
            return [];
         }
         this.told.set(name, state);
         return [{ t, interface: name, ...place, isPresent: true, admin: null, link: null, state,
            why: '' }];
      });
   }

   /** Held is a class of which some port is.
    * @param {string} portClass @returns {import('./model.js').Period} */
   period(portClass) {
      const isHeld = this.since !== null && this.names.some(
         name => this.told.get(name) !== 'notHeld' &&
            membershipOf(this.state, name).class === portClass);
      if (!isHeld || this.since === null) {
         return { state: 'released', start: null, end: null };
      }
      const config = this.state.mlagConfig ?? {};
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
   const state = records.find(record => record.type === 'end')?.state ?? {};
   const names = new Set(Object.keys(state.ethPhyIntfStatus?.intfStatus ?? {}));
   const writes = records.filter(record => record.type === 'write');
   for (const { path } of writes) {
      if (path[0] === 'mlagissuCause' && path.length === 3) {
         names.add(path[2]);
      }
   }
   const standing = new Standing(state, [...names]);
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

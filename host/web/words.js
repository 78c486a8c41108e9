// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Records as sentences for people. Ports to which the same happens at one time are one entry.

import { counted, plain, shortened } from './model.js';
import { rangesOf } from './names.js';

/**
 * @typedef {import('./model.js').StreamRecord} StreamRecord
 *
 * `names`: the interfaces that it is about.
 * @typedef {{ kind: string, says: (names: string[]) => string, names: string[] }} Meaning
 *
 * `key` is the same for the same entry whenever it is made.
 * @typedef {{ key: string, t: number, time: string|null, kind: string, names: string[],
 *             text: string }} Entry
 */

/** Whether something is called like an interface: "Port-Channel10", and not "mlagState".
 * @param {string} key */
const isInterface = key => /^[A-Z][A-Za-z-]*\d/.test(key);

/** The entries of an object, interfaces of which the same is said as a range.
 * @param {any} object @returns {[string, any][]} */
function entriesInRanges(object) {
   /** @type {Map<string, { names: string[], value: any }>} */
   const alike = new Map();
   for (const [name, value] of Object.entries(object)) {
      const key = isInterface(name) ? `same ${JSON.stringify(value)}` : `only ${name}`;
      const one = alike.get(key);
      if (one) {
         one.names.push(name);
      } else {
         alike.set(key, { names: [name], value });
      }
   }
   return [...alike.values()].map(({ names, value }) =>
      [isInterface(names[0]) ? rangesOf(names) : names[0], value]);
}

/** "mlagStatus.mlagState = 3" of each value in a patch.
 * @param {any} patch @param {string[]} [path] @returns {string[]} */
export function changesOf(patch, path = []) {
   const isDeeper = patch !== null && typeof patch === 'object' && !Array.isArray(patch) &&
      Object.keys(patch).length > 0;
   return isDeeper
      ? entriesInRanges(patch).flatMap(([key, value]) => changesOf(value, [...path, key]))
      : [`${path.join('.')} = ${JSON.stringify(patch)}`];
}

/** The interfaces whose entries a patch changes.
 * @param {any} patch @returns {string[]} */
function interfacesIn(patch) {
   const collections = Object.values(patch ?? {}).flatMap(mount => Object.values(mount ?? {}));
   return [...new Set(collections.flatMap(
      entries => Object.keys(Object(entries)).filter(isInterface)))];
}

/** What is written of one interface, by the path before its name.
 * @type {{ [path: string]: { noun: string, kinds: [string, string], words: [string, string] } }} */
const written = {
   'mlagissuCause.intfStatus': {
      noun: 'port', kinds: ['held', 'released'], words: ['errdisabled', 'released'],
   },
   'lacpConfig.portChannel': {
      noun: 'port-channel',
      kinds: ['standby', 'released'],
      words: ['in LACP standby', 'out of LACP standby'],
   },
   'igmpsnoopingConfig.forceEnabledPorts': {
      noun: 'port-channel',
      kinds: ['other', 'other'],
      words: ['forced in IGMP snooping', 'no longer forced in IGMP snooping'],
   },
};

/** @param {StreamRecord} record @returns {Meaning} */
function meaningOfWrite(record) {
   /** @type {string[]} */
   const path = record.path;
   const kind = written[path.slice(0, 2).join('.')];
   if (kind && path.length > 2) {
      const isGone = record.value === null || record.value === false ||
         record.value.stayInStandby === false;
      const words = kind.words[isGone ? 1 : 0];
      return {
         kind: kind.kinds[isGone ? 1 : 0],
         names: [path[2]],
         says: names => `${counted(names.length, kind.noun)} ${words}: ${rangesOf(names)}`,
      };
   }
   const isRemoved = record.value === null;
   return {
      kind: 'other',
      names: path.length > 2 ? [path[2]] : [],
      says: () => isRemoved
         ? `${path.join('.')} removed`
         : `${path.join('.')} = ${JSON.stringify(record.value)}`,
   };
}

/** @param {string} kind @param {string} text @param {string[]} [names] @returns {Meaning} */
const meaning = (kind, text, names = []) => ({ kind, names, says: () => text });

/** A run has words for its events, a live host tells what was patched.
 * @param {StreamRecord} record @returns {string} */
function wordsOfEvent({ index, text, patch, mounts }) {
   return text !== undefined ? text
      : patch !== undefined ? `changed: ${changesOf(patch).join(', ')}`
         : mounts !== undefined ? `changed: ${mounts.join(', ')}` : `event ${index}`;
}

/** @type {{ [type: string]: (record: StreamRecord) => Meaning }} */
const meanings = {
   write: meaningOfWrite,
   log: record => meaning('log', `${record.id}: ${record.text}`),
   event: record => meaning('event', wordsOfEvent(record), interfacesIn(record.patch)),
   release: record => ({
      kind: 'event',
      names: [record.interface],
      says: names => `${rangesOf(names)} released by hand`,
   }),
   gone: record => ({
      kind: 'other',
      names: [record.interface],
      says: names => `${counted(names.length, 'port')} gone: ${rangesOf(names)}`,
   }),
   port: record => ({
      kind: record.enforced === 'failed' ? 'alarm' : 'other',
      names: [record.interface],
      says: names => `the driver says ${record.enforced}` +
         (record.error ? ` (${record.error})` : '') + `: ${rangesOf(names)}`,
   }),
   alarm: record => ({
      kind: 'alarm',
      names: [record.interface],
      says: names => `alarm ${record.state}: ${rangesOf(names)}: ${record.text}`,
   }),
   start: record => meaning('event', record.boot === undefined
      ? 'the plug-in starts' : record.isRestart ? 'the host started again' : 'the host started'),
   configuration: () => meaning('event', 'the configuration was read again'),
};

/** Says nothing that a person would read. */
const silent = new Set(['ports', 'periods', 'releasers', 'places', 'alarms', 'trace', 'end']);
const isSilent = (/** @type {StreamRecord} */ record) => silent.has(record.type) ||
   (record.type === 'port' && record.enforced === 'pending');

/** What may be said of a thousand ports in one instant. */
const isOfOnePort = (/** @type {StreamRecord} */ { type }) =>
   ['write', 'port', 'gone', 'release', 'alarm'].includes(type);

/** @param {StreamRecord[]} records in order @returns {Entry[]} in the same order */
export function entriesOf(records) {
   /** @type {(Entry & { says: Meaning['says'] })[]} */
   const entries = [];
   // The entries of ports since anything else happened, or the time went on.
   let open = new Map();
   let openAt = NaN;
   for (const [index, record] of records.entries()) {
      if (isSilent(record)) {
         continue;
      }
      const made = meanings[record.type];
      const { kind, names, says } = made ? made(record) : meaning('other', record.type);
      const isOfPort = isOfOnePort(record);
      if (!isOfPort || record.t !== openAt) {
         open = new Map();
         openAt = record.t;
      }
      const key = String(record.seq ?? index);
      const entry = { key, t: record.t, time: record.time ?? null, kind, names, text: '', says };
      if (isOfPort && names.length) {
         const sort = `${kind} ${says(['1'])}`;
         const before = open.get(sort);
         if (before) {
            before.names.push(...names);
            continue;
         }
         open.set(sort, entry);
      }
      entries.push(entry);
   }
   return entries.map(({ says, ...entry }) => ({ ...entry, text: says(entry.names) }));
}

/** What stands in the time line beside the ports.
 * @param {Entry[]} entries @returns {import('./story.js').Mark[]} */
export const marksOf = entries => entries
   .filter(({ kind }) => ['log', 'event', 'alarm'].includes(kind))
   .map(({ t, kind, text }) => ({ t, kind, text }));

/** In characters. */
const longestNews = 200;

/** What is worth interrupting somebody who does not look: holds, releases and alarms.
 * @param {Entry[]} entries @param {number} since the number of a record */
export function newsOf(entries, since) {
   const texts = entries.filter(({ key, kind }) => Number(key) > since &&
      ['held', 'standby', 'released', 'alarm'].includes(kind)).map(({ text }) => plain(text));
   return shortened(texts.reverse().join('. '), longestNews);
}

/** What differs between two forecasts is what one of them alone has. They are not made in the same
 * instant.
 * @param {Entry[]} entries @param {Entry[]} others @param {number} between at most, in seconds
 * @returns {Set<string>} keys */
export function onlyIn(entries, others, between) {
   const isInBoth = (/** @type {Entry} */ entry) => others.some(other =>
      other.text === entry.text && Math.abs(other.t - entry.t) <= between);
   return new Set(entries.filter(entry => !isInBoth(entry)).map(entry => entry.key));
}

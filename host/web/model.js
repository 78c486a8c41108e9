// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the page shows of a switch, without how it shows it: ports and the state that each is
// in, times, ranges of names. Nothing here knows of a browser.

/**
 * How a port is held. Times are on the clock of the source, in seconds; null is never.
 * @typedef {{ kind: 'errdisable'|'lacpStandby', since: number|null, until: number|null,
 *             enforced?: string, error?: string|null }} Hold
 *
 * @typedef {{ name: string, class: string, portChannel: string|null, isPresent: boolean,
 *             admin: string, link: string, device: string|null, hold: Hold|null,
 *             isDown?: boolean, released: number|null, reason: string }} Port
 * `isDown`: the device is held down, whoever does that.
 *
 * @typedef {{ t: number, type: string, seq?: number, time?: string,
 *             [member: string]: any }} StreamRecord
 *
 * @typedef {{ state: string, start: number|null, end: number|null }} Period
 */

/**
 * Each state has a mark of its own, so that no colour is needed to tell them apart.
 * @type {{ [state: string]: { mark: string, words: string } }}
 */
export const portStates = {
   held: { mark: '✕', words: 'held' },
   standby: { mark: '‖', words: 'in LACP standby' },
   endless: { mark: '∞', words: 'held without end' },
   pending: { mark: '…', words: 'to be held, which the driver has not done yet' },
   unsupported: { mark: '?', words: 'to be held, which the driver cannot do' },
   failed: { mark: '!', words: 'to be held, which has failed' },
   down: { mark: '↓', words: 'not to be held, but its device is held down' },
   released: { mark: '✓', words: 'released' },
   free: { mark: '○', words: 'not held' },
   never: { mark: '–', words: 'never held' },
   absent: { mark: '·', words: 'not there' },
};

/** @type {{ [name: string]: string }} */
export const classWords = {
   mlag: 'MLAG',
   nonMlag: 'non-MLAG',
   peerLink: 'peer link',
   management: 'management',
   internal: 'internal',
};

/** @param {any} value a number or null @param {string[]} words */
function wordOf(value, words) {
   return value === null || value === undefined ? '' : words[value] ?? String(value);
}
/** @param {any} value */
export const adminWord = value => wordOf(value, ['unknown', 'enabled', 'shut down']);
/** @param {any} value */
export const linkWord = value => wordOf(value, ['unknown', 'down', 'up']);

/** @param {Port} port @returns {string} a key of portStates */
export function stateOf(port) {
   const hold = port.hold;
   if (hold) {
      if (hold.enforced && ['pending', 'unsupported', 'failed'].includes(hold.enforced)) {
         return hold.enforced;
      }
      if (hold.until === null) {
         return 'endless';
      }
      return hold.kind === 'lacpStandby' ? 'standby' : 'held';
   }
   if (!port.isPresent) {
      return 'absent';
   }
   if (port.class !== 'mlag' && port.class !== 'nonMlag') {
      return 'never';
   }
   if (port.isDown) {
      return 'down';
   }
   return port.released === null ? 'free' : 'released';
}

/** @param {Port} port @param {number} now @returns {number|null} seconds; null: none or no end */
export function secondsLeft(port, now) {
   return port.hold && port.hold.until !== null ? Math.max(0, port.hold.until - now) : null;
}

/** "4:05", "1:00:00"; begun seconds count, as what is left is never nothing before the end.
 * @param {number} seconds */
export function duration(seconds) {
   const whole = Math.ceil(Math.max(0, seconds) - 1e-6);
   const two = (/** @type {number} */ n) => String(n).padStart(2, '0');
   const hours = Math.floor(whole / 3600);
   const minutes = Math.floor(whole / 60) % 60;
   return hours ? `${hours}:${two(minutes)}:${two(whole % 60)}` : `${minutes}:${two(whole % 60)}`;
}

/** "0:01:35" or "0:01:37.25": a time within a record.
 * @param {number} t in seconds */
export function instant(t) {
   const sign = t < 0 ? '-' : '';
   const milliseconds = Math.round(Math.abs(t) * 1000);
   const whole = Math.floor(milliseconds / 1000);
   const rest = milliseconds % 1000;
   const two = (/** @type {number} */ n) => String(n).padStart(2, '0');
   const fraction = rest ? '.' + String(rest).padStart(3, '0').replace(/0+$/, '') : '';
   const hours = Math.floor(whole / 3600);
   return `${sign}${hours}:${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}${fraction}`;
}

/** @typedef {{ kind: string, numbers: number[] }} Name */

/** Names are sorted and looked at again and again. @type {Map<string, Name>} */
const parsedNames = new Map();
const mostParsedNames = 20000;

/** "Ethernet49/1" in parts; a name that has no number is a kind by itself.
 * @param {string} name @returns {Name} */
export function parsedName(name) {
   const known = parsedNames.get(name);
   if (known) {
      return known;
   }
   const found = /^(.*?)(\d+(?:\/\d+)*)$/.exec(name);
   const parts = found
      ? { kind: found[1], numbers: found[2].split('/').map(Number) }
      : { kind: name, numbers: [] };
   if (parsedNames.size >= mostParsedNames) {
      parsedNames.clear();
   }
   parsedNames.set(name, parts);
   return parts;
}

/** @param {string} a @param {string} b */
export function compareNames(a, b) {
   const x = parsedName(a);
   const y = parsedName(b);
   if (x.kind !== y.kind) {
      return x.kind < y.kind ? -1 : 1;
   }
   for (let i = 0; i < Math.min(x.numbers.length, y.numbers.length); ++i) {
      if (x.numbers[i] !== y.numbers[i]) {
         return x.numbers[i] - y.numbers[i];
      }
   }
   return x.numbers.length - y.numbers.length;
}

/**
 * "Ethernet1-4,7": names that differ in their last number alone, side by side, as a range.
 * @param {string[]} names
 */
export function rangesOf(names) {
   const sorted = [...names].sort(compareNames);
   /** @type {string[]} */
   const pieces = [];
   let lead = '';
   let first = 0;
   let last = 0;
   const close = () => {
      if (last > first) {
         pieces[pieces.length - 1] += `-${last}`;
      }
   };
   for (const name of sorted) {
      const { kind, numbers } = parsedName(name);
      const number = numbers[numbers.length - 1];
      const front = kind + numbers.slice(0, -1).map(n => n + '/').join('');
      if (numbers.length && front === lead && number === last + 1 && pieces.length) {
         last = number;
         continue;
      }
      close();
      pieces.push(front === lead && numbers.length ? String(number) : name);
      lead = numbers.length ? front : '';
      first = last = number ?? 0;
   }
   close();
   return pieces.join(',');
}

/** What changes the direction of a text is shown as an escape, where nothing keeps it to itself.
 * @param {string} text */
export function plain(text) {
   return text.replace(/[\u061c\u200e\u200f\u202a-\u202e\u2066-\u2069]/g,
      c => '\\u' + c.charCodeAt(0).toString(16).padStart(4, '0'));
}

/** At most so many characters. @param {string} text @param {number} most */
export const shortened = (text, most) => text.length <= most ? text : text.slice(0, most - 1) + '…';

/** @param {number} count @param {string} noun */
export function counted(count, noun) {
   return `${count} ${noun}${count === 1 ? '' : 's'}`;
}

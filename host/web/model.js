// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// What the page shows of a switch, without how it shows it: ports and the state that each is
// in, and times. Nothing here knows of a browser.

/**
 * How a port is held. Times are on the clock of the source, in seconds; null is never.
 * @typedef {{ kind: 'errdisable'|'lacpStandby', since: number|null, until: number|null,
 *             isEndUnknown?: boolean, enforced?: string, error?: string|null }} Hold
 *
 * @typedef {{ name: string, class: string, portChannel: string|null, isPresent: boolean,
 *             admin: string, link: string, device: string|null, hold: Hold|null,
 *             isDown?: boolean, released: number|null, reason: string }} Port
 * `isDown`: the device is held down, whoever does that.
 *
 * @typedef {{ t: number, type: string, seq?: number, time?: string,
 *             [member: string]: any }} StreamRecord
 *
 * @typedef {{ state: string, start: number|null, end: number|null,
 *             isEndUnknown?: boolean }} Period
 *
 * @typedef {{ kind: string, interface: string, since: number, text: string,
 *             ending: string }} Alarm
 *
 * A change and whether it would release a port; `isSo` is null, and `why` says so, for what could
 * not be asked.
 * @typedef {{ words: string, isSo: boolean|null, why: string }} Releaser
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
      if (hold.until === null && !hold.isEndUnknown) {
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

/** @param {number} n */
const two = n => String(n).padStart(2, '0');

/** "4:05", "1:00:00"; begun seconds count, as what is left is never nothing before the end.
 * @param {number} seconds */
export function duration(seconds) {
   const whole = Math.ceil(Math.max(0, seconds) - 1e-6);
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
   const fraction = rest ? '.' + String(rest).padStart(3, '0').replace(/0+$/, '') : '';
   const hours = Math.floor(whole / 3600);
   return `${sign}${hours}:${two(Math.floor(whole / 60) % 60)}:${two(whole % 60)}${fraction}`;
}

/** "14:03:59", with the date before it when that is another than today's.
 * @param {number} milliseconds since 1970 @param {number} today the same */
export function timeOfDay(milliseconds, today) {
   const date = new Date(milliseconds);
   const time = [date.getHours(), date.getMinutes(), date.getSeconds()].map(two).join(':');
   return date.toDateString() === new Date(today).toDateString() ? time
      : `${date.getFullYear()}-${two(date.getMonth() + 1)}-${two(date.getDate())} ${time}`;
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

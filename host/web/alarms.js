// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Alarms told together: a thousand ports of which the same is to be said are one of them.

/**
 * @typedef {import('./model.js').Alarm} Alarm
 *
 * `ending` names one interface for all where there are several.
 * @typedef {{ kind: string, interfaces: string[], text: string, ending: string }} AlarmGroup
 */

/** What stands for each of several interfaces. */
const anyInterface = 'INTERFACE';

/** @param {Alarm[]} alarms @returns {AlarmGroup[]} in the order of the first of each */
export function groupsOf(alarms) {
   /** @type {Map<string, AlarmGroup>} */
   const groups = new Map();
   for (const { kind, interface: name, text, ending } of alarms) {
      const general = ending.replaceAll(name, anyInterface);
      const key = JSON.stringify([kind, text, general]);
      const known = groups.get(key);
      if (known) {
         known.interfaces.push(name);
         known.ending = general;
      } else {
         groups.set(key, { kind, interfaces: [name], text, ending });
      }
   }
   return [...groups.values()];
}

// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Where a port is on the front of a switch, by its name: the module, the cage, and the lane
// of a cage that is broken out.

import { compareNames, parsedName } from './names.js';

/**
 * @typedef {{ label: string, ports: { name: string, label: string }[] }} Cage
 * @typedef {{ title: string, blocks: Cage[][] }} Module
 */

/** A block is what is seen as one piece: two rows of six cages. */
const cagesOfABlock = 12;
/** No cage has more lanes; a second number beyond is that of a cage in a module. */
const mostLanes = 8;

/**
 * The kinds whose names of two numbers are module and cage, not cage and lane.
 * @param {string[]} names @returns {Set<string>}
 */
function modularKinds(names) {
   const modular = new Set();
   for (const name of names) {
      const { kind, numbers } = parsedName(name);
      if (numbers.length > 2 || (numbers.length === 2 && numbers[1] > mostLanes)) {
         modular.add(kind);
      }
   }
   return modular;
}

/** @param {string} name @param {Set<string>} modular */
function placeOf(name, modular) {
   const { kind, numbers } = parsedName(name);
   const fronts = modular.has(kind) ? Math.max(1, numbers.length - 2) : 0;
   const module = numbers.slice(0, Math.min(fronts, Math.max(0, numbers.length - 1)));
   const rest = numbers.slice(module.length);
   return {
      module: kind + module.join('/'),
      title: module.length ? `${kind} ${module.join('/')}` : kind,
      cage: rest.length ? rest[0] : 0,
      label: rest.length ? rest.join('/') : name,
   };
}

/** @param {Iterable<string>} ports @returns {Module[]} in the order of their names */
export function layoutOf(ports) {
   const names = [...ports].sort(compareNames);
   const modular = modularKinds(names);
   /** @type {Map<string, { title: string, cages: Map<number, Cage> }>} */
   const modules = new Map();
   for (const name of names) {
      const place = placeOf(name, modular);
      const module = modules.get(place.module) ?? { title: place.title, cages: new Map() };
      modules.set(place.module, module);
      const cage = module.cages.get(place.cage) ?? { label: String(place.cage), ports: [] };
      module.cages.set(place.cage, cage);
      cage.ports.push({ name, label: place.label });
   }
   return [...modules.values()].map(module => {
      const cages = [...module.cages.values()];
      /** @type {Cage[][]} */
      const blocks = [];
      for (let at = 0; at < cages.length; at += cagesOfABlock) {
         blocks.push(cages.slice(at, at + cagesOfABlock));
      }
      return { title: module.title, blocks };
   });
}

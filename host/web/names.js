// SPDX-License-Identifier: Apache-2.0
// Copyright 2026 The MlagOstra authors

// Names of interfaces: their parts, their order, and many of them as ranges.

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

/** @param {Name} x @param {Name} y */
function compareParsed(x, y) {
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

/** @param {string} a @param {string} b */
export const compareNames = (a, b) => compareParsed(parsedName(a), parsedName(b));

/** Names of one kind and as many numbers: those with each number in its range.
 * @typedef {{ kind: string, from: number[], to: number[] }} Piece */

/** @param {number[]} numbers @param {number} place */
const beside = (numbers, place) => numbers.filter((_, i) => i !== place).join('/');

/** Joins the pieces that are neighbours in that number.
 * @param {Piece[]} pieces @param {number} place @returns {Piece[]} */
function folded(pieces, place) {
   /** @type {Map<string, Piece[]>} */
   const groups = new Map();
   for (const piece of pieces) {
      const { kind, from, to } = piece;
      const key = `${kind} ${from.length} ${beside(from, place)} ${beside(to, place)}`;
      const group = groups.get(key) ?? [];
      groups.set(key, group);
      group.push(piece);
   }
   return [...groups.values()].flatMap(group => {
      /** @type {Piece[]} */
      const joined = [];
      for (const piece of group.sort((a, b) => a.from[place] - b.from[place])) {
         const last = joined[joined.length - 1];
         if (last && piece.from[place] === last.to[place] + 1) {
            last.to[place] = piece.to[place];
         } else {
            joined.push(piece);
         }
      }
      return joined;
   });
}

/** "1-24/1". @param {Piece} piece */
const numbersOf = ({ from, to }) =>
   from.map((number, i) => number === to[i] ? `${number}` : `${number}-${to[i]}`).join('/');

/**
 * "Ethernet1-4,7,49-54/1, Management1": the kind once, and a range wherever names differ in
 * that number alone, as the program itself writes and reads it.
 * @param {string[]} names
 */
export function rangesOf(names) {
   if (names.length === 1) {
      return names[0];
   }
   let pieces = [...new Set(names)].map(name => {
      const { kind, numbers } = parsedName(name);
      return { kind, from: [...numbers], to: [...numbers] };
   });
   const most = Math.max(0, ...pieces.map(({ from }) => from.length));
   for (let place = most - 1; place >= 0; --place) {
      pieces = folded(pieces, place);
   }
   pieces.sort((a, b) => compareParsed({ kind: a.kind, numbers: a.from },
      { kind: b.kind, numbers: b.from }));
   return pieces.map((piece, i) => {
      const isSame = i > 0 && pieces[i - 1].kind === piece.kind;
      return `${isSame ? ',' : `${i ? ', ' : ''}${piece.kind}`}${numbersOf(piece)}`;
   }).join('');
}
